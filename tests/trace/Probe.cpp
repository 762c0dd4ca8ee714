// Logs through the trace front end from wherever it lies, and prints what each call returns.
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <vector>

#include "trace/unifiedtram.h"

void logOddities();  // ProbeOddities.cpp

namespace {

TRACE_PRINTF(1, 2) int passThrough(const char* format, ...) {
  va_list args;
  va_start(args, format);
  const int result = LUMTRACE2(kTraceError, "module", "tag", format, args);
  va_end(args);
  return result;
}

void callAll() {
  static constexpr char kFormat[] = "n=%d";
  static constexpr char kModule[] = "videostream_MMS";
  std::printf("%p\n", static_cast<const void*>(kFormat));
  std::printf("LUMTRACE2 %d\n", passThrough(kFormat, 1));
  std::printf("LUMTRACERAW %d\n", LUMTRACERAW(kTraceInfo, "module", "tag", kFormat));
  std::printf("LUMDEBUG %d\n", LUMDEBUG(kFormat, 2));
  std::printf("LUMINFO %d\n", LUMINFO(kFormat, 5));
  std::printf("LUMWARN %d\n", LUMWARN(kFormat, 6));
  std::printf("LUMERROR %d\n", LUMERROR(kFormat, 7));
  std::printf("LUMDEBUG2 %d\n", LUMDEBUG2(kModule, kFormat, 8));
  std::printf("LUMINFO2 %d\n", LUMINFO2(kModule, kFormat, 9));
  std::printf("LUMWARN2 %d\n", LUMWARN2(kModule, kFormat, 10));
  std::printf("LUMERROR2 %d\n", LUMERROR2(kModule, kFormat, 11));
  std::printf("MacDebugTrace2 %d\n", MacDebugTrace2(kModule, kFormat, 12));
  std::printf("MacInfoTrace2 %d\n", MacInfoTrace2(kModule, kFormat, 13));
  std::printf("MacWarnTrace2 %d\n", MacWarnTrace2(kModule, kFormat, 14));
  std::printf("MacErrorTrace2 %d\n", MacErrorTrace2(kModule, kFormat, 15));
}

void callLevels() {
  std::printf("debug %d\n", MacDebugTrace2("videostream_MMS", "at %s", "debug"));
  std::printf("info %d\n", MacInfoTrace2("videostream_MMS", "at %s", "info"));
  std::printf("warning %d\n", MacWarnTrace2("videostream_MMS", "at %s", "warning"));
  std::printf("error %d\n", MacErrorTrace2("videostream_MMS", "at %s", "error"));
}

void callFromThreads(int threads, int lines) {
  std::vector<std::thread> running;
  running.reserve(static_cast<std::size_t>(threads));
  for (int thread = 0; thread < threads; ++thread) {
    running.emplace_back([thread, lines] {
      for (int line = 0; line < lines; ++line) {
        MacWarnTrace2("videostream_MMS", "thread %d line %d %0*d end", thread, line, 50 + line, 0);
      }
    });
  }
  for (std::thread& thread : running) thread.join();
}

bool isCommand(char** argv, const char* name) { return std::strcmp(argv[1], name) == 0; }

// Runs after every destructor of a static object of this program.
__attribute__((destructor)) void afterStaticDestructors() {
  std::printf("after exit %d %d\n", MacWarnTrace2("late", "late"),
              LUMTRACERAW(kTraceError, "late", nullptr, "late"));
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 2 && isCommand(argv, "all")) {
    callAll();
  } else if (argc == 2 && isCommand(argv, "levels")) {
    callLevels();
  } else if (argc == 2 && isCommand(argv, "oddities")) {
    logOddities();
  } else if (argc == 3 && isCommand(argv, "warn")) {
    std::printf("%d\n", MacWarnTrace2("videostream_MMS", "%s", argv[2]));
  } else if (argc == 4 && isCommand(argv, "threads")) {
    callFromThreads(std::atoi(argv[2]), std::atoi(argv[3]));  // NOLINT(cert-err34-c): tests' own
  } else {
    return 2;
  }
  return 0;
}
