#include "avcapture/Keys.h"

namespace avcapture {

const char* const kAVStreamListenerKey = "kAVStreamListenerKey";
const char* const kAVCaptureSessionTypeKey = "kAVCaptureSessionTypeKey";
const char* const kQuickTimeQTVideoPlayerKey = "kQuickTimeQTVideoPlayerKey";
const char* const kAVInstanceDestoriedException = "kAVInstanceDestoriedException";

}  // namespace avcapture
