// A trace bundle's formatted entry point that prints its arguments and answers 40 + level.
#include <cstdarg>
#include <cstdio>

#include "tests/trace/RecordOrigin.h"

extern "C" __attribute__((visibility("default"), format(printf, 4, 0))) int LUMTRACE(
    unsigned long level, const char* module, const char* tag2, const char* format, va_list args) {
  static const char here = 0;
  std::printf("formatted level=%lu module=%s tag2=%s format=%p text=", level,
              module != nullptr ? module : "null", tag2 != nullptr ? tag2 : "null",
              static_cast<const void*>(format));
  std::vprintf(format, args);
  std::printf(" from=%s\n", origin(&here));
  return 40 + static_cast<int>(level);
}
