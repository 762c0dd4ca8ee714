// A subcommand of the program: what help and manual say of it, its options, what it does.
#pragma once

#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

#include "meeting/ExitStatus.h"

namespace CLI {
class App;
}

namespace meeting {

struct Command {
  // Data go to `out`, anything else to standard error. [main-thread]
  using Run = std::function<Outcome(std::ostream& out)>;

  struct Example {
    std::string command;  // what follows the program's name
    std::string what;     // what it does, in a few words
  };
  struct Section {
    std::string title;
    std::string text;  // lines as they are to stand
  };

  std::string name;
  std::string summary;  // one line
  std::vector<Example> examples;
  std::vector<Section> sections;
  // Adds the options. What it answers is called when they have been read, once, and owns what they
  // are read into; a combination of them that makes no sense is a failure with ExitStatus::usage.
  std::function<Run(CLI::App& app)> declare;
};

}  // namespace meeting
