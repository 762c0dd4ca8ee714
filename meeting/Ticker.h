// Calls a function at a regular interval on the main run loop, as long as it lives. [main-thread]
#pragma once

#include <functional>
#include <memory>
#include <utility>

#include "platform/RunLoop.h"

namespace meeting {

class Ticker {
 public:
  Ticker(platform::Duration interval, std::function<void()> tick)
      : timer_(platform::Timer::scheduled(interval, std::make_shared<Target>(std::move(tick)),
                                          &Target::fire, true)) {}
  ~Ticker() { timer_->invalidate(); }
  Ticker(const Ticker&) = delete;
  Ticker& operator=(const Ticker&) = delete;

 private:
  struct Target : platform::Object {
    explicit Target(std::function<void()> work) : tick(std::move(work)) {}
    void fire() { tick(); }  // NOLINT(*-make-member-function-const): a message's form
    std::function<void()> tick;
  };
  std::shared_ptr<platform::Timer> timer_;
};

}  // namespace meeting
