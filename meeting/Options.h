// The command line.
#pragma once

#include <optional>
#include <string>
#include <variant>

#include "meeting/ExitStatus.h"

namespace meeting {

// What the conference answers to the presenter's join.
enum class JoinAnswer : int { accept, refuse, limit };

struct Options {
  std::string file;
  int attendees = 0;
  std::optional<double> duration;  // seconds of playing after which the meeting ends
  bool unpaced = false;
  std::string reportFile;
  std::string frameMd5File;
  std::string snapshotFolder;
  bool quiet = false;
  std::string plugin;      // empty: the one in the program's plug-ins folder
  int decoderThreads = 0;  // 0 lets the player choose
  JoinAnswer session = JoinAnswer::accept;
};

// Text asked for with --help or --version.
struct Information {
  std::string text;
};

// Never ends the program and prints nothing.
std::variant<Options, Information, Failure> parseOptions(int argc, const char* const* argv);

}  // namespace meeting
