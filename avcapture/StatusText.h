// What a status view says.
#pragma once

#include <string>

#include "avcapture/Export.h"

namespace avcapture {

// The words for a status view code, as the view itself shows them where it shows any; for rooms and
// logs. Empty for 0, no status; "status N" for a code that nobody sets. [any-thread]
AVCAPTURE_API std::string statusText(int code);

}  // namespace avcapture
