#include "platform/Object.h"

namespace platform {

// Out of line, so that the type information has one home: casts across binaries rely on it.
Object::~Object() = default;

}  // namespace platform
