// Waiting for what happens by itself, on any thread.
#pragma once

#include <chrono>
#include <functional>

#include "platform/RunLoop.h"

namespace support {

// Serves the main run loop until the condition holds; false after a time that no healthy machine
// needs.
inline bool pumpUntil(const std::function<bool()>& condition) {
  platform::RunLoop& loop = platform::RunLoop::main();
  const auto limit = std::chrono::steady_clock::now() + std::chrono::minutes(1);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > limit) return false;
    loop.runUntil(loop.now() + std::chrono::milliseconds(2));
  }
  return true;
}

}  // namespace support
