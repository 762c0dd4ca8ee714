// The way from the bridge to the application's sink, and the only place where delivery threads and
// a detaching main thread meet.
//
// A delivery thread holds a Pass for as long as it may use the sink. close() takes the sink away
// and waits until the passes of all other threads are gone. The main thread needs no pass: close()
// runs there.
//
// [any-thread] unless said otherwise.
#pragma once

#include <atomic>
#include <cstdint>

#include "movara/common/ISVSPlayerNotifySink.h"

class SinkGate {
 public:
  explicit SinkGate(ISVSPlayerNotifySink* sink) : sink_(sink) {}
  SinkGate(const SinkGate&) = delete;
  SinkGate& operator=(const SinkGate&) = delete;

  // The sink, or null. It can become null between two calls; one that was read under a pass stays
  // usable until the pass ends.
  ISVSPlayerNotifySink* sink() const { return sink_.load(); }

  // Puts another sink in place; calls to the former one may still be under way. [main-thread]
  void open(ISVSPlayerNotifySink* sink) { sink_.store(sink); }

  // When it has returned, no other thread uses the sink or will. Serves main-thread messages
  // meanwhile, as a thread inside may be waiting for one. [main-thread]
  void close();

  class Pass {
   public:
    explicit Pass(SinkGate& gate) : gate_(gate), outer_(innermost_) {
      gate_.state_.fetch_add(1);
      innermost_ = this;
    }
    ~Pass() {
      innermost_ = outer_;
      gate_.leave();
    }
    Pass(const Pass&) = delete;
    Pass& operator=(const Pass&) = delete;

   private:
    friend class SinkGate;
    // Reached without a call: every sample passes here.
    [[gnu::tls_model("initial-exec")]] static inline constinit thread_local const Pass* innermost_ =
        nullptr;

    SinkGate& gate_;
    const Pass* const outer_;  // of the same thread
  };

 private:
  // Set in state_ while close() waits; below it, the number of passes.
  static constexpr std::uint32_t kWaiting = 0x80000000U;

  void leave() {
    // One word tells both: once the count has gone down, the gate may already be destroyed.
    if ((state_.fetch_sub(1) & kWaiting) != 0) wakeWaiter();
  }
  static void wakeWaiter();
  std::uint32_t passesOfThisThread() const;

  // Sequentially consistent throughout: a thread that enters writes state_, then reads sink_;
  // close() writes sink_, then reads state_. One of them sees the other.
  std::atomic<ISVSPlayerNotifySink*> sink_;
  std::atomic<std::uint32_t> state_{0};
};
