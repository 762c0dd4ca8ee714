// What --version prints. [any-thread]
#pragma once

#include <string>

namespace meeting {

// The program's version, that of the contract with plug-ins, and those of FFmpeg's libraries as
// they are loaded; a line for each.
std::string versionText();

}  // namespace meeting
