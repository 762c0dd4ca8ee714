// The file to share, looked at before anything else is started. [any-thread]
#pragma once

#include <optional>
#include <string>

#include "meeting/ExitStatus.h"

namespace meeting {

// Why the file cannot be shared, as far as the file system tells.
std::optional<Failure> checkReadable(const std::string& path);

// The failure to open a file, with the errno that says why.
Failure cannotRead(const std::string& path, int error);

}  // namespace meeting
