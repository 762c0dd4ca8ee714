// What comes in: are messages and records of the kinds that an object knows, with values that mean
// something? [main-thread]
#pragma once

#include <cstdint>
#include <optional>

#include "validator/host/JoinQuestion.h"

namespace hostcheck {

// False for a message that must not be looked into, or changes nothing.
bool checkMessage(unsigned long type, unsigned long uMsg, const void* wParam);
// Answers the question that comes with a command.
struct Question {
  std::uint32_t sender = 0;           // user id
  std::optional<JoinQuestion> whole;  // empty if another module has sent it
};
std::optional<Question> checkCommand(const unsigned char* data, unsigned int length);
void checkParameterData(unsigned int id, const unsigned char* data, unsigned int length);

}  // namespace hostcheck
