#include "meeting/MessageBytes.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

#include "meeting/MessageValues.h"
#include "mmp/RequestRecords.h"
#include "ucf/IUCFMsgRouter.h"

namespace meeting {

namespace {

struct Place {
  std::size_t offset;
  std::size_t bytes;
};

#define PLACE(Record, field) \
  { offsetof(Record, field), sizeof(Record::field) }

// Of the requests' records; no other record has any.
struct Changing {
  MM_MEDIASTREAMING_COMMAND request;
  Place place;
};
constexpr Changing kChanging[] = {
    {MM_MEDIASTREAMING_CMD_MEDIA_DATA, PLACE(tagMSDataStructure, bReserved)},
    {MM_MEDIASTREAMING_CMD_MEDIA_DATA, PLACE(tagMSDataStructure, pData)},
    {MM_MEDIASTREAMING_CMD_MEDIA_DATA, PLACE(tagMSDataStructure, pFormat)},
    {MM_MEDIASTREAMING_CMD_MEDIA_FORMAT, PLACE(tagMSMediaFormat, pFormat)},
    {MM_MEDIASTREAMING_CMD_SET_RENDER, PLACE(tagMSRenderInfo, hRender)},
    {MM_MEDIASTREAMING_CMD_UPDATE_RENDER, PLACE(tagMSRenderUpdate, hRender)},
    {MM_MEDIASTREAMING_CMD_UPDATE_RENDER, PLACE(tagMSRenderUpdate, pUpdateParam)},
};
constexpr Place kPosition = PLACE(tagMSSourceStatus, lPosition);
constexpr Place kView = PLACE(tagMSRenderView, hRenderView);

#undef PLACE

bool isRequest(const MessageKey& key, MM_MEDIASTREAMING_COMMAND request) {
  return key.way == MessageWay::routed && key.direction == Direction::toHost &&
         key.type == SVS_MSG_MS_COMMAND && key.uMsg == static_cast<unsigned long>(request);
}

bool isSought(const RawMessage& message) {
  tagMSSourceStatus status{};
  std::memcpy(&status, message.record.data(), sizeof status);
  return status.dwSeekMark == MM_MEDIASTREAMING_SEEK_MARK;
}

void clear(std::span<std::byte> bytes, const Place& place) {
  const auto at = bytes.subspan(place.offset, place.bytes);
  std::fill(at.begin(), at.end(), std::byte{});
}

}  // namespace

std::string comparableBytes(const PassedMessage& message) {
  RawMessage raw = message.message;
  for (const Changing& each : kChanging)
    if (isRequest(raw.key, each.request)) clear(raw.record, each.place);
  if (isRequest(raw.key, MM_MEDIASTREAMING_CMD_SOURCE_STATUS) && !isSought(raw))
    clear(raw.record, kPosition);
  if (isRequest(raw.key, MM_MEDIASTREAMING_CMD_UPDATE_RENDER)) clear(raw.extra, kView);
  return "record=" + hexadecimal(raw.recordCopy()) + ", pointed=" + hexadecimal(raw.extraCopy());
}

}  // namespace meeting
