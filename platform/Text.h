// Text and small system queries. [any-thread]
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/Export.h"

namespace platform {

// UTF-8 of UTF-16LE text; empty when the text is not valid UTF-16.
PLATFORM_API std::string utf8FromUtf16le(std::u16string_view text);

// "~" and "~/..." with the user's home folder in front; anything else as it is.
PLATFORM_API std::string expandTilde(const std::string& path);

// Sixtieths of a second since the system started.
PLATFORM_API std::uint32_t tickCount();

}  // namespace platform
