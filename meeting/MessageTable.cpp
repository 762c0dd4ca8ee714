#include "meeting/MessageTable.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <limits>

#include "meeting/MessageFields.h"
#include "mmp/ParticipantRecords.h"
#include "mmp/RequestRecords.h"
#include "mmp/StatusRecords.h"
#include "ucf/IUCFMsgRouter.h"
#include "ucf/SessionMessages.h"

namespace meeting {

namespace {

static_assert(sizeof(tagMSDataStructure) <= RawMessage::kMaxRecord);
static_assert(sizeof(tMSAUDIOFORMATEX) <= RawMessage::kMaxExtra);

// ---- what a record points to

struct Pointed {
  const void* data = nullptr;
  std::uint64_t bytes = 0;
};

Pointed format(const void* record, const void* /*lParam*/) {
  const auto& message = *static_cast<const tagMSMediaFormat*>(record);
  return {message.pFormat, message.dwFormatSize};
}
Pointed sampleFormat(const void* record, const void* /*lParam*/) {
  const auto& message = *static_cast<const tagMSDataStructure*>(record);
  return {message.pFormat, message.dwFormatLength};
}
Pointed renderView(const void* record, const void* /*lParam*/) {
  const auto& message = *static_cast<const tagMSRenderUpdate*>(record);
  if (message.dwUpdateKind != MM_MEDIASTREAMING_UPDATE_VIEW) return {};
  return {message.pUpdateParam, sizeof(tagMSRenderView)};
}
Pointed sourceId(const void* /*record*/, const void* lParam) {
  return {lParam, sizeof(std::uint64_t)};
}

// ---- the known messages

constexpr unsigned long kAnyNumber = std::numeric_limits<unsigned long>::max();

Fields numberOf(const RawMessage& message) { return {{"uMsg", number(message.key.uMsg)}}; }

struct Known {
  MessageKey key;
  const char* name;
  MessageKind kind;
  std::size_t recordBytes;
  Fields (*fields)(const RawMessage&);
  Pointed (*pointed)(const void* record, const void* lParam) = nullptr;
};

template <class R>
constexpr std::size_t kSizeOf = sizeof(R);
template <>
constexpr std::size_t kSizeOf<NoRecord> = 0;

#define ROUTED(direction, type, uMsg) \
  { MessageWay::routed, Direction::direction, type, static_cast<unsigned long>(uMsg) }
#define COMMAND(name, Record, ...)                                                          \
  {                                                                                         \
    ROUTED(toHost, SVS_MSG_MS_COMMAND, name), #name, MessageKind::request, kSizeOf<Record>, \
        fieldsAs<Record> __VA_OPT__(, ) __VA_ARGS__                                         \
  }
#define REQUEST(name, kind, Record, ...)                                \
  {                                                                     \
    ROUTED(toHost, name, 0), #name, MessageKind::kind, kSizeOf<Record>, \
        fieldsAs<Record> __VA_OPT__(, ) __VA_ARGS__                     \
  }
#define SESSION(name, Record)                                                                 \
  {                                                                                           \
    ROUTED(toObject, ROUTE_TYPE_SESSION, name), #name, MessageKind::session, kSizeOf<Record>, \
        fieldsAs<Record>                                                                      \
  }
#define STATUS(name, Record)                                                       \
  {                                                                                \
    ROUTED(toObject, ROUTE_TYPE_MEDIASTREAMING, name), #name, MessageKind::status, \
        kSizeOf<Record>, fieldsAs<Record>                                          \
  }
// All of a family, whatever their numbers.
#define FAMILY(type) \
  { ROUTED(toObject, type, kAnyNumber), #type, MessageKind::session, kSizeOf<NoRecord>, numberOf }
#define BETWEEN(way, id, Record)                                                            \
  {                                                                                         \
    {MessageWay::way, Direction::toObject, 0, id}, #id, MessageKind::data, kSizeOf<Record>, \
        fieldsAs<Record>                                                                    \
  }

// Media data first: it is looked up for every sample.
constexpr Known kKnown[] = {
    {ROUTED(toHost, SVS_MSG_MS_COMMAND, MM_MEDIASTREAMING_CMD_MEDIA_DATA),
     "MM_MEDIASTREAMING_CMD_MEDIA_DATA", MessageKind::sample, sizeof(tagMSDataStructure),
     fieldsAs<tagMSDataStructure>, sampleFormat},
    COMMAND(MM_MEDIASTREAMING_CMD_REGISTER, tagMSRegisterInfo),
    COMMAND(MM_MEDIASTREAMING_CMD_UNREGISTER, tagMSUnRegisterInfo),
    COMMAND(MM_MEDIASTREAMING_CMD_SOURCE_STATUS, tagMSSourceStatus),
    COMMAND(MM_MEDIASTREAMING_CMD_MEDIA_FORMAT, tagMSMediaFormat, format),
    COMMAND(MM_MEDIASTREAMING_CMD_SET_RENDER, tagMSRenderInfo),
    COMMAND(MM_MEDIASTREAMING_CMD_UPDATE_RENDER, tagMSRenderUpdate, renderView),
    COMMAND(MM_MEDIASTREAMING_CMD_MUTE_STATUS, tagMSMuteInfo),
    COMMAND(MM_MEDIASTREAMING_CMD_VOLUME, tagMSVolumeInfo),
    COMMAND(MM_MEDIASTREAMING_CMD_QUERY, tagQuery),
    REQUEST(SVS_MSG_GET_IDS, request, DocumentId, sourceId),
    REQUEST(SVS_MSG_GET_IDS_EMBED, request, DocumentId, sourceId),
    REQUEST(SVS_MSG_START_SESSION, session, NoRecord),
    REQUEST(SVS_MSG_STOP_SESSION, session, NoRecord),
    REQUEST(SVS_MSG_STOP_ADVANCE_PAGE, request, NoRecord),
    SESSION(SESSION_MSG_JOIN_CONFIRM, NoRecord),
    SESSION(SESSION_MSG_JOIN_FAILED, JoinFailure),
    SESSION(SESSION_MSG_LEFT, NoRecord),
    SESSION(SESSION_MSG_MAX_ATTENDEE_REACHED, NoRecord),
    SESSION(SESSION_MSG_STOP_FOR_BANDWIDTH, NoRecord),
    SESSION(SESSION_MSG_START_PLAY, NoRecord),
    STATUS(MM_MEDIASTREAMING_MSSTATUS_VIDEOQUALITY_INDICATE, tagMSVideoQuality),
    STATUS(MM_MEDIASTREAMING_MSSTATUS_CURRENT_PLAY_POSITION, tagMSPlayPosition),
    STATUS(MM_MEDIASTREAMING_MSSTATUS_CURRENT_PLAY_STATUS, tagMSPlayStatus),
    STATUS(MM_MEDIASTREAMING_MSSTATUS_CHANNEL_STATUS, tagMSChannelStatus),
    STATUS(MM_MEDIASTREAMING_MSSTATUS_VIDEO_INFORMATION, tagMSVideoInfo),
    FAMILY(ROUTE_TYPE_NB),
    BETWEEN(command, SVS_QUERY_JOINSEESION_FAILED_CMD, tagStmCommand),
    BETWEEN(command, SVS_JOINSESSION_FAILED_CMD, tagStmCommand),
    BETWEEN(parameterData, STM_PARAMETER_MEDIA_INFO, tagStmMediaInfo),
    BETWEEN(parameterData, STM_PARAMETER_PROVIDER_CRASHED, NoRecord),
};

#undef ROUTED
#undef COMMAND
#undef REQUEST
#undef SESSION
#undef STATUS
#undef FAMILY
#undef BETWEEN

static_assert(std::size(kKnown) <= kUnknownMessage);

const Known* known(const MessageKey& key) {
  const std::size_t index = messageIndex(key);
  return index == kUnknownMessage ? nullptr : &kKnown[index];
}

template <std::size_t size>
std::uint8_t copyInto(std::array<std::byte, size>& target, const void* source, std::size_t bytes) {
  if (source == nullptr) return 0;
  const std::size_t copied = std::min(bytes, size);
  std::memcpy(target.data(), source, copied);
  return static_cast<std::uint8_t>(copied);
}

// What tells an unknown message from others.
Fields keyFields(const MessageKey& key) {
  if (key.way == MessageWay::command) return {{"dwCommand", number(key.uMsg)}};
  if (key.way == MessageWay::parameterData) return {{"id", number(key.uMsg)}};
  const bool toHost = key.direction == Direction::toHost;
  return {{"type", toHost ? number(key.type) : routeTypeText(key.type)},
          {"uMsg", number(key.uMsg)}};
}

Fields recordFields(const RawMessage& message, const Known* entry) {
  if (entry != nullptr) return entry->fields(message);
  return message.key.way == MessageWay::command ? fieldsAs<tagStmCommand>(message) : Fields{};
}

}  // namespace

RawMessage RawMessage::routed(const MessageKey& key, const void* wParam, const void* lParam) {
  RawMessage message;
  message.key = key;
  const Known* entry = known(key);
  if (entry == nullptr || wParam == nullptr) return message;
  message.recordBytes = copyInto(message.record, wParam, entry->recordBytes);
  if (entry->pointed == nullptr) return message;
  const Pointed pointed = entry->pointed(wParam, lParam);
  message.extraBytes = copyInto(message.extra, pointed.data, pointed.bytes);
  return message;
}

RawMessage RawMessage::data(const MessageKey& key, std::span<const unsigned char> data) {
  RawMessage message;
  message.key = key;
  message.length = static_cast<std::uint32_t>(data.size());
  message.recordBytes = copyInto(message.record, data.data(), data.size());
  return message;
}

std::size_t messageIndex(const MessageKey& key) {
  const auto* found = std::find_if(std::begin(kKnown), std::end(kKnown), [&](const Known& entry) {
    return (entry.key.uMsg == key.uMsg || entry.key.uMsg == kAnyNumber) &&
           entry.key.type == key.type && entry.key.way == key.way &&
           (key.way != MessageWay::routed || entry.key.direction == key.direction);
  });
  return found == std::end(kKnown) ? kUnknownMessage
                                   : static_cast<std::size_t>(found - std::begin(kKnown));
}

const char* messageName(std::size_t index) {
  return index < std::size(kKnown) ? kKnown[index].name : "UNKNOWN";
}

MessageKind messageKind(const MessageKey& key) {
  if (const Known* entry = known(key)) return entry->kind;
  if (key.way != MessageWay::routed) return MessageKind::data;
  if (key.direction == Direction::toHost) return MessageKind::request;
  return key.type == ROUTE_TYPE_SESSION ? MessageKind::session : MessageKind::status;
}

const char* kindName(MessageKind kind) {
  switch (kind) {
    case MessageKind::session:
      return "session";
    case MessageKind::request:
      return "request";
    case MessageKind::sample:
      return "sample";
    case MessageKind::status:
      return "status";
    case MessageKind::data:
      return "data";
  }
  return "unknown";
}

const char* directionName(Direction direction) {
  return direction == Direction::toHost ? "host" : "object";
}

const char* wayName(MessageWay way) {
  switch (way) {
    case MessageWay::routed:
      return "routed";
    case MessageWay::command:
      return "command";
    case MessageWay::parameterData:
      return "parameterData";
  }
  return "unknown";
}

std::span<const std::byte> sampleData(const RawMessage& message) {
  tagMSDataStructure record;
  if (messageKind(message.key) != MessageKind::sample || message.recordBytes < sizeof record)
    return {};
  std::memcpy(&record, message.record.data(), sizeof record);
  if (record.pData == nullptr) return {};
  return {static_cast<const std::byte*>(record.pData), record.dwDataLength};
}

Fields messageFields(const RawMessage& message) {
  const Known* entry = known(message.key);
  Fields fields = entry != nullptr ? Fields{} : keyFields(message.key);
  const Fields said = recordFields(message, entry);
  fields.insert(fields.end(), said.begin(), said.end());
  if (said.empty() && message.recordBytes > 0)
    fields.emplace_back("record", word(hexadecimal(message.recordCopy())));
  if (message.key.way != MessageWay::routed) fields.emplace_back("length", bytes(message.length));
  return fields;
}

}  // namespace meeting
