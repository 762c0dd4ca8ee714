#include "meeting/TimeText.h"

#include <cstdio>

namespace meeting {

std::string timeText(std::uint64_t milliseconds) {
  const auto tenths = static_cast<unsigned>(milliseconds / 100 % 10);
  const auto seconds = static_cast<unsigned>(milliseconds / 1000 % 60);
  const auto minutes = static_cast<unsigned>(milliseconds / 60'000 % 60);
  const auto hours = static_cast<unsigned long>(milliseconds / 3'600'000);
  char text[64];
  if (hours > 0) {
    std::snprintf(text, sizeof text, "%lu:%02u:%02u.%u", hours, minutes, seconds, tenths);
  } else {
    std::snprintf(text, sizeof text, "%u:%02u.%u", minutes, seconds, tenths);
  }
  return text;
}

}  // namespace meeting
