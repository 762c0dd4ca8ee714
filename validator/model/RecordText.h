// How the lines of a host write numbers and records.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>

namespace model {

inline std::string number(auto value) {
  std::string text = std::to_string(value);
  text.insert(text.begin(), ' ');  // "+" on a literal trips a warning of the compiler
  return text;
}

inline std::string hexOf(std::initializer_list<std::uint32_t> words) {
  std::string text;
  for (const std::uint32_t word : words)
    for (int shift : {4, 0, 12, 8, 20, 16, 28, 24}) text += "0123456789abcdef"[word >> shift & 15U];
  return text;
}

}  // namespace model
