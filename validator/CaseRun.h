// Cases of one plug-in, one after the other. [main-thread]
#pragma once

#include <functional>
#include <vector>

#include "validator/CaseProgram.h"

namespace validator {

struct CaseRunListener {
  // It begins, of all that will be done as the number `number`, from 1 on.
  std::function<void(std::size_t number, std::size_t of, const Case& what)> begins;
  std::function<void(const CaseResult& result)> ended;
};

// Runs `chosen`, in their order. Where a plug-in hangs or crashes in what others begin with (to be
// loaded, to make an object), those are not run into the same: they are skipped, with the name of
// the case to look at, which is run and part of the results even if it is not among the chosen.
std::vector<CaseResult> runCases(const CaseProgram& program, const CaseProgram::Settings& settings,
                                 const std::vector<Case>& all, const std::vector<Case>& chosen,
                                 const CaseRunListener& listener);

}  // namespace validator
