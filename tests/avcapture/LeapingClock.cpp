#include "tests/avcapture/LeapingClock.h"

#include <dlfcn.h>
#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdint>

namespace avcapture::test {

namespace {

constexpr std::int64_t kSecond = 1'000'000'000;
// A wait looks at the clock so often, and then ends without a reason, as any wait may.
constexpr std::int64_t kLook = 5'000'000;

std::atomic<std::int64_t> wallAhead{0}, monotonicAhead{0};  // nanoseconds

std::int64_t aheadOf(clockid_t clock) {
  if (clock == CLOCK_REALTIME) return wallAhead;
  return clock == CLOCK_MONOTONIC ? monotonicAhead.load() : 0;
}

std::int64_t nanoseconds(const timespec& time) { return time.tv_sec * kSecond + time.tv_nsec; }
timespec timespecOf(std::int64_t nanoseconds) {
  return {.tv_sec = nanoseconds / kSecond, .tv_nsec = nanoseconds % kSecond};
}

}  // namespace

void leap(clockid_t clock, int seconds) {
  (clock == CLOCK_REALTIME ? wallAhead : monotonicAhead) += seconds * kSecond;
}

void resetClocks() { wallAhead = monotonicAhead = 0; }

namespace {

int now(clockid_t clock, timespec* time) {
  if (::syscall(SYS_clock_gettime, clock, time) != 0) return -1;
  *time = timespecOf(nanoseconds(*time) + aheadOf(clock));
  return 0;
}

int waitUntil(pthread_cond_t* condition, pthread_mutex_t* mutex, clockid_t clock,
              const timespec* until) {
  // The one that would be called without us: it may be a sanitizer's.
  using Wait = int(pthread_cond_t*, pthread_mutex_t*, clockid_t, const timespec*);
  static auto* const wait = reinterpret_cast<Wait*>(::dlsym(RTLD_NEXT, "pthread_cond_clockwait"));
  timespec begin{};
  ::syscall(SYS_clock_gettime, clock, &begin);
  const std::int64_t wanted = nanoseconds(*until) - aheadOf(clock);
  const timespec look = timespecOf(std::min(wanted, nanoseconds(begin) + kLook));
  const int result = wait(condition, mutex, clock, &look);
  timespec end{};
  now(clock, &end);
  return result == ETIMEDOUT && nanoseconds(end) < nanoseconds(*until) ? 0 : result;
}

}  // namespace

}  // namespace avcapture::test

// These take the place of the C library's in the whole program.
extern "C" {

[[gnu::visibility("default")]] int clock_gettime(clockid_t clock, timespec* time) noexcept {
  return avcapture::test::now(clock, time);
}

[[gnu::visibility("default")]] int pthread_cond_clockwait(pthread_cond_t* condition,
                                                          pthread_mutex_t* mutex, clockid_t clock,
                                                          const timespec* until) {
  return avcapture::test::waitUntil(condition, mutex, clock, until);
}

}  // extern "C"
