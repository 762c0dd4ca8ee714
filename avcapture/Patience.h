// How long one is ready to wait for somebody: runs out while the process runs, hardly while it is
// stopped or its machine sleeps. Not synchronised.
#pragma once

#include <algorithm>
#include <chrono>

#include "platform/Clock.h"

namespace avcapture {

class Patience {
 public:
  explicit Patience(platform::Duration length)
      : left_(length), looked_(std::chrono::steady_clock::now()) {}

  // To be asked now and then: of what passes between two times, a part counts.
  bool over() {
    const platform::TimePoint now = std::chrono::steady_clock::now();
    left_ -= std::min<platform::Duration>(now - looked_, kMostAtOnce);
    looked_ = now;
    return left_ <= platform::Duration::zero();
  }
  // Until when to wait before asking again.
  platform::TimePoint nextLook() const {
    return looked_ + std::min<platform::Duration>(left_, kMostAtOnce / 2);
  }

 private:
  static constexpr platform::Duration kMostAtOnce = std::chrono::milliseconds(500);

  platform::Duration left_;
  platform::TimePoint looked_;
};

}  // namespace avcapture
