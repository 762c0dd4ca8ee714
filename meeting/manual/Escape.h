// Text in a language that has characters of its own. [any-thread]
#pragma once

#include <string>
#include <string_view>

namespace meeting::manual {

// The text with a backslash before each character that is special.
inline std::string escaped(std::string_view text, std::string_view special) {
  std::string all;
  for (const char c : text) {
    if (special.find(c) != special.npos) all += '\\';
    all += c;
  }
  return all;
}

}  // namespace meeting::manual
