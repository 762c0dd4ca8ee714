// Dictionary keys and the exception name of the capture framework.
#pragma once

#include "avcapture/Export.h"

namespace avcapture {

// Parameters of LUMAVCaptureSession::initWithParams.
AVCAPTURE_API extern const char* const kAVStreamListenerKey;        // AVStreamDataListener object
AVCAPTURE_API extern const char* const kAVCaptureSessionTypeKey;    // 1: deliver a player view
AVCAPTURE_API extern const char* const kQuickTimeQTVideoPlayerKey;  // KTVideoPlayer

// Name of the exception that says that an object was destroyed while it was being called.
AVCAPTURE_API extern const char* const kAVInstanceDestoriedException;

}  // namespace avcapture
