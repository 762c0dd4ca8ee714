// The program's command line as data, for its manual page and its completions. [any-thread]
#pragma once

#include <string>
#include <vector>

#include "meeting/cli/Command.h"

namespace meeting::manual {

struct OptionText {
  enum class Value { none, file, folder, words, other };

  std::vector<std::string> names;  // with their dashes; a positional argument has one without
  std::string placeholder;         // what stands for the value, "FILE" say; empty without a value
  std::string description;         // one line
  Value value = Value::none;
  std::vector<std::string> words;  // with Value::words
  bool positional = false;
  bool many = false;  // may be given more than once
};

struct CommandText {
  Command command;
  std::vector<OptionText> options;
};

struct Interface {
  std::vector<OptionText> options;  // of the program itself
  std::vector<CommandText> commands;
};

// What the program offers, in the order of its help.
Interface describeProgram();

}  // namespace meeting::manual
