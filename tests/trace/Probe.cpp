// Logs once through each function of the trace front end, from wherever the program lies, and
// prints what the call returns.
#include <cstdarg>
#include <cstdio>

#include "trace/unifiedtram.h"

namespace {

TRACE_PRINTF(1, 2) int passThrough(const char* format, ...) {
  va_list args;
  va_start(args, format);
  const int result = LUMTRACE2(kTraceError, "module", "tag", format, args);
  va_end(args);
  return result;
}

// Runs after every destructor of a static object of this program.
__attribute__((destructor)) void afterStaticDestructors() {
  std::printf("after exit %d %d\n", MacWarnTrace2("late", "late"),
              LUMTRACERAW(kTraceError, "late", nullptr, "late"));
}

}  // namespace

int main() {
  static constexpr char kFormat[] = "n=%d";
  static constexpr char kModule[] = "videostream_MMS";
  std::printf("%p\n", static_cast<const void*>(kFormat));
  std::printf("LUMTRACE2 %d\n", passThrough(kFormat, 5));
  std::printf("LUMTRACERAW %d\n", LUMTRACERAW(kTraceInfo, "module", "tag", kFormat));
  std::printf("LUMDEBUG %d\n", LUMDEBUG(kFormat, 5));
  std::printf("LUMINFO %d\n", LUMINFO(kFormat, 5));
  std::printf("LUMWARN %d\n", LUMWARN(kFormat, 5));
  std::printf("LUMERROR %d\n", LUMERROR(kFormat, 5));
  std::printf("LUMDEBUG2 %d\n", LUMDEBUG2(kModule, kFormat, 5));
  std::printf("LUMINFO2 %d\n", LUMINFO2(kModule, kFormat, 5));
  std::printf("LUMWARN2 %d\n", LUMWARN2(kModule, kFormat, 5));
  std::printf("LUMERROR2 %d\n", LUMERROR2(kModule, kFormat, 5));
  std::printf("MacDebugTrace2 %d\n", MacDebugTrace2(kModule, kFormat, 5));
  std::printf("MacInfoTrace2 %d\n", MacInfoTrace2(kModule, kFormat, 5));
  std::printf("MacWarnTrace2 %d\n", MacWarnTrace2(kModule, kFormat, 5));
  std::printf("MacErrorTrace2 %d\n", MacErrorTrace2(kModule, kFormat, 5));
}
