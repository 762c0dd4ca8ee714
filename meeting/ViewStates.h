// What the codes of a player view's status view mean to a host.
#pragma once

namespace meeting {

inline constexpr int kStatusViewFailed = 4;
inline constexpr int kStatusViewLimit = 7;
inline constexpr int kStatusViewOpenFailed = 101;
inline constexpr int kStatusViewOpenFailed2012 = 102;

// The state of an attendee's end, by the status view that it shows and whether it plays.
const char* attendeeState(int statusView, bool playing);

}  // namespace meeting
