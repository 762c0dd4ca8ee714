// The standard library's locks, known to the thread-safety analysis. They cost what those cost.
// [any-thread]
#pragma once

#include <condition_variable>
#include <mutex>
#include <shared_mutex>

#include "platform/Clock.h"
#include "platform/ThreadAnnotations.h"

namespace platform {

class CAPABILITY("mutex") Mutex {
 public:
  Mutex() = default;
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;

  void lock() ACQUIRE() { mutex_.lock(); }
  void unlock() RELEASE() { mutex_.unlock(); }

 private:
  friend class CondVar;
  std::mutex mutex_;
};

// Held by many at a time, or by one alone.
class CAPABILITY("mutex") SharedMutex {
 public:
  SharedMutex() = default;
  SharedMutex(const SharedMutex&) = delete;
  SharedMutex& operator=(const SharedMutex&) = delete;

  void lock() ACQUIRE() { mutex_.lock(); }
  void unlock() RELEASE() { mutex_.unlock(); }
  void lockShared() ACQUIRE_SHARED() { mutex_.lock_shared(); }
  void unlockShared() RELEASE_SHARED() { mutex_.unlock_shared(); }

 private:
  std::shared_mutex mutex_;
};

// Holds a mutex as long as it lives.
template <class AnyMutex>
class SCOPED_CAPABILITY Lock {
 public:
  explicit Lock(AnyMutex& mutex) ACQUIRE(mutex) : mutex_(mutex) { mutex_.lock(); }
  ~Lock() RELEASE() { mutex_.unlock(); }
  Lock(const Lock&) = delete;
  Lock& operator=(const Lock&) = delete;

 private:
  AnyMutex& mutex_;
};

// Holds a mutex together with others who share it.
class SCOPED_CAPABILITY SharedLock {
 public:
  explicit SharedLock(SharedMutex& mutex) ACQUIRE_SHARED(mutex) : mutex_(mutex) {
    mutex_.lockShared();
  }
  ~SharedLock() RELEASE() { mutex_.unlockShared(); }
  SharedLock(const SharedLock&) = delete;
  SharedLock& operator=(const SharedLock&) = delete;

 private:
  SharedMutex& mutex_;
};

// Lets go, as long as it lives, of a mutex that the caller holds: for a call outward.
class SCOPED_CAPABILITY Unlocked {
 public:
  explicit Unlocked(Mutex& mutex) RELEASE(mutex) : mutex_(mutex) { mutex_.unlock(); }
  ~Unlocked() RELEASE() { mutex_.lock(); }
  Unlocked(const Unlocked&) = delete;
  Unlocked& operator=(const Unlocked&) = delete;

 private:
  Mutex& mutex_;
};

// What one waits for is looked at in a loop around the wait: a wait may end without a reason.
class CondVar {
 public:
  void wait(Mutex& mutex) REQUIRES(mutex) {
    std::unique_lock held(mutex.mutex_, std::adopt_lock);
    condition_.wait(held);
    held.release();
  }
  // False when the time has come.
  bool waitUntil(Mutex& mutex, TimePoint time) REQUIRES(mutex) {
    std::unique_lock held(mutex.mutex_, std::adopt_lock);
    const bool woken = condition_.wait_until(held, time) == std::cv_status::no_timeout;
    held.release();
    return woken;
  }
  void notifyOne() { condition_.notify_one(); }
  void notifyAll() { condition_.notify_all(); }

 private:
  std::condition_variable condition_;
};

}  // namespace platform
