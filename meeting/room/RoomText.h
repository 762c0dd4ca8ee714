// What the room's server and its page say to each other. [any-thread]
//
// Server to page, as JSON:
//   {"type":"status","participants":[...]}     all participants, newest only
//   {"type":"messages","entries":[...]}        what the journal kept, in order; to be confirmed
//   {"type":"answer","action":N,"error":TEXT}  to an action; null when it was done
// and as binary: one byte 'P' or 'S', one byte with the length of the participant's id, the id;
// then after 'P' a JPEG picture of the participant's view, to be confirmed, and after 'S' the rate
// in Hz (4 bytes) and channels (2 bytes, little-endian both) of the 16-bit sound that follows.
//
// Page to server, as JSON:
//   {"type":"act","action":N,"text":TEXT}     an action; N comes back with the answer
//   {"type":"watch","views":[ID,...]}         the views that the visitor sees from now on
//   {"type":"drawn","view":ID}                confirms a picture
//   {"type":"read","number":N}                confirms the messages up to that one
//   {"type":"samples","wanted":BOOL}          whether media data belong to the messages
//   {"type":"listen","participant":ID}        whom to hear; null for nobody
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <variant>
#include <vector>

#include "meeting/PassedMessage.h"
#include "meeting/RoomModel.h"

namespace meeting {

using Payload = std::shared_ptr<const std::string>;

Payload statusText(const std::vector<ParticipantStatus>& participants);
Payload messagesText(const std::vector<PassedMessage>& messages);
Payload answerText(std::int64_t action, const std::optional<std::string>& error);
Payload pictureData(const std::string& view, const std::vector<unsigned char>& jpeg);
Payload soundData(const std::string& participant, const AudioFormat& format,
                  const AudioSample& sample);

struct ActRequest {
  std::int64_t action = 0;
  std::string text;
};
struct WatchRequest {
  std::set<std::string> views;
};
struct DrawnRequest {
  std::string view;
};
struct ReadRequest {
  std::uint64_t number = 0;
};
struct SamplesRequest {
  bool wanted = false;
};
struct ListenRequest {
  std::string participant;  // empty for nobody
};
using RoomRequest = std::variant<ActRequest, WatchRequest, DrawnRequest, ReadRequest,
                                 SamplesRequest, ListenRequest>;

// Nothing when the text is no such request, in whatever way.
std::optional<RoomRequest> parseRequest(const std::string& text);

}  // namespace meeting
