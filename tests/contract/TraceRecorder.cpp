// A trace bundle that keeps every line for the test program that it lies beside. [any-thread]
#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <string>
#include <vector>

#define RECORDER_API extern "C" __attribute__((visibility("default")))

namespace {

std::mutex mutex;
std::vector<std::string>& recordedLines() {
  static std::vector<std::string> lines;
  return lines;
}

}  // namespace

RECORDER_API int LUMTRACE(unsigned long level, const char* module, const char* /*tag2*/,
                          const char* format, va_list args) {
  char text[1024];
  (void)std::vsnprintf(text, sizeof(text), format, args);
  const std::scoped_lock lock(mutex);
  recordedLines().push_back(std::to_string(level) + " " + (module ? module : "") + " " + text);
  return 0;
}

// Moves the lines recorded so far to the caller.
RECORDER_API void takeTraceLines(std::vector<std::string>& lines) {
  const std::scoped_lock lock(mutex);
  lines = std::move(recordedLines());
  recordedLines().clear();
}
