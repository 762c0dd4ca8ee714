// Results as people and as programs read them.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "validator/Case.h"

namespace validator {

// A line for each case with its level and what it protects, below one that says what the level is.
void printCases(std::ostream& out, const std::vector<Case>& cases);
// A line for the result, one for each reason, and the last lines that the case wrote.
void printResult(std::ostream& out, const CaseResult& result);
// How many came out which way, and why some were skipped, one line without its end.
std::string summaryOf(const std::vector<CaseResult>& results);
// Whether the plug-in did what it should: cases that were skipped say nothing against it.
bool allWell(const std::vector<CaseResult>& results);

// The same as JSON, ended lines.
void printCasesAsJson(std::ostream& out, const std::vector<Case>& cases);
void printResultsAsJson(std::ostream& out, const std::string& bundle,
                        const std::vector<CaseResult>& results);

}  // namespace validator
