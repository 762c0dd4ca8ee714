#include "meeting/ViewStates.h"

namespace meeting {

const char* attendeeState(int statusView, bool playing) {
  switch (statusView) {
    case 1:
    case 2:
      return playing ? "playing" : "stopped";
    case 200:
    case 201:
      return "paused";
    case 202:
      return "rebuffering";
    case 203:
      return "waiting";
    case kStatusViewFailed:
    case 204:
      return "failed";
    case 205:
      return "presenter lost";
    case 206:
      return "invalid movie";
    case 6:
      return "reconnecting";
    case kStatusViewLimit:
      return "limit reached";
    case 8:
      return "stopped for bandwidth";
    case 9:
      return "session left";
    default:
      return "unknown";
  }
}

}  // namespace meeting
