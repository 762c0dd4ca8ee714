// Number, string and object values, and the dictionary that carries them.
#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>

#include "platform/Export.h"
#include "platform/Object.h"

namespace platform {

// A bool, an integer, a float, a string, an object, or nothing (nil). Reading a number as another
// kind converts it (towards zero, clamped to the range of the result); nil, and an object, read as
// 0, false and 0.0; a string reads as the number that it begins with, a bool as 1 or 0.
class PLATFORM_API Value {
 public:
  Value() = default;  // nil
  // Implicit on purpose: a literal is a value.
  // NOLINTBEGIN(google-explicit-constructor)
  Value(bool value) : data_(value) {}
  Value(std::int32_t value) : data_(static_cast<std::int64_t>(value)) {}
  Value(std::int64_t value) : data_(value) {}
  Value(float value) : data_(static_cast<double>(value)) {}
  Value(double value) : data_(value) {}
  Value(std::string value) : data_(std::move(value)) {}
  Value(const char* value) : data_(std::string(value)) {}
  Value(std::shared_ptr<Object> value) : data_(std::move(value)) {}
  template <class T>
  requires std::is_base_of_v<Object, T> Value(const std::shared_ptr<T>& value)
      : data_(std::static_pointer_cast<Object>(value)) {}
  // NOLINTEND(google-explicit-constructor)

  bool isNil() const { return std::holds_alternative<std::monostate>(data_); }
  // Whether it is a bool, an integer or a float.
  bool isNumber() const;

  bool boolValue() const;
  std::int32_t intValue() const;
  std::int64_t longValue() const;
  float floatValue() const;
  double doubleValue() const;
  // Text of any value; "(null)" for nil.
  std::string description() const;

  std::shared_ptr<Object> object() const;
  // The object as a T, or null when it is none.
  template <class T>
  std::shared_ptr<T> objectAs() const {
    return std::dynamic_pointer_cast<T>(object());
  }

  // Same kind and same content; objects compare by identity.
  friend bool operator==(const Value&, const Value&) = default;

 private:
  std::variant<std::monostate, bool, std::int64_t, double, std::string, std::shared_ptr<Object>>
      data_;
};

// Keys to values, in key order. Not synchronised.
class PLATFORM_API Dictionary {
 public:
  Dictionary() = default;
  Dictionary(std::initializer_list<std::pair<const std::string, Value>> entries);

  // The stored value, or nil.
  const Value& get(std::string_view key) const;
  bool contains(std::string_view key) const;
  void set(std::string_view key, Value value);
  std::size_t size() const { return entries_.size(); }
  // "{key = value; ...}"
  std::string description() const;

 private:
  std::map<std::string, Value, std::less<>> entries_;
};

}  // namespace platform
