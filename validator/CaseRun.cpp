#include "validator/CaseRun.h"

#include <algorithm>
#include <iterator>
#include <string>

namespace validator {

namespace {

// A case that does only what the others, too, begin with.
struct Entrance {
  const char* name;
  const char* spares;  // the cases whose names begin like this do not need it
  const char* closed;  // what is said of those that do
};
constexpr Entrance kEntrances[] = {
    {"Bundle.IsLoaded", "Bundle.IsLoaded", "the bundle does not load"},
    {"ObjectTest.ComesAndGoes", "Bundle.", "it makes no object that can be released"},
};

bool needs(const Case& what, const Entrance& entrance) {
  return what.name != entrance.name && !what.name.starts_with(entrance.spares);
}

bool isIn(const std::vector<Case>& cases, const Case& what) {
  return std::any_of(cases.begin(), cases.end(),
                     [&](const Case& one) { return one.name == what.name; });
}

// The chosen cases behind the entrances that they need.
std::vector<Case> withEntrances(const std::vector<Case>& all, const std::vector<Case>& chosen) {
  std::vector<Case> cases;
  for (const Entrance& entrance : kEntrances) {
    const bool needed = std::any_of(chosen.begin(), chosen.end(),
                                    [&](const Case& c) { return needs(c, entrance); });
    const auto found = std::find_if(all.begin(), all.end(),
                                    [&](const Case& c) { return c.name == entrance.name; });
    if (needed && found != all.end()) cases.push_back(*found);
  }
  std::copy_if(chosen.begin(), chosen.end(), std::back_inserter(cases),
               [&, entrances = cases](const Case& what) { return !isIn(entrances, what); });
  return cases;
}

// Why it would only end as an earlier one did; empty when it is worth a try.
std::string obstacle(const Case& what, const std::vector<CaseResult>& results) {
  for (const CaseResult& result : results) {
    if (!brokeOff(result.outcome)) continue;
    for (const Entrance& entrance : kEntrances)
      if (result.what.name == entrance.name && needs(what, entrance))
        return std::string(entrance.closed) + ": see " + entrance.name;
  }
  return {};
}

}  // namespace

std::vector<CaseResult> runCases(const CaseProgram& program, const CaseProgram::Settings& settings,
                                 const std::vector<Case>& all, const std::vector<Case>& chosen,
                                 const CaseRunListener& listener) {
  const std::vector<Case> cases = withEntrances(all, chosen);
  std::vector<CaseResult> results;
  for (std::size_t at = 0; at < cases.size(); ++at) {
    const Case& what = cases[at];
    listener.begins(at + 1, cases.size(), what);
    const std::string why = obstacle(what, results);
    CaseResult result = why.empty() ? program.run(what, settings)
                                    : CaseResult{what, CaseOutcome::skipped, {why}, {}};
    if (!isIn(chosen, what) && !brokeOff(result.outcome)) continue;  // nobody has asked for it
    listener.ended(result);
    results.push_back(std::move(result));
  }
  return results;
}

}  // namespace validator
