// The messages routed between the participants' objects, the platform and the conference: counted
// always, and kept with their fields as long as somebody wants to read them.
//
// [any-thread] While nothing is kept, a message costs one atomic increment: media data pass here.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace meeting {

enum class Direction : std::uint8_t {
  toHost,    // from an object to the platform or the conference
  toObject,  // from the platform or the conference to an object
};

enum class MessageKind : std::uint8_t {
  session,  // session messages, and requests to start and stop the session
  request,  // requests to the platform or the conference, but for media data
  sample,   // media data
  status,   // the platform's status messages
  data,     // participant commands and parameter data
};

struct JournalEntry {
  std::uint64_t number = 0;  // from 1, without gaps, in the order of arrival
  double seconds = 0;        // since the journal began
  std::string participant;   // id of the participant whose object sends or receives it
  Direction direction{};
  MessageKind kind{};
  std::string name;
  std::vector<std::pair<std::string, std::string>> fields;  // name and value, as text
  bool taken = true;  // what the receiver of a request answered
};

}  // namespace meeting
