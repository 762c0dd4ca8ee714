// Run loops: timers, delayed messages and main-thread messages, served by mode.
//
// One loop per thread, made on first use; the main thread's is shared by all binaries of the
// process. A loop that runs in a mode serves only the timers and messages scheduled for that mode.
// Deadlines are absolute on a monotonic clock, so a repeating timer does not drift; a timer that
// was held up fires once and continues on its grid.
//
// Messages may schedule, cancel, stop and run the loop again. One that throws ends every run that
// is on, unless code between catches it; nothing else is lost and the loop can be run again. A
// repeating timer goes on after its message has thrown; while its message runs, runs inside of it
// do not fire it again. A message for which there is no memory (std::bad_alloc) is given up, and
// the run goes on. Targets are let go outside of all locks.
//
// Threads: schedule, invalidate and cancel on the loop's own thread; performOnMainThread,
// dispatchOnMainThread, stop and wake on any. Messages run on the loop's thread.
#pragma once

#include <functional>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Clock.h"
#include "platform/Export.h"
#include "platform/Object.h"
#include "platform/Selector.h"
#include "platform/Value.h"

namespace platform {

// A mode is its name; hosts may invent their own.
using Mode = std::string_view;
inline constexpr Mode kDefaultRunLoopMode = "default";
inline constexpr Mode kConnectionReplyMode = "connection reply";
inline constexpr Mode kModalPanelRunLoopMode = "modal panel";
inline constexpr Mode kEventTrackingRunLoopMode = "event tracking";

PLATFORM_API bool isMainThread();

// A message sent to a target at a regular interval, or once. Keeps its target alive until it has
// been invalidated (a one-shot timer invalidates itself when it fires).
class PLATFORM_API Timer : public Object {
 public:
  // Scheduled on the calling thread's loop in the default mode; RunLoop::addTimer adds modes.
  static std::shared_ptr<Timer> scheduled(Duration interval, std::shared_ptr<Object> target,
                                          Selector message, bool repeats);
  // Stops it for good and lets the target go. Idempotent.
  void invalidate();
  bool isValid() const;

  struct State;
  explicit Timer(std::shared_ptr<State> state);
  ~Timer() override;

 private:
  friend class RunLoop;
  std::shared_ptr<State> state_;
};

class PLATFORM_API RunLoop {
 public:
  static RunLoop& main();     // [any-thread]
  static RunLoop& current();  // the calling thread's
  ~RunLoop();
  RunLoop(const RunLoop&) = delete;
  RunLoop& operator=(const RunLoop&) = delete;

  // Replaces the clock; null restores the steady one. For tests, before anything is scheduled.
  void setClock(std::shared_ptr<Clock> clock);
  TimePoint now() const;

  // Makes an already scheduled timer fire in a further mode as well.
  void addTimer(const std::shared_ptr<Timer>& timer, Mode mode);

  // Serves `mode` until stop() or the deadline; what is due at the deadline is still served. On a
  // clock that does not run by itself, runUntil also returns when nothing is ready.
  void run(Mode mode = kDefaultRunLoopMode);
  void runUntil(TimePoint deadline, Mode mode = kDefaultRunLoopMode);
  // Serves what is due in `mode` now without waiting: main-thread messages first, then the rest in
  // order of deadline. What gets due or is queued meanwhile waits for the next pass. Returns how
  // many were served.
  std::size_t runReady(Mode mode = kDefaultRunLoopMode);
  // Ends the innermost run, after the message that it is at. While none is on, the next run or
  // runUntil ends at once instead, so that a stop that comes early is not lost. [any-thread]
  void stop();

  // Serves main-thread messages, nothing else, until `done` answers true or the time is over, and
  // says which; it is asked again after each message and each wake(). For code that must wait for a
  // thread that may itself be waiting in performOnMainThread. A platform::Exception, or
  // std::bad_alloc, out of a message ends that message, not the wait. On another loop than the main
  // one it only waits.
  bool waitServingMessages(const std::function<bool()>& done,
                           std::optional<TimePoint> until = std::nullopt);
  // Makes waitServingMessages ask again. [any-thread]
  void wake();

  struct Impl;

 private:
  RunLoop();
  friend struct LoopAccess;
  std::unique_ptr<Impl> impl_;
};

// Sends `message` with `argument` to `target` on the calling thread's loop after `delay`, when that
// loop runs in one of `modes`. The target is kept alive until then.
PLATFORM_API void performAfterDelay(std::shared_ptr<Object> target, Selector message,
                                    Value argument, Duration delay,
                                    std::initializer_list<Mode> modes = {kDefaultRunLoopMode});

// Takes back what performAfterDelay still holds on the calling thread's loop: the requests with
// this target, message and argument, or all of the target's.
PLATFORM_API void cancelPerform(const Object& target, Selector message, const Value& argument);
PLATFORM_API void cancelPerforms(const Object& target);

// Sends `message` on the main thread, in whatever mode its loop runs. With `wait` it returns when
// the message has run, and runs it at once when called on the main thread; what the message throws
// is then thrown here, on the waiting thread, and the main loop does not see it. Without, the
// message is queued; queued ones keep their order. The target is kept alive until then.
// [any-thread]
PLATFORM_API void performOnMainThread(std::shared_ptr<Object> target, Selector message,
                                      Value argument, bool wait);

// Queues a closure in the same way, without waiting. [any-thread]
PLATFORM_API void dispatchOnMainThread(std::function<void()> work);

// A closure to be queued when there may be no memory left: what that takes is set aside beforehand.
class PLATFORM_API ReservedMessage {
 public:
  explicit ReservedMessage(std::function<void()> work);
  ~ReservedMessage();
  ReservedMessage(const ReservedMessage&) = delete;
  ReservedMessage& operator=(const ReservedMessage&) = delete;

  void dispatchOnMainThread() noexcept;  // queues it the first time. [any-thread]

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

// An array of objects that can be asked to let them go on a later turn of the run loop.
class PLATFORM_API ObjectArray : public Object {
 public:
  void add(std::shared_ptr<Object> object);
  void removeAll();
  std::size_t size() const { return objects_.size(); }

 private:
  std::vector<std::shared_ptr<Object>> objects_;
};

}  // namespace platform
