// The monotonic clock that run loops read. Tests put a ManualClock in its place and step it.
#pragma once

#include <algorithm>
#include <atomic>
#include <chrono>

#include "platform/Export.h"

namespace platform {

using Duration = std::chrono::nanoseconds;
using TimePoint = std::chrono::steady_clock::time_point;

// Seconds as the platform's interfaces take them; cut to 30 years, so that deadlines fit.
inline Duration seconds(double value) {
  constexpr double kMost = 1e9;
  return std::chrono::duration_cast<Duration>(
      std::chrono::duration<double>(std::clamp(value, -kMost, kMost)));
}

class PLATFORM_API Clock {
 public:
  virtual ~Clock();
  virtual TimePoint now() const = 0;  // [any-thread]
  // Whether time passes while a thread sleeps, so that it can sleep until a deadline.
  virtual bool runsByItself() const { return true; }  // [any-thread]
};

class PLATFORM_API SteadyClock final : public Clock {
 public:
  TimePoint now() const override;
};

// Stands still until advanced. A run loop on it never sleeps for a deadline: drive it with
// RunLoop::runReady. RunLoop::runUntil on it serves what is ready and returns; RunLoop::run sleeps
// until it is stopped, woken or given a main-thread message, and looks at the clock only then.
class PLATFORM_API ManualClock final : public Clock {
 public:
  TimePoint now() const override;
  bool runsByItself() const override { return false; }
  void advance(Duration step);  // [any-thread]

 private:
  std::atomic<Duration::rep> elapsed_{0};
};

}  // namespace platform
