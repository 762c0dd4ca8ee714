// Trace front end: hands every log line to the trace bundle "lumtrace.bundle", which is looked up
// once, when the module is loaded. Without the bundle every call returns -1 and does nothing.
// The front end neither formats nor filters nor buffers. [any-thread]
#pragma once

#include <cstdarg>

#define TRACE_API __attribute__((visibility("default")))
#define TRACE_PRINTF(format_index, first_argument) \
  __attribute__((format(printf, format_index, first_argument)))

// Levels are bit values.
enum TraceLevel : unsigned long {
  kTraceDebug = 1,
  kTraceInfo = 2,
  kTraceWarning = 4,
  kTraceError = 8,
};

// All return the bundle's result, or -1.
TRACE_API int LUMTRACE2(unsigned long level, const char* module, const char* tag2,
                        const char* format, va_list args) TRACE_PRINTF(4, 0);
TRACE_API int LUMTRACERAW(unsigned long level, const char* module, const char* tag2,
                          const char* text);

TRACE_API int LUMDEBUG(const char* format, ...) TRACE_PRINTF(1, 2);
TRACE_API int LUMINFO(const char* format, ...) TRACE_PRINTF(1, 2);
TRACE_API int LUMWARN(const char* format, ...) TRACE_PRINTF(1, 2);
TRACE_API int LUMERROR(const char* format, ...) TRACE_PRINTF(1, 2);

TRACE_API int LUMDEBUG2(const char* module, const char* format, ...) TRACE_PRINTF(2, 3);
TRACE_API int LUMINFO2(const char* module, const char* format, ...) TRACE_PRINTF(2, 3);
TRACE_API int LUMWARN2(const char* module, const char* format, ...) TRACE_PRINTF(2, 3);
TRACE_API int LUMERROR2(const char* module, const char* format, ...) TRACE_PRINTF(2, 3);

extern "C" {
TRACE_API int MacDebugTrace2(const char* module, const char* format, ...) TRACE_PRINTF(2, 3);
TRACE_API int MacInfoTrace2(const char* module, const char* format, ...) TRACE_PRINTF(2, 3);
TRACE_API int MacWarnTrace2(const char* module, const char* format, ...) TRACE_PRINTF(2, 3);
TRACE_API int MacErrorTrace2(const char* module, const char* format, ...) TRACE_PRINTF(2, 3);
}
