#include "meeting/manual/Manual.h"

#include <sstream>

#include "meeting/manual/Escape.h"

namespace meeting::manual {

namespace {

// Plain text: nothing in it is markup.
std::string plain(const std::string& text) { return escaped(text, "\\*_#-.|[]<>;"); }

std::string bold(const std::string& text) { return '*' + plain(text) + '*'; }

// Lines as they stand.
std::string literal(const std::string& text) { return "```\n" + escaped(text, "\\") + "\n```\n\n"; }

std::string synopsis(const CommandText& text) {
  std::string line = bold("movara-meeting " + text.command.name) + " \\[_OPTION_...\\]";
  for (const OptionText& option : text.options)
    if (option.positional)
      line += " _" + plain(option.names.front()) + (option.many ? "_..." : "_");
  return line + "\n\n";
}

void writeOption(std::ostream& out, const OptionText& option) {
  std::string names;
  for (const std::string& name : option.names) {
    const std::string marked = option.positional ? '_' + plain(name) + '_' : bold(name);
    names += (names.empty() ? "" : ", ") + marked;
  }
  out << names;
  if (!option.positional && !option.placeholder.empty()) out << ' ' << plain(option.placeholder);
  out << "\n\t" << plain(option.description) << "\n\n";
}

}  // namespace

std::string commandsForManual(const Interface& program) {
  std::ostringstream out;
  for (const CommandText& text : program.commands) {
    out << "## " << text.command.name << "\n\n" << synopsis(text);
    out << plain(text.command.summary) << ".\n\n";
    for (const OptionText& option : text.options) writeOption(out, option);
    for (const Command::Section& section : text.command.sections)
      out << plain(section.title) << ":\n\n" << literal(section.text);
  }
  return out.str();
}

std::string statusesForManual() {
  std::ostringstream out;
  for (const ExitStatusText& status : exitStatusTexts())
    out << bold(status.number) << "\n\t" << plain(status.meaning) << "\n\n";
  return out.str();
}

std::string examplesForManual(const Interface& program) {
  std::ostringstream out;
  for (const CommandText& text : program.commands)
    for (const Command::Example& example : text.command.examples)
      out << plain(example.what) << ":\n\n" << literal("movara-meeting " + example.command);
  return out.str();
}

}  // namespace meeting::manual
