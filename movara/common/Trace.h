// How this module logs: under one tag, addresses as the 32 bits that "%x" reads.
#pragma once

#include <cstdint>

#include "trace/unifiedtram.h"

// Module tag of every line.
inline constexpr const char* kTraceModule = "videostream_MMS";

// The low 32 bits of an address, for "this = 0x%x".
inline unsigned int traceAddress(const void* address) {
  return static_cast<unsigned int>(reinterpret_cast<std::uintptr_t>(address));
}
