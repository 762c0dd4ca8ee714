#include "meeting/Suggestion.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace meeting {

namespace {

// How many characters must be inserted, left out, replaced or exchanged with the next one.
std::size_t distance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> before;  // two rows up
  std::vector<std::size_t> above(b.size() + 1);
  std::iota(above.begin(), above.end(), 0);
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::vector<std::size_t> row(b.size() + 1, i);
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t replaced = above[j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
      row[j] = std::min({row[j - 1] + 1, above[j] + 1, replaced});
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
        row[j] = std::min(row[j], before[j - 2] + 1);
    }
    before = std::exchange(above, std::move(row));
  }
  return above.back();
}

}  // namespace

std::string nearest(std::string_view typed, const std::vector<std::string>& known) {
  constexpr std::size_t kLongest = 64;  // beyond that it is no slip
  std::string found;
  std::size_t least = std::max<std::size_t>(typed.size() / 3, 1) + 1;
  for (const std::string& word : known) {
    const bool begun = typed.size() > 3 && word.compare(0, typed.size(), typed) == 0;
    const std::size_t far = begun ? 0 : typed.size() > kLongest ? least : distance(typed, word);
    if (far >= least) continue;
    least = far;
    found = word;
  }
  return found;
}

std::string suggested(const std::string& text) {
  return text.empty() ? "" : " (did you mean " + text + "?)";
}

}  // namespace meeting
