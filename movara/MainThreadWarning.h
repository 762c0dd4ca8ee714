// The warning of operations that are meant for the main thread and entered on another one.
#pragma once

#include "movara/common/Trace.h"
#include "platform/RunLoop.h"

inline void warnOffMainThread(const char* text) {
  if (!platform::isMainThread()) {
    MacWarnTrace2(kTraceModule, "%s", text);
  }
}
