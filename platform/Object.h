// Root of everything that can be the target of a message, the sender of a notification or the
// payload of a Value. Always owned by std::shared_ptr.
#pragma once

#include <memory>

#include "platform/Export.h"

namespace platform {

class PLATFORM_API Object : public std::enable_shared_from_this<Object> {
 public:
  Object() = default;
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;
  virtual ~Object();
};

}  // namespace platform
