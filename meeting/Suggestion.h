// What a mistyped word may have meant. [any-thread]
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace meeting {

// " (did you mean WORD?)" with the word among `known` that is nearest to `typed`, or begins with
// it; empty when none is near.
std::string suggestion(std::string_view typed, const std::vector<std::string>& known);

}  // namespace meeting
