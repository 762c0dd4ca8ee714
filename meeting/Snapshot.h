// A picture of a view as an onlooker would see it: the contents of its tree, each scaled to its
// view with the aspect kept, on black. [main-thread]
#pragma once

#include <string>

#include "platform/View.h"

namespace meeting {

platform::Image compose(const platform::View& view);

// False when the file cannot be written.
bool writePng(const platform::Image& image, const std::string& path);

}  // namespace meeting
