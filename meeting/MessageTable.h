// The messages that are known: their names and kinds, and what of them is copied when they pass.
// [any-thread]
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "meeting/MessageValues.h"

namespace meeting {

enum class Direction : std::uint8_t {
  toHost,    // from an object to the platform or the conference
  toObject,  // from the platform or the conference to an object
};

enum class MessageKind : std::uint8_t {
  session,  // session messages, those of ROUTE_TYPE_NB, requests to start and stop the session
  request,  // requests to the platform or the conference, but for media data
  sample,   // media data
  status,   // the platform's status messages
  data,     // participant commands and parameter data
};

enum class MessageWay : std::uint8_t {
  routed,         // through a message router
  command,        // between participants: a tagStmCommand
  parameterData,  // kept by the conference for a document
};

inline constexpr MessageKind kMessageKinds[] = {MessageKind::session, MessageKind::request,
                                                MessageKind::sample, MessageKind::status,
                                                MessageKind::data};

// What tells messages apart. A routed one has `type` and `uMsg`; a command has its dwCommand, and
// parameter data its id, in `uMsg`, and both ways of either are the same message.
struct MessageKey {
  MessageWay way = MessageWay::routed;
  Direction direction = Direction::toHost;
  unsigned long type = 0;
  unsigned long uMsg = 0;
};

// Whom a routed message says that it comes from, and is for: enumMODULE_TYPE.
struct Modules {
  std::uint32_t from = 0;
  std::uint32_t to = 0;
};

using Fields = std::vector<std::pair<std::string, Value>>;  // by their names

// A message as it was copied while it passed: records and what they point to live for a call only.
struct RawMessage {
  static constexpr std::size_t kMaxRecord = 72;  // tagMSDataStructure, the longest
  static constexpr std::size_t kMaxExtra = 32;   // tMSAUDIOFORMATEX, the longest pointed to

  MessageKey key;
  std::optional<Modules> modules;       // of a routed message, unless it was recorded without
  std::optional<std::uint32_t> toUser;  // of a command that is sent; SVS_USER_EVERYBODY: to all
  std::uint32_t length = 0;  // of a command or of parameter data, which may be longer than the copy
  std::uint8_t recordBytes = 0;  // copied of the record; 0: there was none
  std::uint8_t extraBytes = 0;   // copied of what the record points to, or of the second record
  std::array<std::byte, kMaxRecord> record{};
  std::array<std::byte, kMaxExtra> extra{};

  static RawMessage routed(const MessageKey& key, const void* wParam, const void* lParam);
  static RawMessage data(const MessageKey& key, std::span<const unsigned char> data);

  std::span<const std::byte> recordCopy() const { return std::span(record).first(recordBytes); }
  std::span<const std::byte> extraCopy() const { return std::span(extra).first(extraBytes); }
};

// Position of a message in the table of the known ones; kUnknownMessage for any other.
inline constexpr std::size_t kUnknownMessage = 31;
std::size_t messageIndex(const MessageKey& key);
const char* messageName(std::size_t index);  // "UNKNOWN" for kUnknownMessage
MessageKind messageKind(const MessageKey& key);
const char* kindName(MessageKind kind);          // "session", "request", ...
const char* directionName(Direction direction);  // "host" or "object", where it goes to
const char* wayName(MessageWay way);             // "routed", "command", "parameterData"
// What a message says, by the names that its record gives. Bytes that no field of a record holds,
// as the record is unknown or too short, are one field, "record"; those behind a command's header
// are "payload". Of either there are as many as were copied.
Fields messageFields(const RawMessage& message);
// The data of a sample, where its record says that they are; empty for any other message. As
// trustworthy as the record.
std::span<const std::byte> sampleData(const RawMessage& message);

}  // namespace meeting
