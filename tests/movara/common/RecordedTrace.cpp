#include "tests/movara/common/RecordedTrace.h"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <utility>

#include "movara/common/Trace.h"

namespace {

std::mutex lock;
std::vector<std::string> recorded;

int record(const char* level, const char* module, const char* format, va_list args) {
  std::array<char, 512> text{};
  const int length = std::vsnprintf(text.data(), text.size(), format, args);
  const std::string tag = std::string(module) == kTraceModule ? "" : "wrong module: ";
  const std::lock_guard guard(lock);
  recorded.push_back(std::string(level) + tag + text.data());
  return length;
}

}  // namespace

std::vector<std::string> recordedtrace::take() {
  const std::lock_guard guard(lock);
  return std::exchange(recorded, {});
}

int MacInfoTrace2(const char* module, const char* format, ...) {
  va_list args;
  va_start(args, format);
  const int result = record("I ", module, format, args);
  va_end(args);
  return result;
}

int MacWarnTrace2(const char* module, const char* format, ...) {
  va_list args;
  va_start(args, format);
  const int result = record("W ", module, format, args);
  va_end(args);
  return result;
}
