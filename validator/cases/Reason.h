// Why a case failed, for somebody who has not seen the cases: what was looked at, what was
// expected, what came, and what the first word that differs stands for.
#pragma once

#include <string>

namespace validator {

// One line from what GoogleTest says of a failed assertion, with what was written behind it and the
// traces around it.
std::string reasonOf(const std::string& message);

}  // namespace validator
