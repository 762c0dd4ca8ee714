#include "meeting/manual/Interface.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <sstream>

#include "meeting/cli/CommandLine.h"
#include "meeting/cli/Commands.h"

namespace meeting::manual {

namespace {

std::vector<std::string> split(const std::string& text, char separator) {
  std::vector<std::string> parts;
  std::istringstream stream(text);
  for (std::string part; std::getline(stream, part, separator);) parts.push_back(part);
  return parts;
}

OptionText::Value valueOf(const std::string& placeholder) {
  if (placeholder.empty()) return OptionText::Value::none;
  if (placeholder.find('|') != placeholder.npos) return OptionText::Value::words;
  if (placeholder == "FILE") return OptionText::Value::file;
  if (placeholder == "FOLDER" || placeholder == "BUNDLE" || placeholder == "PLUGIN")
    return OptionText::Value::folder;
  return OptionText::Value::other;
}

OptionText describe(const CLI::Option& option) {
  OptionText text;
  for (const std::string& name : option.get_snames()) text.names.push_back("-" + name);
  for (const std::string& name : option.get_lnames()) text.names.push_back("--" + name);
  text.positional = text.names.empty();
  if (text.positional) text.names.push_back(option.get_name(true));
  text.many = option.get_expected_max() > 1;
  text.placeholder = text.positional ? text.names.front() : option.get_type_name();
  text.description = option.get_description();
  text.value = valueOf(text.placeholder);
  if (text.value == OptionText::Value::words) text.words = split(text.placeholder, '|');
  return text;
}

std::vector<OptionText> optionsOf(const CLI::App& app) {
  std::vector<OptionText> texts;
  for (const CLI::Option* option : app.get_options()) texts.push_back(describe(*option));
  return texts;
}

}  // namespace

Interface describeProgram() {
  const std::vector<Command> commands = meeting::commands();
  const CommandLine line(commands);
  Interface program{optionsOf(line.app()), {}};
  for (const Command& command : commands)
    program.commands.push_back({command, optionsOf(*line.app().get_subcommand(command.name))});
  return program;
}

}  // namespace meeting::manual
