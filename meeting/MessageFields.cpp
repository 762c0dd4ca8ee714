#include "meeting/MessageFields.h"

#include <cstring>
#include <optional>

#include "meeting/MessageValues.h"
#include "mmp/ParticipantRecords.h"
#include "mmp/RequestRecords.h"
#include "mmp/StatusRecords.h"

namespace meeting {

namespace {

// The copied record as an R; nothing when less than an R was there.
template <class R>
std::optional<R> recordOf(const RawMessage& message) {
  static_assert(sizeof(R) <= RawMessage::kMaxRecord);
  if (message.recordBytes < sizeof(R)) return std::nullopt;
  R record;
  std::memcpy(&record, message.record.data(), sizeof record);
  return record;
}

template <class R>
std::optional<R> extraOf(const RawMessage& message) {
  static_assert(sizeof(R) <= RawMessage::kMaxExtra);
  if (message.extraBytes < sizeof(R)) return std::nullopt;
  R record;
  std::memcpy(&record, message.extra.data(), sizeof record);
  return record;
}

// ---- what the fields of each record say

void addHead(Fields& fields, const tagMSHead& head) {
  fields.emplace_back("sessionID", number(head.sessionID));
  fields.emplace_back("sourceID", number(head.sourceID));
}

void addFormat(Fields& fields, const RawMessage& message, std::uint32_t mediaType) {
  if (mediaType == MM_MEDIASTREAMING_MEDIATYPE_VIDEO) {
    if (const auto format = extraOf<tagMSVIDEOFORMATEX>(message)) {
      fields.emplace_back("wFormatTag", number(format->wFormatTag));
      fields.emplace_back("wWidth", number(format->wWidth));
      fields.emplace_back("wHeight", number(format->wHeight));
      fields.emplace_back("wFrameRate", number(format->wFrameRate));
      fields.emplace_back("cbSize", bytes(format->cbSize));
    }
  } else if (const auto format = extraOf<tMSAUDIOFORMATEX>(message)) {
    fields.emplace_back("wFormatTag", number(format->wFormatTag));
    fields.emplace_back("nChannels", number(format->nChannels));
    fields.emplace_back("nSamplesPerSec", number(format->nSamplesPerSec));
    fields.emplace_back("nAvgBytesPerSec", number(format->nAvgBytesPerSec));
    fields.emplace_back("nBlockAlign", number(format->nBlockAlign));
    fields.emplace_back("wBitsPerSample", number(format->wBitsPerSample));
    fields.emplace_back("cbSize", bytes(format->cbSize));
  }
}

void say(Fields& fields, const tagMSRegisterInfo& record, const RawMessage& /*message*/) {
  addHead(fields, record.head);
  fields.emplace_back("eChannelType", channelTypeText(record.eChannelType));
  const bool source = record.eChannelType == MM_MEDIASTREAMING_CHANNEL_SOURCE;
  fields.emplace_back("dwDuration",
                      source ? milliseconds(record.dwDuration) : number(record.dwDuration, "s"));
  fields.emplace_back("eMediaContent", mediaContentText(record.eMediaContent));
}

void say(Fields& fields, const tagMSUnRegisterInfo& record, const RawMessage& /*message*/) {
  addHead(fields, record.head);
  fields.emplace_back("eChannelType", channelTypeText(record.eChannelType));
}

void say(Fields& fields, const tagMSSourceStatus& record, const RawMessage& /*message*/) {
  addHead(fields, record.head);
  fields.emplace_back("eChannelType", channelTypeText(record.eChannelType));
  fields.emplace_back("eStatus", sourceStatusText(record.eStatus));
  fields.emplace_back("lPosition", milliseconds(record.lPosition));
  fields.emplace_back("dwSeekMark", seekMarkText(record.dwSeekMark));
}

void say(Fields& fields, const tagMSMediaFormat& record, const RawMessage& message) {
  addHead(fields, record.head);
  fields.emplace_back("eMediaType", mediaTypeText(record.eMediaType));
  fields.emplace_back("dwFormatSize", bytes(record.dwFormatSize));
  addFormat(fields, message, record.eMediaType);
}

void say(Fields& fields, const tagMSDataStructure& record, const RawMessage& message) {
  fields.emplace_back("sessionID", number(record.sessionID));
  fields.emplace_back("sourceID", number(record.sourceID));
  fields.emplace_back("nMediaType", mediaTypeText(record.nMediaType));
  fields.emplace_back("dwTimestamp", milliseconds(record.dwTimestamp));
  fields.emplace_back("bReserved", word(record.bReserved != 0 ? "still" : "live"));
  fields.emplace_back("dwDataLength", bytes(record.dwDataLength));
  fields.emplace_back("dwFormatLength", bytes(record.dwFormatLength));
  addFormat(fields, message, record.nMediaType);
}

void say(Fields& fields, const tagMSRenderInfo& record, const RawMessage& /*message*/) {
  addHead(fields, record.head);
  fields.emplace_back("eChannelType", channelTypeText(record.eChannelType));
  fields.emplace_back("eRenderType", renderTypeText(record.eRenderType));
  fields.emplace_back("hRender", handle(record.hRender));
}

void say(Fields& fields, const tagMSRenderUpdate& record, const RawMessage& message) {
  addHead(fields, record.head);
  fields.emplace_back("eChannelType", channelTypeText(record.eChannelType));
  fields.emplace_back("hRender", handle(record.hRender));
  fields.emplace_back("dwUpdateKind", number(record.dwUpdateKind));
  if (const auto view = extraOf<tagMSRenderView>(message)) {
    fields.emplace_back("hRenderView", handle(view->hRenderView));
    fields.emplace_back("nViewKind", number(view->nViewKind));
  }
}

void say(Fields& fields, const tagMSMuteInfo& record, const RawMessage& /*message*/) {
  addHead(fields, record.head);
  fields.emplace_back("eChannelType", channelTypeText(record.eChannelType));
  fields.emplace_back("eMuteStatus", number(std::uint32_t{record.eMuteStatus}));
}

void say(Fields& fields, const tagMSVolumeInfo& record, const RawMessage& /*message*/) {
  addHead(fields, record.head);
  fields.emplace_back("eChannelType", channelTypeText(record.eChannelType));
  fields.emplace_back("wVolumeLevel", number(record.wVolumeLevel));
}

void say(Fields& fields, const tagQuery& record, const RawMessage& /*message*/) {
  fields.emplace_back("sessionID", number(record.sessionID));
  fields.emplace_back("nQueryType", queryTypeText(record.nQueryType));
  fields.emplace_back("dwStatus", number(record.dwStatus));
  fields.emplace_back("dwResult", number(record.dwResult));
  if (record.nQueryType == MM_MEDIASTREAMING_QUERY_CHANNEL_STATUS)
    fields.emplace_back("dwChannelStatus", channelStatusText(record.dwChannelStatus));
}

void say(Fields& fields, const tagMSVideoQuality& record, const RawMessage& /*message*/) {
  addHead(fields, record.head);
  fields.emplace_back("nQuality", number(record.nQuality));
  fields.emplace_back("fFps", number(record.fFps));
}

void say(Fields& fields, const tagMSPlayPosition& record, const RawMessage& /*message*/) {
  addHead(fields, record.head);
  fields.emplace_back("dwPosition", milliseconds(record.dwPosition));
}

void say(Fields& fields, const tagMSPlayStatus& record, const RawMessage& /*message*/) {
  addHead(fields, record.head);
  fields.emplace_back("dwPlayStatus", playStatusText(record.dwPlayStatus));
}

void say(Fields& fields, const tagMSChannelStatus& record, const RawMessage& /*message*/) {
  addHead(fields, record.head);
  fields.emplace_back("dwStatus", channelStatusText(record.dwStatus));
}

void say(Fields& fields, const tagMSVideoInfo& record, const RawMessage& /*message*/) {
  addHead(fields, record.head);
  fields.emplace_back("dwInfoKind", videoInfoKindText(record.dwInfoKind));
  fields.emplace_back("wWidth", number(record.wWidth));
  fields.emplace_back("wHeight", number(record.wHeight));
}

void say(Fields& fields, const tagStmMediaInfo& record, const RawMessage& /*message*/) {
  fields.emplace_back("nDurationMs", milliseconds(record.nDurationMs));
  fields.emplace_back("nMediaContent", mediaContentText(record.nMediaContent));
  fields.emplace_back("nMediaType", number(record.nMediaType));
}

void say(Fields& fields, const DocumentId& record, const RawMessage& message) {
  fields.emplace_back("sessionID", number(record.id));
  if (const auto source = extraOf<DocumentId>(message))
    fields.emplace_back("sourceID", number(source->id));
}

void say(Fields& fields, const JoinFailure& record, const RawMessage& /*message*/) {
  fields.emplace_back("code", joinFailureText(record.code));
}

void say(Fields& fields, const tagStmCommand& record, const RawMessage& message) {
  fields.emplace_back("dwLength", bytes(record.dwLength));
  const auto payload = message.recordCopy().subspan(sizeof record);
  // An identity: the first half of it is the user's id.
  std::uint32_t userId = 0;
  if (record.dwCommand == SVS_QUERY_JOINSEESION_FAILED_CMD && payload.size() >= 2 * sizeof userId) {
    std::memcpy(&userId, payload.data(), sizeof userId);
    fields.emplace_back("userId", number(userId));
  }
  if (!payload.empty()) fields.emplace_back("payload", word(hexadecimal(payload)));
}

void say(Fields& /*fields*/, const NoRecord& /*record*/, const RawMessage& /*message*/) {}

}  // namespace

template <class R>
Fields fieldsAs(const RawMessage& message) {
  Fields fields;
  if (const auto record = recordOf<R>(message)) say(fields, *record, message);
  return fields;
}

template Fields fieldsAs<tagMSRegisterInfo>(const RawMessage&);
template Fields fieldsAs<tagMSUnRegisterInfo>(const RawMessage&);
template Fields fieldsAs<tagMSSourceStatus>(const RawMessage&);
template Fields fieldsAs<tagMSMediaFormat>(const RawMessage&);
template Fields fieldsAs<tagMSDataStructure>(const RawMessage&);
template Fields fieldsAs<tagMSRenderInfo>(const RawMessage&);
template Fields fieldsAs<tagMSRenderUpdate>(const RawMessage&);
template Fields fieldsAs<tagMSMuteInfo>(const RawMessage&);
template Fields fieldsAs<tagMSVolumeInfo>(const RawMessage&);
template Fields fieldsAs<tagQuery>(const RawMessage&);
template Fields fieldsAs<tagMSVideoQuality>(const RawMessage&);
template Fields fieldsAs<tagMSPlayPosition>(const RawMessage&);
template Fields fieldsAs<tagMSPlayStatus>(const RawMessage&);
template Fields fieldsAs<tagMSChannelStatus>(const RawMessage&);
template Fields fieldsAs<tagMSVideoInfo>(const RawMessage&);
template Fields fieldsAs<tagStmMediaInfo>(const RawMessage&);
template Fields fieldsAs<tagStmCommand>(const RawMessage&);
template Fields fieldsAs<DocumentId>(const RawMessage&);
template Fields fieldsAs<JoinFailure>(const RawMessage&);
template Fields fieldsAs<NoRecord>(const RawMessage&);

}  // namespace meeting
