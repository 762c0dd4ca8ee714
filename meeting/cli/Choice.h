// Options that take one of a few words, or a number between two. [main-thread]
#pragma once

#include <CLI/App.hpp>
#include <CLI/Validators.hpp>
#include <charconv>
#include <iterator>
#include <limits>
#include <map>
#include <string>
#include <type_traits>
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

// A number in the fewest digits, as people write it.
template <class Number>
std::string digitsOf(Number number) {
  char text[std::numeric_limits<double>::max_exponent10 + 24];
  std::to_chars_result written{};
  if constexpr (std::is_floating_point_v<Number>)
    written = std::to_chars(text, std::end(text), number, std::chars_format::fixed);
  else
    written = std::to_chars(text, std::end(text), number);
  return {text, written.ptr};
}

// Lets an option take a number between the two, which help shows as `name`. All else is refused.
template <class Number>
void limit(CLI::Option* option, const char* name, Number least, Number most) {
  const std::string wanted = std::string("not a ") +
                             (std::is_floating_point_v<Number> ? "" : "whole ") + "number from " +
                             digitsOf(least) + " to " + digitsOf(most) + ": ";
  const auto take = [wanted, least, most](std::string& word) -> std::string {
    Number number{};
    const char* end = word.data() + word.size();
    const auto [rest, error] = std::from_chars(word.data(), end, number);
    if (error != std::errc{} || rest != end || !(number >= least && number <= most))
      return wanted + word;
    word = digitsOf(number);  // which the parser cannot take for an octal one
    return {};
  };
  option->type_name(name)->transform(CLI::Validator(take, ""));
}

}  // namespace meeting
