#include "movara/common/SinkGate.h"

#include "platform/RunLoop.h"

void SinkGate::close() {
  sink_.store(nullptr);
  const std::uint32_t own = passesOfThisThread();
  const auto othersAreOut = [this, own] { return (state_.load() & ~kWaiting) == own; };
  if (othersAreOut()) return;

  state_.fetch_or(kWaiting);
  platform::RunLoop::main().waitServingMessages(othersAreOut);
  state_.fetch_and(~kWaiting);
}

void SinkGate::wakeWaiter() { platform::RunLoop::main().wake(); }

// Those are the caller's own: it is inside the sink itself and would wait for ever.
std::uint32_t SinkGate::passesOfThisThread() const {
  std::uint32_t count = 0;
  for (const Pass* pass = Pass::innermost_; pass != nullptr; pass = pass->outer_) {
    if (&pass->gate_ == this) ++count;
  }
  return count;
}
