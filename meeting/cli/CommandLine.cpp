#include "meeting/cli/CommandLine.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <ostream>
#include <sstream>
#include <utility>

#include "meeting/Suggestion.h"
#include "meeting/cli/Misuse.h"
#include "meeting/cli/Version.h"

namespace meeting {

namespace {

constexpr const char* kProgram = "movara-meeting";

// What sounds like a subcommand, as validate is one, and is a plug-in.
constexpr const char* kHostCheck = "validate-host";
constexpr const char* kHostCheckHint =
    " (it is a plug-in, which your host loads, or ours: movara-meeting present FILE --plugin "
    "validate-host.bundle)";

std::string statusLines() {
  std::ostringstream text;
  text << "Exit status:\n";
  for (const ExitStatusText& status : exitStatusTexts())
    text << "  " << status.number << "  " << status.meaning << '\n';
  return text.str();
}

std::string footer(const Command& command) {
  std::ostringstream text;
  text << "Examples:\n";
  for (const Command::Example& example : command.examples)
    text << "  # " << example.what << "\n  " << kProgram << ' ' << example.command << '\n';
  for (const Command::Section& section : command.sections)
    text << '\n' << section.title << ":\n" << section.text << '\n';
  text << '\n' << statusLines();
  return text.str();
}

// The text in lines of at most `width` characters, if its words allow it.
std::string wrapped(const std::string& text, std::size_t width) {
  std::istringstream words(text);
  std::string lines;
  std::size_t used = 0;
  for (std::string word; words >> word; used += word.size()) {
    const bool fits = used + 1 + word.size() <= width;
    if (used > 0) lines += fits ? ' ' : '\n';
    used = fits && used > 0 ? used + 1 : 0;
    lines += word;
  }
  return lines;
}

// Help as the parser's library lays it out, within 80 columns, and without what a flag is when
// nothing is said.
class HelpLayout final : public CLI::Formatter {
  std::string make_option_name(const CLI::Option* option, bool positional) const override {
    const std::string name = Formatter::make_option_name(option, positional);
    return name.substr(0, name.find('{'));
  }
  std::string make_option_desc(const CLI::Option* option) const override {
    return wrapped(Formatter::make_option_desc(option), 80 - get_column_width());
  }
};

// Joins "--web PORT" to "--web=PORT": a flag's value stands with it, so that a FILE behind a bare
// --web is not taken for one.
void joinFlagValues(std::vector<std::string>& words) {
  for (std::size_t i = 0; i + 1 < words.size(); ++i) {
    const std::string& next = words[i + 1];
    const bool number = !next.empty() && next.find_first_not_of("0123456789") == next.npos;
    if (words[i] != "--web" || !number) continue;
    words[i] += "=" + next;
    words.erase(words.begin() + static_cast<std::ptrdiff_t>(i) + 1);
  }
}

Outcome wrongUsage(const std::string& line) { return outcomeOf({ExitStatus::usage, line}); }

}  // namespace

CommandLine::CommandLine(const std::vector<Command>& commands)
    : app_("Reference meeting: loads the streaming plug-in and shares files through it.",
           kProgram) {
  app_.formatter(std::make_shared<HelpLayout>());
  app_.require_subcommand(1);
  app_.set_version_flag("--version", versionText);
  std::string examples = "Examples:\n";
  for (const Command& command : commands) {
    add(command);
    const Command::Example& first = command.examples.front();
    examples += "  # " + first.what + "\n  " + kProgram + ' ' + first.command + '\n';
  }
  app_.footer(examples + "\n" + kProgram + " SUBCOMMAND --help says more.\n\n" + statusLines());
}

void CommandLine::add(const Command& command) {
  CLI::App* app = app_.add_subcommand(command.name, command.summary);
  runs_[command.name] = command.declare(*app);
  const auto isFlag = [](const CLI::Option* option) {
    return option->get_items_expected_max() == 0 && option->get_type_name().empty();
  };
  for (CLI::Option* option : app->get_options(isFlag)) option->disable_flag_override();
  app->footer(footer(command));
}

Outcome CommandLine::run(std::vector<std::string> words, std::ostream& out) {
  const auto name = std::find_if_not(words.begin(), words.end(), isOption);
  if (name != words.end() && runs_.find(*name) == runs_.end()) {
    std::vector<std::string> names;
    for (const auto& [known, run] : runs_) names.push_back(known);
    const std::string hint = *name == kHostCheck ? kHostCheckHint : suggestion(*name, names);
    return wrongUsage("no such subcommand: " + *name + (hint.empty() ? " (see --help)" : hint));
  }
  joinFlagValues(words);
  if (name != words.end()) {
    const std::string forgotten = forgottenValue(*app_.get_subcommand(*name), words);
    if (!forgotten.empty()) return wrongUsage(forgotten + " (see " + *name + " --help)");
  }
  std::reverse(words.begin(), words.end());  // as the parser takes them
  try {
    app_.parse(words);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() != static_cast<int>(CLI::ExitCodes::Success)) return misused(error);
    std::ostringstream text;
    app_.exit(error, text, text);
    out << text.str();
    return {};
  }
  return runs_.at(app_.get_subcommands().front()->get_name())(out);
}

Outcome CommandLine::misused(const CLI::ParseError& error) const {
  const auto chosen = app_.get_subcommands();
  const std::string line = misuseOf(chosen.empty() ? app_ : *chosen.front(), error);
  if (line.ends_with("?)")) return wrongUsage(line);  // what was meant is said
  return wrongUsage(line + " (see " + (chosen.empty() ? "" : chosen.front()->get_name() + ' ') +
                    "--help)");
}

}  // namespace meeting
