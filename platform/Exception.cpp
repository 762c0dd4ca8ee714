#include "platform/Exception.h"

#include <utility>

namespace platform {

Exception::Exception(std::string name, std::string reason)
    : name_(std::move(name)), reason_(std::move(reason)), text_(name_ + ": " + reason_) {}

Exception::~Exception() = default;

const char* Exception::what() const noexcept { return text_.c_str(); }

}  // namespace platform
