// How the program ends. Every status but `shared` comes with one line on standard error.
#pragma once

#include <string>

namespace meeting {

// A run ended by a signal exits with 128 plus the signal's number instead.
enum class ExitStatus : int {
  shared = 0,        // shared to the end, or for the time asked for
  outputFailed = 1,  // a report, picture or checksum file could not be written, or worse
  usage = 2,
  unreadable = 3,  // no such file, not a regular file, or not readable
  notMedia = 4,
  noPlugin = 5,  // plug-in missing, or not one that can be driven
  refused = 6,   // the conference did not let the presenter's session in
  noRoom = 7,    // the room's port is taken, or its address is not ours
};

struct Failure {
  ExitStatus status;
  std::string line;  // for people; without the program's name and without a line end
};

}  // namespace meeting
