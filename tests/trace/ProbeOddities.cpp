// Calls of the trace front end that no careful caller makes.
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <string>

#include "trace/unifiedtram.h"

namespace {

// The same function without the compiler's checks of its format.
int (*const uncheckedTrace)(unsigned long, const char*, const char*, const char*,
                            va_list) = LUMTRACE2;

// The list is never read: there is no format that would.
int traceNullFormat(int unused, ...) {
  va_list args;
  va_start(args, unused);
  const int result = uncheckedTrace(kTraceError, "odd", nullptr, nullptr, args);
  va_end(args);
  return result;
}

TRACE_PRINTF(2, 3) int trace(const char* tag2, const char* format, ...) {
  va_list args;
  va_start(args, format);
  const int result = LUMTRACE2(kTraceError | kTraceDebug, "odd", tag2, format, args);
  va_end(args);
  return result;
}

}  // namespace

void logOddities();
void logOddities() {
  // The first record makes the bundle set itself up, which must not disturb errno either.
  errno = ENOENT;
  const int result = LUMERROR("no module");
  std::printf("errno kept %d\n", static_cast<int>(errno == ENOENT));
  std::printf("no module %d\n", result);

  std::printf("null format %d\n", traceNullFormat(0));
  std::printf("null text %d\n", LUMTRACERAW(kTraceError, "odd", nullptr, nullptr));

  constexpr wchar_t kNoCharacter[] = {static_cast<wchar_t>(0x7FFFFFF0), 0};
  std::printf("not convertible %d\n", trace(nullptr, "wide %ls", kNoCharacter));
  std::printf("second tag %d\n", trace("second\ntag", "tagged"));
  std::printf("percent %d\n", LUMTRACERAW(kTraceError, "odd", nullptr, "100 %s %n"));

  const std::string longText(5000, 'x');
  std::printf("long %d\n", trace(nullptr, "%s|%s", longText.c_str(), longText.c_str()));
}
