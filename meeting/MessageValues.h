// Values of message fields: constants by their names, figures with their units. A value without a
// name is a number. [any-thread]
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <variant>

namespace meeting {

struct Value {
  std::variant<std::int64_t, std::uint64_t, double, std::string> value;  // a number, or a word
  const char* unit = "";                                                 // of a number

  std::string text() const;  // as people read it, a number with its unit
};

template <std::integral Number>
Value number(Number value, const char* unit = "") {
  if constexpr (std::signed_integral<Number>)
    return {std::int64_t{value}, unit};
  else
    return {std::uint64_t{value}, unit};
}
Value number(float value);  // to the thousandth
Value milliseconds(std::integral auto value) { return number(value, "ms"); }
Value bytes(std::integral auto value) { return number(value, "bytes"); }
Value word(std::string text);
Value handle(std::uint64_t value);                          // hexadecimal, behind "0x"
std::string hexadecimal(std::span<const std::byte> bytes);  // two digits each

Value moduleText(std::uint32_t value);
Value userText(std::uint32_t value);
Value routeTypeText(unsigned long value);
Value channelTypeText(std::uint32_t value);
Value sourceStatusText(std::uint32_t value);
Value mediaTypeText(std::uint32_t value);
Value mediaContentText(std::uint32_t value);
Value renderTypeText(std::uint32_t value);
Value seekMarkText(std::uint64_t value);
Value queryTypeText(std::int32_t value);
Value channelStatusText(std::uint32_t value);
Value playStatusText(std::uint32_t value);
Value videoInfoKindText(std::uint32_t value);
Value joinFailureText(std::int32_t value);

}  // namespace meeting
