// The lock that keeps the requests of one SVSMgr apart: re-entrant, held across the router's call.
// [any-thread]
#pragma once

#include <mutex>

#include "platform/Mutex.h"

class CAPABILITY("mutex") RequestLock {
 public:
  void lock() ACQUIRE() {
    mutex_.lock();
    ++depth_;
  }
  void unlock() RELEASE() {
    --depth_;
    mutex_.unlock();
  }

  // Lets other threads through while it lives, however often the calling thread holds the lock. For
  // one who has to wait for a thread that may itself be waiting for the lock.
  class Yield {
   public:
    explicit Yield(RequestLock& lock) : lock_(lock) {
      lock_.lock();
      held_ = lock_.depth_ - 1;
      for (int i = 0; i <= held_; ++i) {
        lock_.unlock();
      }
    }
    ~Yield() {
      for (int i = 0; i < held_; ++i) {
        lock_.lock();
      }
    }
    Yield(const Yield&) = delete;
    Yield& operator=(const Yield&) = delete;

   private:
    RequestLock& lock_;
    int held_;  // how often the calling thread held it before
  };

 private:
  std::recursive_mutex mutex_;
  int depth_ = 0;  // guarded by mutex_
};
