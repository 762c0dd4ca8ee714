#include "meeting/Scenario.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace meeting {

namespace {

constexpr double kLatest = 1e6;  // seconds
// A thousand times what a long meeting needs; keeps a wrong file from filling the memory.
constexpr std::uintmax_t kMostBytes = std::uintmax_t{4} << 20;

constexpr const char* kBlanks = " \t\r";

std::string_view trimmed(std::string_view text) {
  const auto first = text.find_first_not_of(kBlanks);
  if (first == text.npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) + 1 - first);
}

}  // namespace

std::variant<TimedAction, std::string> parseTimedAction(std::string_view time,
                                                        std::string_view action) {
  double seconds = -1;
  const char* end = time.data() + time.size();
  const auto [rest, error] = std::from_chars(time.data(), end, seconds);
  if (error != std::errc{} || rest != end || !(seconds >= 0 && seconds <= kLatest))
    return "not a time in seconds: " + std::string(time);
  auto parsed = parseAction(action);
  if (auto* wrong = std::get_if<std::string>(&parsed)) return std::move(*wrong);
  return TimedAction{platform::seconds(seconds), std::get<Action>(parsed)};
}

std::variant<Scenario, std::string> readScenario(const std::string& path) {
  std::error_code failed;
  if (std::filesystem::file_size(path, failed) > kMostBytes || failed)
    return "cannot read the scenario " + path;
  std::ifstream file(path);
  Scenario scenario;
  std::string line;
  for (std::size_t number = 1; std::getline(file, line); ++number) {
    const std::string_view text = trimmed(line);
    if (text.empty() || text.front() == '#') continue;
    const auto blank = text.find_first_of(kBlanks);
    auto parsed = parseTimedAction(text.substr(0, blank),
                                   blank == text.npos ? "" : trimmed(text.substr(blank)));
    if (const auto* wrong = std::get_if<std::string>(&parsed))
      return path + ":" + std::to_string(number) + ": " + *wrong;
    scenario.push_back(std::get<TimedAction>(parsed));
  }
  if (!file.eof()) return "cannot read the scenario " + path;
  return scenario;
}

void sort(Scenario& scenario) {
  std::stable_sort(scenario.begin(), scenario.end(),
                   [](const TimedAction& a, const TimedAction& b) { return a.at < b.at; });
}

}  // namespace meeting
