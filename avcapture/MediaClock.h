// Movie time: runs with a monotonic clock while playing, stands while not. Not synchronised.
#pragma once

#include <chrono>
#include <cstdint>

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
    origin_ = clock_->now() - std::chrono::microseconds(position_);
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
  std::int64_t now() const {
    if (!running_) return position_;
    return std::chrono::duration_cast<std::chrono::microseconds>(clock_->now() - origin_).count();
  }
  // When that movie time is reached. Absolute, so that waiting for one after the other does not
  // drift. While running.
  platform::TimePoint due(std::int64_t microseconds) const {
    return origin_ + std::chrono::microseconds(microseconds);
  }

 private:
  const platform::Clock* clock_;
  bool running_ = false;
  std::int64_t position_ = 0;     // while standing
  platform::TimePoint origin_{};  // of movie time 0, while running
};

}  // namespace avcapture
