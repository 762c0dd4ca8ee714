// Inside of a run loop, shared by the sources that make up its interface.
#pragma once

#include <memory>

#include "platform/Clock.h"
#include "platform/Mailbox.h"
#include "platform/RunLoop.h"
#include "platform/Schedule.h"

namespace platform {

struct RunLoop::Impl {
  // Sends what is due. `now` and the limits are fixed at the start, so that a pass ends even when
  // each message queues the next.
  std::size_t servePass(Mode mode);
  void send(const Schedule::Entry& entry);

  // The loop's own thread only:
  std::shared_ptr<Clock> clock = std::make_shared<SteadyClock>();
  std::shared_ptr<Schedule> schedule = std::make_shared<Schedule>();
  // Any thread:
  Mailbox mailbox;  // messages come to the main loop only
};

// Lets the free functions of the interface reach the inside.
struct LoopAccess {
  static RunLoop::Impl& of(RunLoop& loop) { return *loop.impl_; }
  static std::unique_ptr<RunLoop> make() { return std::unique_ptr<RunLoop>(new RunLoop); }
};

// What a timer holds. The schedule is gone when the thread of its loop has ended.
struct Timer::State {
  Schedule::Entry entry;
  std::weak_ptr<Schedule> schedule;
};

}  // namespace platform
