// Options that take one of a few words, or a number between two. [main-thread]
#pragma once

#include <CLI/App.hpp>
#include <CLI/Validators.hpp>
#include <map>
#include <string>
#include <vector>

#include "meeting/Suggestion.h"

namespace meeting {

// Adds an option whose words stand for values. A wrong word is refused with the right ones, and the
// one that was probably meant.
template <class Value>
CLI::Option* addChoice(CLI::App& app, const std::string& name, Value& value,
                       const std::string& description, const std::map<std::string, Value>& words) {
  std::string all;
  std::vector<std::string> known;
  for (const auto& [word, meaning] : words) {
    all += (all.empty() ? "" : "|") + word;
    known.push_back(word);
  }
  const auto take = [&value, words, known, all, name](const std::string& word) {
    const auto found = words.find(word);
    if (found == words.end())
      throw CLI::ValidationError(name, word + " is none of " + all + suggestion(word, known));
    value = found->second;
  };
  return app.add_option_function<std::string>(name, take, description)->type_name(all);
}

// Lets an option take a number between the two, which help shows as `name`.
template <class Number>
void limit(CLI::Option* option, const char* name, Number least, Number most) {
  option->type_name(name)->check(CLI::Range(least, most).description(""));
}

}  // namespace meeting
