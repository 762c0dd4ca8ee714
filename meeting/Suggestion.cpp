#include "meeting/Suggestion.h"

#include <algorithm>
#include <cctype>
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

std::string inLowerCase(std::string text) {
  for (char& letter : text)
    letter = static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
  return text;
}

std::string nearest(std::string_view typed, const std::vector<std::string>& known) {
  const std::string wanted = inLowerCase(std::string(typed));
  constexpr std::size_t kLongest = 64;  // beyond that it is no slip
  std::string found;
  std::size_t least = std::max<std::size_t>(wanted.size() / 3, 1) + 1;
  for (const std::string& each : known) {
    const std::string name = inLowerCase(each);
    const bool begun = wanted.size() > 3 && name.starts_with(wanted);
    const std::size_t far = begun ? 0 : wanted.size() > kLongest ? least : distance(wanted, name);
    if (far >= least) continue;
    least = far;
    found = each;
  }
  return found;
}

std::string suggested(const std::string& text) {
  return text.empty() ? "" : " (did you mean " + text + "?)";
}

}  // namespace meeting
