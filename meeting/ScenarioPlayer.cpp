#include "meeting/ScenarioPlayer.h"

#include <algorithm>
#include <utility>

namespace meeting {

struct ScenarioPlayer::Target : platform::Object {
  explicit Target(ScenarioPlayer& player) : owner(player) {}
  void fire() { owner.actWhatIsDue(); }  // NOLINT(*-make-member-function-const): a message's form
  ScenarioPlayer& owner;
};

ScenarioPlayer::ScenarioPlayer(Scenario scenario, std::function<void(const TimedAction&)> act)
    : scenario_(std::move(scenario)), act_(std::move(act)) {
  sort(scenario_);
}

ScenarioPlayer::~ScenarioPlayer() {
  if (timer_) timer_->invalidate();
}

void ScenarioPlayer::start() {
  if (std::exchange(started_, true)) return;
  origin_ = platform::RunLoop::main().now();
  waitForNext();
}

void ScenarioPlayer::waitForNext() {
  if (finished()) return;
  const platform::Duration passed = platform::RunLoop::main().now() - origin_;
  const platform::Duration wait = std::max(scenario_[next_].at - passed, platform::Duration{0});
  timer_ = platform::Timer::scheduled(wait, std::make_shared<Target>(*this), &Target::fire, false);
}

void ScenarioPlayer::actWhatIsDue() {
  const platform::Duration passed = platform::RunLoop::main().now() - origin_;
  while (!finished() && scenario_[next_].at <= passed) act_(scenario_[next_++]);
  waitForNext();
}

}  // namespace meeting
