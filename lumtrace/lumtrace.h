// The trace bundle: writes each record as one line
//
//   2024-05-17T09:30:01.250+02:00 warning [videostream_MMS] [4711] the message
//
// (local time, level, module, thread, message) to standard error, or appended to the file that the
// environment variable MOVARA_TRACE_FILE names. A module that is null reads "-"; a second tag
// follows the module after a slash. Control characters are written as escapes ("\n"), so that a
// message always stays one line.
//
// MOVARA_TRACE_LEVEL (debug, info, warning, error, off; warning when unset) is the lowest level
// that is written. Both variables are read when the first record arrives.
//
// Both functions return 0 when the record was written, 1 when its level is not wanted and -1 when
// there is nothing to write or it cannot be written. They let no exception out and leave errno as
// it was. [any-thread]
#pragma once

#include <cstdarg>

#define LUMTRACE_API __attribute__((visibility("default")))

extern "C" {

// Expands the printf-style `format`. A format that cannot be expanded is itself the message.
// `level` is 1 debug, 2 info, 4 warning, 8 error; of several the highest counts.
LUMTRACE_API int LUMTRACE(unsigned long level, const char* module, const char* tag2,
                          const char* format, va_list args) __attribute__((format(printf, 4, 0)));

// Writes `text` as it is.
LUMTRACE_API int LUMTRACERAW(unsigned long level, const char* module, const char* tag2,
                             const char* text);
}
