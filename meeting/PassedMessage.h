// A message that has passed between a participant's object and the platform or the conference, as
// it is kept, recorded and shown. [any-thread]
#pragma once

#include <cstdint>
#include <string>

#include "meeting/MessageTable.h"

namespace meeting {

struct PassedMessage {
  std::uint64_t number = 0;  // from 1, without gaps, in the order of arrival
  double seconds = 0;        // since the meeting began
  std::string participant;   // id of the participant whose object sends or receives it
  bool taken = true;         // what the receiver of a request answered
  RawMessage message;
  std::string hash;  // of a sample's data, 32 hexadecimal digits; empty when it was not asked for

  Direction direction() const { return message.key.direction; }
  MessageKind kind() const { return messageKind(message.key); }
  const char* name() const { return messageName(messageIndex(message.key)); }
  Fields fields() const {
    Fields all = messageFields(message);
    // Who was not answered has what it had put there itself.
    if (!taken)
      std::erase_if(all, [](const auto& field) { return field.first == "dwChannelStatus"; });
    if (!hash.empty()) all.emplace_back("hash", word(hash));
    return all;
  }
};

}  // namespace meeting
