// How values of the platform stand in a reason.
#pragma once

#include <ostream>

#include "platform/Value.h"
#include "platform/View.h"

// Found where the types are.
namespace platform {

inline void PrintTo(const Size& size, std::ostream* out) {
  *out << size.width << " x " << size.height;
}

inline void PrintTo(const Rect& rect, std::ostream* out) {
  PrintTo(rect.size, out);
  *out << " at " << rect.origin.x << ", " << rect.origin.y;
}

inline void PrintTo(const Value& value, std::ostream* out) { *out << value.description(); }

}  // namespace platform
