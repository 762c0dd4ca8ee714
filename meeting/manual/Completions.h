// Scripts by which shells complete the program's command line. [any-thread]
#pragma once

#include <string>

#include "meeting/manual/Interface.h"

namespace meeting::manual {

std::string completionForBash(const Interface& program);
std::string completionForZsh(const Interface& program);
std::string completionForFish(const Interface& program);

}  // namespace meeting::manual
