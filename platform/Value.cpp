#include "platform/Value.h"

#include <cxxabi.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <sstream>
#include <system_error>
#include <type_traits>
#include <typeinfo>

namespace platform {

namespace {

template <class... Cases>
struct Overloaded : Cases... {
  using Cases::operator()...;
};
template <class... Cases>
Overloaded(Cases...) -> Overloaded<Cases...>;  // clang 14 does not find it by itself

using Number = std::variant<std::int64_t, double>;

// Blanks and a plus sign, which std::from_chars does not take, go; "inf" and "nan" are no numbers.
std::string_view numericPart(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(" \t\r\n"), text.size()));
  if (text.starts_with('+')) text.remove_prefix(1);
  const std::string_view digits = text.substr(text.starts_with('-') ? 1 : 0);
  const bool starts =
      !digits.empty() && (digits[0] == '.' || (digits[0] >= '0' && digits[0] <= '9'));
  return starts ? text : std::string_view();
}

// The number that the text begins with, an integer where it is one that fits.
Number leadingNumber(std::string_view text) {
  text = numericPart(text);
  const char* const end = text.data() + text.size();
  std::int64_t integer = 0;
  const auto asInteger = std::from_chars(text.data(), end, integer);
  const bool whole = asInteger.ec == std::errc() &&
                     (asInteger.ptr == end ||
                      std::string_view(".eE").find(*asInteger.ptr) == std::string_view::npos);
  if (whole) return integer;
  // Read with a wider range, to tell what is too large from what is too small.
  long double real = 0;
  std::from_chars(text.data(), end, real);
  constexpr long double kMax = std::numeric_limits<double>::max();
  return static_cast<double>(std::clamp(real, -kMax, kMax));
}

std::int64_t toInteger(double value) {
  constexpr double kLimit = 9223372036854775808.0;  // 2^63, the first that does not fit
  if (std::isnan(value)) return 0;
  if (value >= kLimit) return std::numeric_limits<std::int64_t>::max();
  if (value < -kLimit) return std::numeric_limits<std::int64_t>::min();
  return static_cast<std::int64_t>(value);
}

float toFloat(double value) {
  constexpr double kMax = std::numeric_limits<float>::max();
  if (std::isinf(value) || std::isnan(value)) return static_cast<float>(value);
  return static_cast<float>(std::clamp(value, -kMax, kMax));
}

template <class T>
std::string shortest(T value) {
  std::array<char, 32> buffer{};
  const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value);
  return {buffer.data(), result.ptr};
}

// A double that came from a float reads as the float did.
std::string textOf(double value) {
  const float narrow = toFloat(value);
  return static_cast<double>(narrow) == value ? shortest(narrow) : shortest(value);
}

// "<Class: address>"
std::string textOf(const Object& object) {
  const char* const mangled = typeid(object).name();
  int status = 0;
  const std::unique_ptr<char, decltype(&std::free)> name(
      abi::__cxa_demangle(mangled, nullptr, nullptr, &status), &std::free);
  std::ostringstream text;
  text << '<' << (name ? name.get() : mangled) << ": " << static_cast<const void*>(&object) << '>';
  return text.str();
}

const Value& nil() {
  static const Value value;
  return value;
}

}  // namespace

bool Value::isNumber() const {
  return std::holds_alternative<bool>(data_) || std::holds_alternative<std::int64_t>(data_) ||
         std::holds_alternative<double>(data_);
}

bool Value::boolValue() const { return doubleValue() != 0.0; }

std::int32_t Value::intValue() const {
  using Limits = std::numeric_limits<std::int32_t>;
  return static_cast<std::int32_t>(
      std::clamp<std::int64_t>(longValue(), Limits::min(), Limits::max()));
}

std::int64_t Value::longValue() const {
  return std::visit(Overloaded{[](std::int64_t value) { return value; },
                               [](bool value) { return std::int64_t{value}; },
                               [](double value) { return toInteger(value); },
                               [](const std::string& text) {
                                 const Number number = leadingNumber(text);
                                 const auto* integer = std::get_if<std::int64_t>(&number);
                                 return integer ? *integer : toInteger(std::get<double>(number));
                               },
                               [](const auto&) { return std::int64_t{0}; }},
                    data_);
}

float Value::floatValue() const { return toFloat(doubleValue()); }

double Value::doubleValue() const {
  return std::visit(
      Overloaded{[](double value) { return value; }, [](bool value) { return value ? 1.0 : 0.0; },
                 [](std::int64_t value) { return static_cast<double>(value); },
                 [](const std::string& text) {
                   return std::visit([](auto number) { return static_cast<double>(number); },
                                     leadingNumber(text));
                 },
                 [](const auto&) { return 0.0; }},
      data_);
}

std::string Value::description() const {
  return std::visit(Overloaded{[](std::monostate) { return std::string("(null)"); },
                               [](bool value) { return std::string(value ? "1" : "0"); },
                               [](std::int64_t value) { return std::to_string(value); },
                               [](double value) { return textOf(value); },
                               [](const std::string& text) { return text; },
                               [](const std::shared_ptr<Object>& object) {
                                 return object ? textOf(*object) : std::string("(null)");
                               }},
                    data_);
}

std::shared_ptr<Object> Value::object() const {
  const auto* object = std::get_if<std::shared_ptr<Object>>(&data_);
  return object ? *object : nullptr;
}

Dictionary::Dictionary(std::initializer_list<std::pair<const std::string, Value>> entries)
    : entries_(entries) {}

const Value& Dictionary::get(std::string_view key) const {
  const auto entry = entries_.find(key);
  return entry == entries_.end() ? nil() : entry->second;
}

bool Dictionary::contains(std::string_view key) const { return entries_.contains(key); }

void Dictionary::set(std::string_view key, Value value) {
  entries_.insert_or_assign(std::string(key), std::move(value));
}

std::string Dictionary::description() const {
  std::string text = "{";
  for (const auto& [key, value] : entries_) {
    if (text.size() > 1) text += ' ';
    text += key + " = " + value.description() + ';';
  }
  return text + '}';
}

}  // namespace platform
