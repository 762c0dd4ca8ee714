// The run-loop modes that a player view lives in.
#pragma once

#include <initializer_list>

#include "platform/RunLoop.h"

namespace avcapture {

// Also while a modal panel is up and while the user drags or has a menu open.
inline constexpr std::initializer_list<platform::Mode> kEveryMode = {
    platform::kDefaultRunLoopMode, platform::kConnectionReplyMode, platform::kModalPanelRunLoopMode,
    platform::kEventTrackingRunLoopMode};

}  // namespace avcapture
