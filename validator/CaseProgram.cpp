#include "validator/CaseProgram.h"

#include <sys/wait.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string_view>

#include "validator/ChildProcess.h"

namespace validator {

namespace {

using std::chrono::steady_clock;

constexpr std::chrono::seconds kListingTakes{30};
constexpr std::ptrdiff_t kLinesShown = 10;

// One line, whatever a reason is made of.
std::string inOneLine(const std::string& text) {
  std::istringstream lines(text);
  std::string joined;
  for (std::string line; std::getline(lines, line);) {
    const auto begin = line.find_first_not_of(" \t");
    if (begin == std::string::npos) continue;
    joined += (joined.empty() ? "" : " | ") + line.substr(begin);
  }
  return joined;
}

// Its last lines, without what a terminal might obey. The first one may have lost its beginning.
std::vector<std::string> lastLines(const std::string& text) {
  std::vector<std::string> all;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    std::replace_if(
        line.begin(), line.end(), [](unsigned char c) { return std::iscntrl(c) != 0; }, ' ');
    all.push_back(line);
  }
  if (all.size() > kLinesShown) all.erase(all.begin(), all.end() - kLinesShown);
  return all;
}

CaseOutcome outcomeNamed(const std::string& word) {
  if (word == "passed") return CaseOutcome::passed;
  return word == "skipped" ? CaseOutcome::skipped : CaseOutcome::failed;
}

// Reads what the case has said of itself. True when it came to its end.
bool readReport(const std::string& text, CaseResult& result) {
  bool through = false;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    const auto said = nlohmann::json::parse(line, nullptr, false);
    if (!said.is_object()) continue;
    if (said.contains("why")) result.reasons.push_back(inOneLine(said["why"]));
    if (said.contains("outcome")) {
      result.outcome = outcomeNamed(said["outcome"]);
      through = true;
    }
  }
  return through;
}

// How a process ended that should have told its outcome, and ended with 0 or 1.
std::string endOf(int status) {
  if (!WIFSIGNALED(status))
    return "the process ended with status " + std::to_string(WEXITSTATUS(status));
  const int signal = WTERMSIG(status);
  const char* const name = sigabbrev_np(signal);
  return "signal " + std::to_string(signal) +
         (name != nullptr ? std::string(" (SIG") + name + ")" : "");
}

// A word of a command line, as a shell reads it.
std::string asShellWord(const std::string& word) {
  if (std::all_of(word.begin(), word.end(), [](unsigned char c) {
        return std::isalnum(c) != 0 || std::strchr("/._-+=,:@%*", c) != nullptr;
      }))
    return word;
  std::string quoted;
  for (const char c : word) quoted += c == '\'' ? std::string(R"('\'')") : std::string(1, c);
  return "'" + quoted + "'";
}

bool endedWell(int status, CaseOutcome outcome) {
  return WIFEXITED(status) && WEXITSTATUS(status) == (outcome == CaseOutcome::failed ? 1 : 0);
}

}  // namespace

std::optional<std::vector<Case>> CaseProgram::cases() const {
  ChildProcess child({path_, "--list"}, {});
  if (!child.finish(steady_clock::now() + kListingTakes)) return {};
  std::vector<Case> all;
  try {
    for (const auto& one : nlohmann::json::parse(child.output()))
      all.push_back(
          {one.at("name"), static_cast<Level>(one.at("level").get<int>()), one.at("protects")});
  } catch (const nlohmann::json::exception&) {
    return {};
  }
  std::stable_sort(all.begin(), all.end(),
                   [](const Case& a, const Case& b) { return a.level < b.level; });
  return all;
}

CaseResult CaseProgram::run(const Case& what, const Settings& settings) const {
  CaseResult result{what, CaseOutcome::failed, {}, {}};
  const std::string runs = "max_success=5000 seed=" + std::to_string(settings.seed);
  const std::string random = what.level == Level::sequences ? "RC_PARAMS='" + runs + "' " : "";
  const std::string chosen = "--gtest_filter=" + what.name;
  ChildProcess child({path_, settings.code, "--report", chosen}, {"RC_PARAMS=" + runs});
  const bool ended = child.finish(steady_clock::now() + settings.limit);
  const bool through = readReport(child.output(), result);
  if (!ended) {
    result.outcome = CaseOutcome::hung;
    result.reasons.push_back("still ran after " + std::to_string(settings.limit.count()) + " ms");
  } else if (!through || !endedWell(child.status(), result.outcome)) {
    result.outcome = CaseOutcome::crashed;
    result.reasons.push_back(endOf(child.status()));
  }
  if (brokeOff(result.outcome))
    result.reasons.push_back("under a debugger: " + random + "gdb --args " + asShellWord(path_) +
                             ' ' + asShellWord(settings.code) + ' ' + chosen);
  if (isFault(result.outcome)) result.said = lastLines(child.errors());
  return result;
}

}  // namespace validator
