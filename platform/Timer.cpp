#include <algorithm>
#include <utility>

#include "platform/RunLoop.h"
#include "platform/RunLoopImpl.h"

namespace platform {

namespace {

// A repeating timer without an interval would never let its loop rest.
constexpr Duration kShortestInterval = std::chrono::microseconds(100);

}  // namespace

std::shared_ptr<Timer> Timer::scheduled(Duration interval, std::shared_ptr<Object> target,
                                        Selector message, bool repeats) {
  RunLoop::Impl& loop = LoopAccess::of(RunLoop::current());
  interval = std::max(interval, kShortestInterval);
  auto state = std::make_shared<State>();
  state->schedule = loop.schedule;
  state->entry = std::make_shared<ScheduledMessage>(
      ScheduledMessage{.kind = ScheduledMessage::Kind::kTimer,
                       .target = std::move(target),
                       .message = message,
                       .argument = {},
                       .deadline = loop.clock->now() + interval,
                       .interval = repeats ? interval : Duration::zero(),
                       .modes = {std::string(kDefaultRunLoopMode)}});
  state->entry->valid = state->entry->target != nullptr;
  auto timer = std::make_shared<Timer>(state);
  if (state->entry->valid) loop.schedule->add(state->entry);
  return timer;
}

Timer::Timer(std::shared_ptr<State> state) : state_(std::move(state)) {}

Timer::~Timer() = default;

void Timer::invalidate() {
  const Schedule::Entry entry = state_->entry;
  if (const auto schedule = state_->schedule.lock()) schedule->remove(entry);
  entry->valid = false;
  // Last, because the target's end may end this timer too.
  const std::shared_ptr<Object> target = std::move(entry->target);
}

bool Timer::isValid() const { return state_->entry->valid; }

}  // namespace platform
