// What happens in a meeting and when: lines of "TIME ACTION", TIME in seconds since the presenter
// was first asked to play. Empty lines and lines that begin with # say nothing.
#pragma once

#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "meeting/Action.h"
#include "platform/Clock.h"

namespace meeting {

struct TimedAction {
  platform::Duration at{};
  Action action;
};

// In order of time; what has the same time stays in the order given.
using Scenario = std::vector<TimedAction>;

std::variant<TimedAction, std::string> parseTimedAction(std::string_view time,
                                                        std::string_view action);
// The scenario in the file, or what is wrong with it and in which line.
std::variant<Scenario, std::string> readScenario(const std::string& path);
void sort(Scenario& scenario);

}  // namespace meeting
