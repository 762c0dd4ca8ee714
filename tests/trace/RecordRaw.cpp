// A trace bundle's raw entry point that prints its arguments and answers 80 + level.
#include <cstdio>

#include "tests/trace/RecordOrigin.h"

extern "C" __attribute__((visibility("default"))) int LUMTRACERAW(unsigned long level,
                                                                  const char* module,
                                                                  const char* tag2,
                                                                  const char* text) {
  static const char here = 0;
  std::printf("raw level=%lu module=%s tag2=%s text=%p from=%s\n", level, module, tag2,
              static_cast<const void*>(text), origin(&here));
  return 80 + static_cast<int>(level);
}
