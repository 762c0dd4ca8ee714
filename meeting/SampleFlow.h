// Whether an attendee's samples keep coming. [any-thread; transitions as marked]
#pragma once

#include <atomic>
#include <chrono>

#include "platform/Clock.h"

namespace meeting {

class SampleFlow {
 public:
  // So long without a sample while the presenter plays is a drought.
  static constexpr std::chrono::seconds kPatience{2};

  // Counts from here on. [main-thread]
  void restart(platform::TimePoint now) {
    latest_ = now;
    state_ = State::flowing;
  }
  // A sample has come; true for the first one after a drought, which endDrought() then ends.
  // [delivery-thread]
  bool note(platform::TimePoint now) {
    latest_ = now;
    auto expected = State::dry;
    return state_ == expected && state_.compare_exchange_strong(expected, State::resuming);
  }
  // True when a drought begins. [main-thread]
  bool beginDrought(platform::TimePoint now) {
    auto expected = State::flowing;
    return now - latest_.load() >= kPatience &&
           state_.compare_exchange_strong(expected, State::dry);
  }
  // True when samples have come after a drought that nothing else has ended. [main-thread]
  bool endDrought() {
    auto expected = State::resuming;
    return state_.compare_exchange_strong(expected, State::flowing);
  }
  bool isDry() const { return state_ != State::flowing; }

 private:
  enum class State : int { flowing, dry, resuming };
  std::atomic<platform::TimePoint> latest_{};
  std::atomic<State> state_{State::flowing};
};

}  // namespace meeting
