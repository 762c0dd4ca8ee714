// The player's state as it is kept from one activation to the next. In memory only: the container
// stores each field under a shared property of its own.
#pragma once

#include <cstdint>

// The initial values stand for "never saved".
struct tagStmVideoStatus {
  std::int64_t nCurPos = -1;  // milliseconds
  std::int64_t nVolume = -1;
  std::int64_t nStatus = 1;  // PlayerStatus
  std::int8_t bMute = 0;
  std::int8_t bFullScreen = 0;
  std::uint8_t reserved[6] = {};
};
