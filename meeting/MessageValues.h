// Values of message fields as people read them: constants by their names, figures with their units.
// A value without a name is shown as a number. [any-thread]
#pragma once

#include <concepts>
#include <cstdint>
#include <string>

namespace meeting {

std::string number(std::integral auto value) { return std::to_string(value); }
std::string number(float value);  // to the thousandth
std::string milliseconds(std::integral auto value) { return number(value) + " ms"; }
std::string bytes(std::integral auto value) { return number(value) + " bytes"; }
std::string handle(std::uint64_t value);  // hexadecimal

std::string moduleText(std::uint32_t value);
std::string channelTypeText(std::uint32_t value);
std::string sourceStatusText(std::uint32_t value);
std::string mediaTypeText(std::uint32_t value);
std::string mediaContentText(std::uint32_t value);
std::string renderTypeText(std::uint32_t value);
std::string queryTypeText(std::int32_t value);
std::string channelStatusText(std::uint32_t value);
std::string playStatusText(std::uint32_t value);
std::string videoInfoKindText(std::uint32_t value);
std::string joinFailureText(std::int32_t value);

}  // namespace meeting
