// What a mistyped word may have meant. [any-thread]
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace meeting {

std::string inLowerCase(std::string text);

// The word among `known` that is nearest to `typed`, or begins with it, whatever the case of
// either; empty when none is near.
std::string nearest(std::string_view typed, const std::vector<std::string>& known);

// " (did you mean TEXT?)"; empty without a text.
std::string suggested(const std::string& text);

inline std::string suggestion(std::string_view typed, const std::vector<std::string>& known) {
  return suggested(nearest(typed, known));
}

}  // namespace meeting
