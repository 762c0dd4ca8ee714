// The platform exception: a name that callers test and a reason for people. Nothing else is thrown
// across a component boundary.
#pragma once

#include <exception>
#include <string>

#include "platform/Export.h"

namespace platform {

class PLATFORM_API Exception : public std::exception {
 public:
  Exception(std::string name, std::string reason);
  ~Exception() override;

  const std::string& name() const { return name_; }
  const std::string& reason() const { return reason_; }
  const char* what() const noexcept override;  // "name: reason"

 private:
  std::string name_;
  std::string reason_;
  std::string text_;
};

}  // namespace platform
