// Movie time: runs with a monotonic clock while playing, stands while not. Not synchronised.
//
// Who waits for a movie time looks at the clock every now and then. When nobody has for longer than
// that takes on a busy machine, nobody could: the process was stopped, or the machine slept. Movie
// time has stood still meanwhile, so that nothing that was due then has to be made up for.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <utility>

#include "platform/Clock.h"

namespace avcapture {

class MediaClock {
 public:
  explicit MediaClock(const platform::Clock& clock) : clock_(&clock) {}

  bool running() const { return running_; }
  // Runs on from where it stands.
  void start() {
    if (running_) return;
    running_ = true;
    looked_ = clock_->now();
    origin_ = looked_ - std::chrono::microseconds(position_);
  }
  void stop() {
    position_ = now();
    running_ = false;
  }
  // Stands at that movie time, in microseconds.
  void set(std::int64_t microseconds) {
    running_ = false;
    position_ = microseconds;
  }
  // Movie time, in microseconds.
  std::int64_t now() {
    if (!running_) return position_;
    look();
    return std::chrono::duration_cast<std::chrono::microseconds>(looked_ - origin_).count();
  }
  // Whether movie time has got there, in microseconds. While running.
  bool reached(std::int64_t microseconds) {
    look();
    return looked_ >= due(microseconds);
  }
  // Until when to wait for that movie time before asking again. While running.
  platform::TimePoint nextLook(std::int64_t microseconds) const {
    return std::min(due(microseconds), looked_ + kLookEvery);
  }

 private:
  static constexpr std::chrono::milliseconds kLookEvery{500};
  static constexpr std::chrono::seconds kLongestGap{2};

  void look() {
    const platform::TimePoint before = std::exchange(looked_, clock_->now());
    if (looked_ - before > kLongestGap) origin_ += looked_ - before;
  }
  // When that movie time is reached. Absolute, so that waiting for one after the other does not
  // drift.
  platform::TimePoint due(std::int64_t microseconds) const {
    return origin_ + std::chrono::microseconds(microseconds);
  }

  const platform::Clock* clock_;
  bool running_ = false;
  std::int64_t position_ = 0;     // while standing
  platform::TimePoint origin_{};  // of movie time 0, while running
  platform::TimePoint looked_{};  // last, while running
};

}  // namespace avcapture
