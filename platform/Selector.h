// A message that can be stored, compared and delivered later: a member function of an Object
// subclass, taking nothing or one Value.
#pragma once

#include <array>
#include <cstddef>
#include <cstring>
#include <typeinfo>

#include "platform/Object.h"
#include "platform/Value.h"

namespace platform {

class Selector {
 public:
  template <class T>
  Selector(void (T::*message)())  // NOLINT(*-explicit-*)
      : Selector(message, [](const Selector& self, Object& target, const Value&) {
          (dynamic_cast<T&>(target).*self.template as<void (T::*)()>())();
        }) {}
  template <class T>
  Selector(void (T::*message)(const Value&))  // NOLINT(*-explicit-*)
      : Selector(message, [](const Selector& self, Object& target, const Value& argument) {
          (dynamic_cast<T&>(target).*self.template as<void (T::*)(const Value&)>())(argument);
        }) {}

  void send(Object& target, const Value& argument) const { deliver_(*this, target, argument); }

  // Whether both name the same member function.
  friend bool operator==(const Selector& a, const Selector& b) {
    return a.bytes_ == b.bytes_ && *a.type_ == *b.type_;
  }

 private:
  using Deliver = void (*)(const Selector&, Object&, const Value&);

  template <class Method>
  Selector(Method method, Deliver deliver) : type_(&typeid(Method)), deliver_(deliver) {
    static_assert(sizeof(Method) <= kBytes);
    std::memcpy(bytes_.data(), &method, sizeof(Method));
  }

  template <class Method>
  Method as() const {
    Method method;
    std::memcpy(&method, bytes_.data(), sizeof(Method));
    return method;
  }

  static constexpr std::size_t kBytes = 2 * sizeof(void*);  // Itanium pointer to member
  std::array<std::byte, kBytes> bytes_{};
  const std::type_info* type_;
  Deliver deliver_;
};

}  // namespace platform
