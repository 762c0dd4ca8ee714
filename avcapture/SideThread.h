// Runs operations on files or devices on a thread of its own, so that nobody waits for ever for one
// that does not answer.
//
// An operation that takes too long is left behind: what follows is refused until it has come back,
// and the thread goes its own way if it never does. So an operation owns all that it touches.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <thread>

#include "avcapture/Patience.h"

namespace avcapture {

class SideThread {
 public:
  // What it answers is not negative, or an AVERROR.
  using Operation = std::function<std::int64_t()>;

  // Disks that sleep take seconds to spin up; users take more than five for a hang.
  static constexpr std::chrono::milliseconds kPatience{4000};

  // The name is the thread's; an operation takes too long after `patience`. Throws
  // std::system_error when there is no thread to be had.
  explicit SideThread(const char* name, platform::Duration patience = kPatience);
  // Waits for what is under way, but only shortly.
  ~SideThread();
  SideThread(const SideThread&) = delete;
  SideThread& operator=(const SideThread&) = delete;

  // Runs an operation and answers its result; AVERROR(ETIMEDOUT) when that takes too long,
  // AVERROR_EXIT when interrupted. One thread at a time.
  std::int64_t run(Operation operation);
  // Leaves an operation, which throws nothing, to the thread. Like run, but nobody waits.
  void post(Operation operation);
  // What runs from now on may take that long altogether; none: each operation by itself. By the
  // thread that calls run.
  void setPatience(std::optional<platform::Duration> altogether);

  // Ends waiting, for good. [any-thread]
  void interrupt();
  bool interrupted() const;
  // Interrupted, or out of patience. By the thread that calls run.
  bool givenUp();

 private:
  struct Shared;
  static void work(Shared& shared);

  const std::shared_ptr<Shared> shared_;  // with the thread
  const platform::Duration patience_;
  std::thread thread_;
  std::optional<Patience> altogether_;
  std::uint64_t lastTicket_ = 0;
  bool leftBehind_ = false;  // the operation with that ticket
};

}  // namespace avcapture
