// Stands in for the trace front end and keeps every line, as "I text" or "W text". [any-thread]
#pragma once

#include <string>
#include <vector>

namespace recordedtrace {

// The lines since the last call.
std::vector<std::string> take();

}  // namespace recordedtrace
