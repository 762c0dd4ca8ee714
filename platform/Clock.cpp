#include "platform/Clock.h"

namespace platform {

Clock::~Clock() = default;

TimePoint SteadyClock::now() const { return std::chrono::steady_clock::now(); }

TimePoint ManualClock::now() const { return TimePoint(Duration(elapsed_.load())); }

void ManualClock::advance(Duration step) { elapsed_.fetch_add(step.count()); }

}  // namespace platform
