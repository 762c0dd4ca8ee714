// Message texts of trace records. [any-thread]
#pragma once

#include <cstdarg>
#include <string>
#include <string_view>

namespace lumtrace {

// The expanded text in full, or `format` itself when it cannot be expanded.
std::string expand(const char* format, va_list args) __attribute__((format(printf, 1, 0)));

// `text` with control characters written as escapes: one line, nothing that a terminal obeys.
std::string escaped(std::string_view text);

}  // namespace lumtrace
