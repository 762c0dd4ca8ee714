// What is wrong with a command line, in the program's own words. [any-thread]
#pragma once

#include <CLI/App.hpp>
#include <string>
#include <vector>

namespace meeting {

// Whether the word is written like an option.
bool isOption(const std::string& word);

// A line that says why the parser refused the words that it read for `app`: the option or argument
// and what it must be, or what may have been meant.
std::string misuseOf(const CLI::App& app, const CLI::ParseError& error);

// What is wrong when another option stands where an option's value belongs; empty when nothing is.
// Who means such a value joins it: --name=--value.
std::string forgottenValue(const CLI::App& app, const std::vector<std::string>& words);

}  // namespace meeting
