#include "meeting/manual/Completions.h"

#include <algorithm>
#include <sstream>

#include "meeting/manual/Escape.h"

namespace meeting::manual {

namespace {

using Value = OptionText::Value;

std::string join(const std::vector<std::string>& words, const char* between) {
  std::string all;
  for (const std::string& word : words) all += (all.empty() ? "" : between) + word;
  return all;
}

// A word in single quotes, for any of the shells; fish alone reads backslashes in them.
std::string quoted(const std::string& text, const char* quote = "'\\''") {
  std::string all = "'";
  for (const char c : text) all += c == '\'' ? quote : std::string(1, c);
  return all + '\'';
}

std::vector<std::string> names(const std::vector<OptionText>& options) {
  std::vector<std::string> all;
  for (const OptionText& option : options)
    if (!option.positional) all.insert(all.end(), option.names.begin(), option.names.end());
  return all;
}

// A value in brackets may be left out: the next word is none.
bool takesWord(const OptionText& option) {
  return option.value != Value::none && option.placeholder.front() != '[';
}

// --- bash ---

// What is done where an option's value stands; files are what bash offers by itself.
std::string valueForBash(const OptionText& option) {
  switch (option.value) {
    case Value::words:
      return "mapfile -t COMPREPLY < <(compgen -W " + quoted(join(option.words, " ")) +
             " -- \"$current\")";
    case Value::folder:
      return "compopt +o default -o dirnames";
    case Value::other:
      return "compopt +o default";
    case Value::none:
    case Value::file:
      break;
  }
  return ":";
}

}  // namespace

std::string completionForBash(const Interface& program) {
  std::ostringstream values, positionals, words;
  std::vector<std::string> first = names(program.options);
  for (const auto& [command, options] : program.commands) {
    first.push_back(command.name);
    words << "    " << command.name << ") words=" << quoted(join(names(options), " ")) << " ;;\n";
    for (const OptionText& option : options) {
      if (option.positional)
        positionals << "      " << command.name << ") " << valueForBash(option) << " ;;\n";
      else if (takesWord(option))
        values << "    " << quoted(command.name + ' ' + option.names.back()) << ") "
               << valueForBash(option) << "; return ;;\n";
    }
  }
  return "_movara_meeting() {\n"
         "  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]}\n"
         "  local command= words= word\n"
         "  # bash makes words of their own of the parts of --option=value\n"
         "  [[ $current != = ]] || current=\n"
         "  [[ $previous != = ]] || previous=${COMP_WORDS[COMP_CWORD-2]}\n"
         "  for word in \"${COMP_WORDS[@]:1:COMP_CWORD-1}\"; do\n"
         "    [[ $word == -* ]] || { command=$word; break; }\n"
         "  done\n"
         "  case \"$command $previous\" in\n" +
         values.str() +
         "  esac\n"
         "  if [[ -n $command && $current != -* ]]; then\n"
         "    case $command in\n" +
         positionals.str() +
         "    esac\n"
         "    return\n"
         "  fi\n"
         "  case $command in\n"
         "    '') words=" +
         quoted(join(first, " ")) + " ;;\n" + words.str() +
         "  esac\n"
         "  mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$current\")\n"
         "}\n"
         "complete -o default -F _movara_meeting movara-meeting\n";
}

namespace {

// --- zsh ---

// Text in an argument of _arguments or _describe.
std::string escapedForZsh(const std::string& text) { return escaped(text, "[]:\\"); }

std::string valueForZsh(const OptionText& option) {
  const std::string message = ':' + escapedForZsh(option.placeholder) + ':';
  switch (option.value) {
    case Value::words:
      return ":word:(" + join(option.words, " ") + ')';
    case Value::folder:
      return message + "_files -/";
    case Value::file:
      return message + "_files";
    case Value::none:
    case Value::other:
      break;
  }
  return message + ' ';
}

// An option's argument of _arguments: it may be given more than once.
std::string argumentForZsh(const OptionText& option, const std::string& name) {
  const std::string description = '[' + escapedForZsh(option.description) + ']';
  return quoted('*' + name + description + (takesWord(option) ? valueForZsh(option) : ""));
}

std::string argumentsForZsh(const std::vector<OptionText>& options, const char* before = "") {
  std::string all = std::string("_arguments") + before;
  for (const OptionText& option : options) {
    if (option.positional)
      all.append(" ").append(quoted('*' + valueForZsh(option)));
    else
      for (const std::string& name : option.names)
        all.append(" \\\n        ").append(argumentForZsh(option, name));
  }
  return all;
}

}  // namespace

std::string completionForZsh(const Interface& program) {
  std::ostringstream commands, arguments;
  for (const auto& [command, options] : program.commands) {
    commands << ' ' << quoted(command.name + ':' + escapedForZsh(command.summary));
    arguments << "      " << command.name << ") " << argumentsForZsh(options) << " ;;\n";
  }
  return "#compdef movara-meeting\n"
         "_movara_meeting() {\n"
         "  local curcontext=$curcontext state line\n"
         "  local -a commands\n"
         "  " +
         argumentsForZsh(program.options, " -C '1: :->command' '*:: :->arguments'") +
         " && return\n"
         "  case $state in\n"
         "    command) commands=(" +
         commands.str() +
         " ); _describe subcommand commands ;;\n"
         "    arguments) case $line[1] in\n" +
         arguments.str() +
         "    esac ;;\n"
         "  esac\n"
         "}\n"
         "_movara_meeting \"$@\"\n";
}

namespace {

// --- fish ---

std::string quotedForFish(const std::string& text) { return quoted(text, "\\'"); }

std::string valueForFish(const OptionText& option) {
  switch (option.value) {
    case Value::words:
      return " -x -a " + quotedForFish(join(option.words, " "));
    case Value::folder:
      return " -x -a '(__fish_complete_directories)'";
    case Value::file:
      return " -r -F";
    case Value::none:
    case Value::other:
      break;
  }
  return " -x";
}

std::string optionForFish(const OptionText& option) {
  std::string all;
  for (const std::string& name : option.names)
    all += name.starts_with("--") ? " -l " + name.substr(2) : " -s " + name.substr(1);
  if (takesWord(option)) all += valueForFish(option);
  return all + " -d " + quotedForFish(option.description) + '\n';
}

}  // namespace

std::string completionForFish(const Interface& program) {
  const std::string complete = "complete -c movara-meeting";
  std::ostringstream out;
  out << complete << " -f\n";
  for (const OptionText& option : program.options)
    out << complete << " -n __fish_use_subcommand" << optionForFish(option);
  for (const auto& [command, options] : program.commands) {
    const std::string within =
        complete + " -n " + quotedForFish("__fish_seen_subcommand_from " + command.name);
    out << complete << " -n __fish_use_subcommand -a " << command.name << " -d "
        << quotedForFish(command.summary) << '\n';
    for (const OptionText& option : options)
      out << within << (option.positional ? valueForFish(option) + '\n' : optionForFish(option));
  }
  return out.str();
}

}  // namespace meeting::manual
