// Carries a scenario out: each action when its time has come, in the scenario's order.
// [main-thread]
#pragma once

#include <cstddef>
#include <functional>
#include <memory>

#include "meeting/Scenario.h"
#include "platform/RunLoop.h"

namespace meeting {

class ScenarioPlayer {
 public:
  ScenarioPlayer(Scenario scenario, std::function<void(const TimedAction&)> act);
  ~ScenarioPlayer();
  ScenarioPlayer(const ScenarioPlayer&) = delete;
  ScenarioPlayer& operator=(const ScenarioPlayer&) = delete;

  // Time 0 is now. Only the first call counts.
  void start();
  // Whether everything has been done.
  bool finished() const { return next_ == scenario_.size(); }

 private:
  struct Target;
  void waitForNext();
  void actWhatIsDue();

  Scenario scenario_;
  const std::function<void(const TimedAction&)> act_;
  std::size_t next_ = 0;
  bool started_ = false;
  platform::TimePoint origin_;
  std::shared_ptr<platform::Timer> timer_;
};

}  // namespace meeting
