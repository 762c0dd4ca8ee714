// The entry points of a trace bundle, RECORD_FORMATTED and RECORD_RAW, that print their arguments
// and where they lie, and answer 40, or 80, + level.
#include <dlfcn.h>

#include <cstdarg>
#include <cstdio>

#define RECORDER_API extern "C" __attribute__((visibility("default")))

namespace {

const char here = 0;

const char* origin() {
  Dl_info info{};
  return dladdr(&here, &info) != 0 ? info.dli_fname : "unknown";
}

const char* orNull(const char* text) { return text != nullptr ? text : "null"; }

}  // namespace

#ifdef RECORD_FORMATTED
RECORDER_API __attribute__((format(printf, 4, 0))) int LUMTRACE(unsigned long level,
                                                                const char* module,
                                                                const char* tag2,
                                                                const char* format, va_list args) {
  std::printf("formatted level=%lu module=%s tag2=%s format=%p text=", level, orNull(module),
              orNull(tag2), static_cast<const void*>(format));
  std::vprintf(format, args);
  std::printf(" from=%s\n", origin());
  return 40 + static_cast<int>(level);
}
#endif

#ifdef RECORD_RAW
RECORDER_API int LUMTRACERAW(unsigned long level, const char* module, const char* tag2,
                             const char* text) {
  std::printf("raw level=%lu module=%s tag2=%s text=%p from=%s\n", level, orNull(module),
              orNull(tag2), static_cast<const void*>(text), origin());
  return 80 + static_cast<int>(level);
}
#endif
