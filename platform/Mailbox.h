// What other threads leave to a run loop: messages, wake-ups and requests to stop. Internal to the
// platform layer. [any-thread]
//
// The one thing a loop ever sleeps on. Whatever happens here is counted; a loop that reads the
// count before it looks for work, and then sleeps until the count has changed, misses nothing.
#pragma once

#include <cstdint>
#include <functional>
#include <list>
#include <optional>
#include <vector>

#include "platform/Clock.h"
#include "platform/Mutex.h"

namespace platform {

class Mailbox {
 public:
  using Work = std::function<void()>;
  struct Message {
    std::uint64_t number;
    Work work;
  };
  using Messages = std::list<Message>;

  Mailbox();

  void post(Work work) EXCLUDES(mutex_);
  // The same for a message made beforehand, the one in the list: takes no memory.
  void post(Messages& one) noexcept EXCLUDES(mutex_);
  // Number that the next posted message will get.
  std::uint64_t nextNumber() const EXCLUDES(mutex_);
  // Takes out the oldest message if its number is below `limit`; else empty.
  Work take(std::uint64_t limit) EXCLUDES(mutex_);
  Work take();

  void wake() EXCLUDES(mutex_);
  std::uint64_t events() const EXCLUDES(mutex_);
  // Sleeps until the count is no longer `seen` or, when one is given, the deadline has passed.
  void wait(std::uint64_t seen, std::optional<TimePoint> deadline) EXCLUDES(mutex_);

  // Runs of the loop nest. A stop ends the innermost one that is on when it comes; one that comes
  // while none is on is remembered for the next that takes it over.
  void beginRun(bool takeOverStop) EXCLUDES(mutex_);
  void endRun() EXCLUDES(mutex_);
  bool stopped() const EXCLUDES(mutex_);
  void stop() EXCLUDES(mutex_);

 private:
  void changed() REQUIRES(mutex_);

  CondVar condition_;
  mutable Mutex mutex_;
  std::uint64_t events_ GUARDED_BY(mutex_) = 0;
  std::uint64_t nextNumber_ GUARDED_BY(mutex_) = 1;
  Messages messages_ GUARDED_BY(mutex_);
  std::vector<bool> stops_ GUARDED_BY(mutex_);  // one flag per run, the innermost last
  bool stopNext_ GUARDED_BY(mutex_) = false;
};

}  // namespace platform
