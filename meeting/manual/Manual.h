// The parts of the manual page that the program knows best, as scdoc text. [any-thread]
#pragma once

#include <string>

#include "meeting/manual/Interface.h"

namespace meeting::manual {

// The subcommands with their options and sections.
std::string commandsForManual(const Interface& program);

// The exit statuses.
std::string statusesForManual();

// The examples of all subcommands.
std::string examplesForManual(const Interface& program);

}  // namespace meeting::manual
