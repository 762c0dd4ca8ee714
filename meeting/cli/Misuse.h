// What is wrong with a command line, in the program's own words. [any-thread]
#pragma once

#include <CLI/App.hpp>
#include <string>

namespace meeting {

// Whether the word is written like an option.
bool isOption(const std::string& word);

// A line that says why the parser refused the words that it read for `app`: the option or argument
// and what it must be, or what may have been meant.
std::string misuseOf(const CLI::App& app, const CLI::ParseError& error);

}  // namespace meeting
