// Ends the program, saying where it was, when something hangs.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>
#include <thread>

namespace avcapture::test {

class Watchdog {
 public:
  Watchdog(std::string what, int seconds)
      : what_(std::move(what)), patience_(seconds), thread_([this] { watch(); }) {}
  ~Watchdog() {
    {
      const std::lock_guard lock(mutex_);
      done_ = true;
    }
    wake_.notify_one();
    thread_.join();
  }
  Watchdog(const Watchdog&) = delete;
  Watchdog& operator=(const Watchdog&) = delete;

  // [any-thread]
  void progress() const {
    const std::lock_guard lock(mutex_);
    ++steps_;
  }
  void step(std::string where) const {
    const std::lock_guard lock(mutex_);
    where_ = std::move(where);
    ++steps_;
  }

 private:
  void watch() {
    std::unique_lock lock(mutex_);
    while (!done_) {
      const std::uint64_t before = steps_;
      const bool moved = wake_.wait_for(lock, patience_, [&] { return done_ || steps_ != before; });
      if (moved) {
        // Not at every step: who makes progress should not wait for us.
        wake_.wait_for(lock, std::chrono::milliseconds(100), [&] { return done_; });
      } else {
        std::fprintf(stderr, "hangs: %s, %s\n", what_.c_str(), where_.c_str());
        std::abort();
      }
    }
  }

  const std::string what_;
  const std::chrono::seconds patience_;
  mutable std::mutex mutex_;
  mutable std::condition_variable wake_;
  mutable std::uint64_t steps_ = 0;
  mutable std::string where_;
  bool done_ = false;
  std::thread thread_;  // last: it uses the others
};

}  // namespace avcapture::test
