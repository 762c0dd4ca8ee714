// The host's calls at their boundary, out of which a lack of memory does not come. [main-thread]
#pragma once

#include <new>

#include "movara/common/Trace.h"

// Does what a call asks for. Where there is no memory for it, the call is given up: it answers
// `otherwise`, and the object can be called, and released, as before.
template <class Answer, class Body>
Answer unlessOutOfMemory(Answer otherwise, const Body& body) {
  try {
    return body();
  } catch (const std::bad_alloc&) {
    MacWarnTrace2(kTraceModule, "no memory, a call is given up");
    return otherwise;
  }
}

// The same for one that answers 0 in any case, or nothing.
template <class Body>
std::uint32_t unlessOutOfMemory(const Body& body) {
  return unlessOutOfMemory(std::uint32_t{0}, [&] {
    body();
    return std::uint32_t{0};
  });
}
