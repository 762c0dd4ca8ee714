// What other threads leave to a run loop: messages, wake-ups and requests to stop. Internal to the
// platform layer. [any-thread]
//
// The one thing a loop ever sleeps on. Whatever happens here is counted; a loop that reads the
// count before it looks for work, and then sleeps until the count has changed, misses nothing.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <vector>

#include "platform/Clock.h"

namespace platform {

class Mailbox {
 public:
  using Work = std::function<void()>;

  void post(Work work);
  // Number that the next posted message will get.
  std::uint64_t nextNumber() const;
  // Takes out the oldest message if its number is below `limit`; else empty.
  Work take(std::uint64_t limit);
  Work take();

  void wake();
  std::uint64_t events() const;
  // Sleeps until the count is no longer `seen` or, when one is given, the deadline has passed.
  void wait(std::uint64_t seen, std::optional<TimePoint> deadline);

  // Runs of the loop nest. A stop ends the innermost one that is on when it comes; one that comes
  // while none is on is remembered for the next that takes it over.
  void beginRun(bool takeOverStop);
  void endRun();
  bool stopped() const;
  void stop();

 private:
  struct Message {
    std::uint64_t number;
    Work work;
  };

  void changed();  // with mutex_ held

  mutable std::mutex mutex_;
  std::condition_variable condition_;
  // All below guarded by mutex_.
  std::uint64_t events_ = 0;
  std::uint64_t nextNumber_ = 1;
  std::deque<Message> messages_;
  std::vector<bool> stops_;  // one flag per run, the innermost last
  bool stopNext_ = false;
};

}  // namespace platform
