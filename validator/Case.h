// A case that a plug-in is checked with, and how it went.
#pragma once

#include <string>
#include <vector>

#include "validator/Levels.h"

namespace validator {

struct Case {
  std::string name;  // FIXTURE.NAME
  Level level;
  std::string protects;  // one line
};

enum class CaseOutcome { passed, failed, crashed, hung, skipped };

// The word for it, as results show it.
const char* wordOf(CaseOutcome outcome);
// Whether it speaks against the plug-in: failed, crashed or hung.
bool isFault(CaseOutcome outcome);
// Whether it did not come to its end: crashed or hung.
bool brokeOff(CaseOutcome outcome);

struct CaseResult {
  Case what;
  CaseOutcome outcome;
  std::vector<std::string> reasons;  // one line each; none when it passed
  // The last lines that it wrote on standard error; none without a fault
  std::vector<std::string> said;
};

}  // namespace validator
