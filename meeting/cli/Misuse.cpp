#include "meeting/cli/Misuse.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <string_view>
#include <vector>

#include "meeting/Suggestion.h"

namespace meeting {

namespace {

bool beginsWith(std::string_view text, const std::string& name) {
  if (!text.starts_with(name) || name.size() == text.size()) return false;
  const auto next = static_cast<unsigned char>(text[name.size()]);
  return std::isalnum(next) == 0 && next != '-';
}

// The option that the parser complains of: it begins with the name, of a flag without the dashes.
const CLI::Option* optionOf(const CLI::App& app, const CLI::ParseError& error) {
  const auto options = app.get_options();
  const auto found = std::find_if(options.begin(), options.end(), [&](const CLI::Option* option) {
    const auto& names = option->get_lnames();
    return beginsWith(error.what(), option->get_name()) ||
           (!names.empty() && beginsWith(error.what(), names.front()));
  });
  return found == options.end() ? nullptr : *found;
}

std::string lacksValue(const CLI::Option& option) {
  return option.get_name() + " lacks its value, " + option.get_type_name();
}

// Why the number of an option's values is wrong.
std::string wrongNumber(const CLI::Option& option) {
  const std::string name = option.get_name();
  const int most = option.get_items_expected_max();
  const bool once = option.get_multi_option_policy() == CLI::MultiOptionPolicy::Throw;
  if (once && static_cast<int>(option.results().size()) > std::max(most, 1))
    return name + " is given more than once";
  if (most == 0) return name + " takes no value";
  return lacksValue(option);
}

std::string unknownOption(const CLI::App& app, const std::string& word) {
  const std::string name = word.substr(0, word.find('='));
  std::vector<std::string> known;
  for (const CLI::Option* option : app.get_options())
    for (const std::string& longName : option->get_lnames()) known.push_back("--" + longName);
  return "no such option: " + name + suggestion(name, known);
}

std::string noSubcommand(const CLI::App& app) {
  std::string names;
  for (const CLI::App* one : app.get_subcommands({}))
    names += (names.empty() ? "" : ", ") + one->get_name();
  return "a subcommand is required: " + names;
}

}  // namespace

bool isOption(const std::string& word) { return word.size() > 1 && word.front() == '-'; }

std::string forgottenValue(const CLI::App& app, const std::vector<std::string>& words) {
  const auto isLong = [](const std::string& word) {
    return word.size() > 2 && word.starts_with("--");
  };
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (isLong(words[i]) && words[i].ends_with('=')) {
      const CLI::Option* empty = app.get_option_no_throw(words[i].substr(0, words[i].size() - 1));
      if (empty != nullptr && !empty->get_type_name().empty()) return lacksValue(*empty);
    }
    const CLI::Option* option = isLong(words[i]) ? app.get_option_no_throw(words[i]) : nullptr;
    if (option == nullptr || option->get_items_expected_max() == 0) continue;
    const auto values = static_cast<std::size_t>(option->get_type_size());
    for (std::size_t k = i + 1; k < words.size() && k <= i + values; ++k)
      if (isLong(words[k])) return lacksValue(*option);
    i += values;
  }
  return {};
}

std::string misuseOf(const CLI::App& app, const CLI::ParseError& error) {
  const std::vector<std::string> extra = app.remaining(true);
  const auto unknown = std::find_if(extra.begin(), extra.end(), isOption);
  if (unknown != extra.end()) return unknownOption(app, *unknown);
  if (!extra.empty()) return "one argument too many: " + extra.front();
  const bool required = dynamic_cast<const CLI::RequiredError*>(&error) != nullptr;
  if (required && !app.get_subcommands({}).empty()) return noSubcommand(app);
  if (dynamic_cast<const CLI::ArgumentMismatch*>(&error) != nullptr)
    if (const CLI::Option* option = optionOf(app, error)) return wrongNumber(*option);
  // What options themselves say of their values, and which argument is required.
  const std::string text = error.what();
  return text.substr(0, text.find('\n'));
}

}  // namespace meeting
