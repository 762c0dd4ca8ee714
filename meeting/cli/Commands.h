// The subcommands, a file for each. [main-thread]
#pragma once

#include <functional>
#include <vector>

#include "meeting/Options.h"
#include "meeting/cli/Command.h"

namespace meeting {

// The program's subcommands, in the order in which help shows them.
std::vector<Command> commands();

// Holds a meeting, or does something else with the options of one.
Command presentCommand(std::function<Outcome(const Options&, std::ostream&)> hold);
Command presentCommand();
Command inspectCommand();
Command validateCommand();

}  // namespace meeting
