#include "platform/RunLoop.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <new>
#include <utility>

#include "platform/Exception.h"
#include "platform/RunLoopImpl.h"

namespace platform {

namespace {

class RunScope {
 public:
  RunScope(Mailbox& mailbox, bool takeOverStop) : mailbox_(mailbox) {
    mailbox_.beginRun(takeOverStop);
  }
  ~RunScope() { mailbox_.endRun(); }
  RunScope(const RunScope&) = delete;
  RunScope& operator=(const RunScope&) = delete;

 private:
  Mailbox& mailbox_;
};

// The one who waits, often a destructor, has no part in what a message of somebody else throws.
void serveDroppingExceptions(const Mailbox::Work& work) {
  try {
    work();
  } catch (const Exception&) {
  } catch (const std::bad_alloc&) {
  }
}

// What a message needs memory for does not happen when there is none; the host's run loop, which
// has no part in it either, goes on.
template <class Message>
void giveUpWithoutMemory(const Message& message) {
  try {
    message();
  } catch (const std::bad_alloc&) {
  }
}

// The first deadline after `now` on the grid of a repeating timer.
TimePoint nextOnGrid(TimePoint last, Duration interval, TimePoint now) {
  if (now < last) return last + interval;
  return last + ((now - last) / interval + 1) * interval;
}

}  // namespace

bool isMainThread() {
  // Reached without a call: every sample asks.
  [[gnu::tls_model("initial-exec")]] static thread_local const bool isMain = gettid() == getpid();
  return isMain;
}

RunLoop& RunLoop::main() {
  // Never destroyed: what it still holds when the process ends may have its code in a library that
  // is taken down before this one.
  static RunLoop* const loop = LoopAccess::make().release();
  return *loop;
}

RunLoop& RunLoop::current() {
  if (isMainThread()) return main();
  static thread_local const std::unique_ptr<RunLoop> loop = LoopAccess::make();
  return *loop;
}

RunLoop::RunLoop() : impl_(std::make_unique<Impl>()) {}

RunLoop::~RunLoop() {
  // Targets end while the loop is still whole: their destructors may cancel what they asked for.
  for (auto entries = impl_->schedule->takeAll(); !entries.empty();
       entries = impl_->schedule->takeAll()) {
    for (const Schedule::Entry& entry : entries) {
      entry->valid = false;
      const std::shared_ptr<Object> target = std::move(entry->target);
    }
  }
}

void RunLoop::setClock(std::shared_ptr<Clock> clock) {
  impl_->clock = clock ? std::move(clock) : std::make_shared<SteadyClock>();
}

TimePoint RunLoop::now() const { return impl_->clock->now(); }

void RunLoop::addTimer(const std::shared_ptr<Timer>& timer, Mode mode) {
  if (timer && timer->isValid()) impl_->schedule->addMode(timer->state_->entry, mode);
}

void RunLoop::run(Mode mode) { runUntil(TimePoint::max(), mode); }

void RunLoop::runUntil(TimePoint deadline, Mode mode) {
  const bool endless = deadline == TimePoint::max();
  const RunScope scope(impl_->mailbox, true);
  while (!impl_->mailbox.stopped()) {
    const std::uint64_t seen = impl_->mailbox.events();
    const std::size_t served = impl_->servePass(mode);
    if (!endless && now() >= deadline) return;
    if (served != 0) continue;

    const TimePoint wakeUp = std::min(deadline, impl_->schedule->nextDeadline(mode));
    if (impl_->clock->runsByItself()) {
      // The far end of time is no deadline: adding to it in the wait would overflow.
      impl_->mailbox.wait(
          seen, wakeUp == TimePoint::max() ? std::nullopt : std::optional<TimePoint>(wakeUp));
    } else if (endless) {
      impl_->mailbox.wait(seen, std::nullopt);
    } else {
      return;
    }
  }
}

std::size_t RunLoop::runReady(Mode mode) {
  const RunScope scope(impl_->mailbox, false);
  return impl_->servePass(mode);
}

void RunLoop::stop() { impl_->mailbox.stop(); }

bool RunLoop::waitServingMessages(const std::function<bool()>& done,
                                  std::optional<TimePoint> until) {
  for (;;) {
    const std::uint64_t seen = impl_->mailbox.events();
    if (done()) return true;
    if (until && std::chrono::steady_clock::now() >= *until) return false;
    if (const Mailbox::Work work = isMainThread() ? impl_->mailbox.take() : nullptr) {
      serveDroppingExceptions(work);
    } else {
      impl_->mailbox.wait(seen, until);
    }
  }
}

void RunLoop::wake() { impl_->mailbox.wake(); }

std::size_t RunLoop::Impl::servePass(Mode mode) {
  const TimePoint now = clock->now();
  const std::uint64_t messageLimit = mailbox.nextNumber();
  const std::uint64_t scheduleLimit = schedule->nextSequence();
  std::size_t served = 0;
  while (!mailbox.stopped()) {
    const Mailbox::Work work = mailbox.take(messageLimit);
    if (!work) break;
    ++served;
    giveUpWithoutMemory(work);
  }
  while (!mailbox.stopped()) {
    const Schedule::Entry entry = schedule->takeDue(mode, now, scheduleLimit);
    if (!entry) break;
    ++served;
    giveUpWithoutMemory([&] { send(entry); });
  }
  return served;
}

void RunLoop::Impl::send(const Schedule::Entry& entry) {
  // A repeating timer goes back even when its message throws; while its message runs it is out of
  // the schedule, so that a run inside of the message does not send it again.
  struct Reschedule {
    Impl& impl;
    const Schedule::Entry& entry;
    ~Reschedule() {
      if (!entry->valid) return;
      entry->deadline = nextOnGrid(entry->deadline, entry->interval, impl.clock->now());
      impl.schedule->add(entry);
    }
  };
  const std::shared_ptr<Object> target = entry->target;
  if (!entry->repeats()) {
    entry->valid = false;
    entry->target.reset();
  }
  const Reschedule reschedule{*this, entry};
  entry->message.send(*target, entry->argument);
}

}  // namespace platform
