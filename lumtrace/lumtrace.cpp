#include "lumtrace/lumtrace.h"

#include <cerrno>
#include <exception>

#include "lumtrace/Recorder.h"
#include "lumtrace/Text.h"

namespace {

constexpr int kWritten = 0;
constexpr int kFiltered = 1;
constexpr int kFailed = -1;

// Callers log in the middle of handling an error: errno must outlive the call.
class ErrnoKeeper {
 public:
  ErrnoKeeper() = default;
  ~ErrnoKeeper() { errno = value_; }
  ErrnoKeeper(const ErrnoKeeper&) = delete;
  ErrnoKeeper& operator=(const ErrnoKeeper&) = delete;

 private:
  const int value_ = errno;
};

}  // namespace

int LUMTRACE(unsigned long level, const char* module, const char* tag2, const char* format,
             va_list args) {
  if (format == nullptr) return kFailed;
  const ErrnoKeeper keeper;
  try {
    lumtrace::Recorder& recorder = lumtrace::Recorder::instance();
    if (!recorder.takes(level)) return kFiltered;
    recorder.write(level, module, tag2, lumtrace::expand(format, args));
    return kWritten;
  } catch (const std::exception&) {
    return kFailed;
  }
}

int LUMTRACERAW(unsigned long level, const char* module, const char* tag2, const char* text) {
  if (text == nullptr) return kFailed;
  const ErrnoKeeper keeper;
  try {
    lumtrace::Recorder& recorder = lumtrace::Recorder::instance();
    if (!recorder.takes(level)) return kFiltered;
    recorder.write(level, module, tag2, text);
    return kWritten;
  } catch (const std::exception&) {
    return kFailed;
  }
}
