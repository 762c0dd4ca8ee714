// How fast a count grows, measured over a second or more. [one thread]
#pragma once

#include <chrono>
#include <cstdint>

#include "platform/Clock.h"

namespace meeting {

class RateMeter {
 public:
  explicit RateMeter(platform::TimePoint now) : since_(now) {}

  // Growth a second, as it was in the latest period that has ended.
  double measure(std::uint64_t count, platform::TimePoint now) {
    const double seconds = std::chrono::duration<double>(now - since_).count();
    if (seconds < kPeriod) return rate_;
    // A count that has begun anew has grown by all that it is.
    const std::uint64_t growth = count >= countThen_ ? count - countThen_ : count;
    rate_ = static_cast<double>(growth) / seconds;
    since_ = now;
    countThen_ = count;
    return rate_;
  }

 private:
  static constexpr double kPeriod = 1.0;  // seconds
  platform::TimePoint since_;
  std::uint64_t countThen_ = 0;
  double rate_ = 0;
};

}  // namespace meeting
