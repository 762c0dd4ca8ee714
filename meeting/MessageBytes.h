// What of a message's bytes two meetings can be compared by. [any-thread]
#pragma once

#include <string>

#include "meeting/PassedMessage.h"

namespace meeting {

// The bytes of its record and of what that points to, in hexadecimal and each with its name. Zero
// are those that another run changes though nothing else happens: addresses and handles, the
// position of a source status unless it is sought, and whether a picture is shown once more.
std::string comparableBytes(const PassedMessage& message);

}  // namespace meeting
