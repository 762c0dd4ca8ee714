// The command line: finds the subcommand, reads its options, runs it. [main-thread]
#pragma once

#include <CLI/App.hpp>
#include <iosfwd>
#include <map>
#include <string>
#include <vector>

#include "meeting/cli/Command.h"

namespace meeting {

class CommandLine {
 public:
  explicit CommandLine(const std::vector<Command>& commands);

  // Does what the words after the program's name ask for. Wrong usage ends with a line that says
  // what is wrong, and what may have been meant.
  Outcome run(std::vector<std::string> words, std::ostream& out);

  // The program with its subcommands and options, for who describes them.
  const CLI::App& app() const { return app_; }

 private:
  void add(const Command& command);
  Outcome misused(const CLI::ParseError& error) const;

  CLI::App app_;
  std::map<std::string, Command::Run> runs_;
};

}  // namespace meeting
