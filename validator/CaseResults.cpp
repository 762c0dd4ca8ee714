#include "validator/CaseResults.h"

#include <algorithm>
#include <iomanip>
#include <nlohmann/json.hpp>
#include <utility>

namespace validator {

namespace {

using Json = nlohmann::ordered_json;

constexpr CaseOutcome kOutcomes[] = {CaseOutcome::passed, CaseOutcome::failed, CaseOutcome::crashed,
                                     CaseOutcome::hung, CaseOutcome::skipped};

std::ptrdiff_t count(const std::vector<CaseResult>& results, CaseOutcome outcome) {
  return std::count_if(results.begin(), results.end(),
                       [=](const CaseResult& result) { return result.outcome == outcome; });
}

// How many were skipped for which reason, in brackets; of a reason, what stands before its colon.
std::string skipsOf(const std::vector<CaseResult>& results) {
  std::vector<std::pair<std::string, int>> skips;
  for (const CaseResult& result : results) {
    if (result.outcome != CaseOutcome::skipped || result.reasons.empty()) continue;
    const std::string why = result.reasons[0].substr(0, result.reasons[0].find(':'));
    const auto known = std::find_if(skips.begin(), skips.end(),
                                    [&](const auto& skip) { return skip.first == why; });
    known != skips.end() ? ++known->second : skips.emplace_back(why, 1).second;
  }
  std::string text;
  for (const auto& [why, number] : skips)
    text += (text.empty() ? " (" : "; ") + std::to_string(number) + ": " + why;
  return text.empty() ? text : text + ')';
}

Json asJson(const Case& what) {
  return {
      {"name", what.name}, {"level", static_cast<int>(what.level)}, {"protects", what.protects}};
}

// What a plug-in hands over may be any bytes.
void print(std::ostream& out, const Json& value) {
  out << value.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
}

}  // namespace

const char* wordOf(CaseOutcome outcome) {
  switch (outcome) {
    case CaseOutcome::passed:
      return "passed";
    case CaseOutcome::failed:
      return "failed";
    case CaseOutcome::crashed:
      return "crashed";
    case CaseOutcome::hung:
      return "hung";
    case CaseOutcome::skipped:
      return "skipped";
  }
  return "";
}

bool isFault(CaseOutcome outcome) {
  return outcome != CaseOutcome::passed && outcome != CaseOutcome::skipped;
}

bool brokeOff(CaseOutcome outcome) {
  return outcome == CaseOutcome::crashed || outcome == CaseOutcome::hung;
}

void printCases(std::ostream& out, const std::vector<Case>& cases) {
  const Case* before = nullptr;
  for (const Case& what : cases) {
    if (before == nullptr || before->level != what.level) {
      const LevelText& level = levelTexts()[static_cast<std::size_t>(what.level) - 1];
      out << (before != nullptr ? "\n" : "") << "Level " << static_cast<int>(what.level) << ", "
          << level.name << ": " << level.adds << '\n';
    }
    before = &what;
    out << std::setw(2) << static_cast<int>(what.level) << "  " << what.name << ": "
        << what.protects << '\n';
  }
}

void printResult(std::ostream& out, const CaseResult& result) {
  out << std::left << std::setw(7) << wordOf(result.outcome) << std::right << "  " << std::setw(2)
      << static_cast<int>(result.what.level) << "  " << result.what.name << ": "
      << result.what.protects << '\n';
  for (const std::string& reason : result.reasons) out << "         " << reason << '\n';
  for (const std::string& line : result.said) out << "           > " << line << '\n';
}

std::string summaryOf(const std::vector<CaseResult>& results) {
  std::string text = std::to_string(results.size()) + (results.size() == 1 ? " case" : " cases");
  const char* separator = ": ";
  for (const CaseOutcome outcome : kOutcomes) {
    const auto number = count(results, outcome);
    if (number == 0) continue;
    text += separator + std::to_string(number) + ' ' + wordOf(outcome);
    separator = ", ";
  }
  return text + skipsOf(results);
}

bool allWell(const std::vector<CaseResult>& results) {
  return std::none_of(results.begin(), results.end(),
                      [](const CaseResult& result) { return isFault(result.outcome); });
}

void printCasesAsJson(std::ostream& out, const std::vector<Case>& cases) {
  Json all = Json::array();
  for (const Case& what : cases) all.push_back(asJson(what));
  print(out, all);
}

void printResultsAsJson(std::ostream& out, const std::string& bundle,
                        const std::vector<CaseResult>& results) {
  Json counts = Json::object();
  for (const CaseOutcome outcome : kOutcomes) counts[wordOf(outcome)] = count(results, outcome);
  Json all = Json::array();
  for (const CaseResult& result : results) {
    Json one = asJson(result.what);
    one["outcome"] = wordOf(result.outcome);
    one["reasons"] = result.reasons;
    one["said"] = result.said;
    all.push_back(one);
  }
  print(out, {{"bundle", bundle}, {"counts", counts}, {"cases", all}});
}

}  // namespace validator
