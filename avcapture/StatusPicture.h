// What the status view of a player shows for each code. [main-thread]
#pragma once

#include <memory>

#include "platform/View.h"

namespace avcapture {

inline constexpr int kStatusPicture = 1;    // a listener's movie itself shows
inline constexpr int kStatusSoundOnly = 2;  // there is no picture to show
inline constexpr int kStatusSharing = 5;    // a source's movie itself shows
inline constexpr int kStatusBroken = 104;   // a source's movie ended before its end

struct StatusPicture {
  platform::Rect frame;                            // in the view that it lies on, whole pixels
  std::shared_ptr<const platform::Image> image{};  // null: the movie itself shows
};

// Whether there is anything to draw for a code.
bool hasStatusPicture(int code);

// The picture for a code on a view of that size. It covers the view where there is no movie to be
// seen, else no more of its middle than it needs. Null when the view has no room.
StatusPicture drawStatus(int code, const platform::Size& view);

}  // namespace avcapture
