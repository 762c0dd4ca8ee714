// Where two meetings first differ in what passed. [any-thread]
//
// What is compared is what a scenario decides: for each participant its messages in their order,
// with name, direction, answer, whom a command is for, fields and bytes; apart from them, as they
// come on threads of their own, the formats of pictures and of sound; and the pictures and sound
// blocks that both meetings carried, by their timestamps, with sizes and hashes. Single samples may
// be missing, but not nearly all: a tenth of the other meeting's must be there. Not compared is
// what time decides: when messages came, positions but those that are sought, what is said at
// intervals (position, pictures per second), and which pictures still came before a pause or a
// seek. Handles are the same where they are used alike; addresses are those of a process.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "meeting/PassedMessage.h"

namespace meeting {

struct MessageDifference {
  std::string participant;
  std::string what;                    // "message 12", "picture format 1", "sound at 40 ms", ...
  const PassedMessage* one = nullptr;  // null: there were no more
  const PassedMessage* other = nullptr;
  bool inBytes = false;  // in bytes that no field shows: comparableBytes() does
};

// Points into what it is given. Nothing when the two do not differ.
std::optional<MessageDifference> firstDifference(const std::vector<PassedMessage>& one,
                                                 const std::vector<PassedMessage>& other);

}  // namespace meeting
