// What comes in: are messages and records of the kinds that an object knows, with values that mean
// something? [main-thread]
#pragma once

#include <cstdint>
#include <optional>

namespace hostcheck {

// False for a message that must not be looked into.
bool checkMessage(unsigned long type, unsigned long uMsg, const void* wParam);
// Answers the user id of the participant who asks, if that is what the command does.
std::optional<std::uint32_t> checkCommand(const unsigned char* data, unsigned int length);
void checkParameterData(unsigned int id, const unsigned char* data, unsigned int length);

}  // namespace hostcheck
