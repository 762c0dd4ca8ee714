#include "validator/host/RouterCalls.h"

#include <cstring>
#include <string>
#include <vector>

#include "validator/host/Checks.h"

namespace hostcheck {

namespace {

constexpr std::uint64_t kUnwritten = 0xA5A5A5A5A5A5A5A5U;

// The bytes of something that is lent to the host, to be compared afterwards.
class Lent {
 public:
  Lent(const void* data, std::size_t size) : data_(data), before_(size) {
    if (size > 0) std::memcpy(before_.data(), data, size);
  }
  bool untouched() const {
    return before_.empty() || std::memcmp(data_, before_.data(), before_.size()) == 0;
  }

 private:
  const void* data_;
  std::vector<unsigned char> before_;
};

// A record with its head, about a channel.
template <typename Record>
Record about(MM_MEDIASTREAMING_CHANNLE_TYPE channel, const tagMSHead& head) {
  Record record{};
  record.head = head;
  record.eChannelType = channel;
  return record;
}

void noteUntouched(bool untouched, const std::string& what) {
  Findings::shared().note(Check::recordsUntouched, untouched, what + " was changed by the host");
}

// A copy of the question with the answer words of the answered one: all that a host may write.
tagQuery withAnswer(tagQuery question, const tagQuery& answered) {
  question.dwStatus = answered.dwStatus;
  question.dwResult = answered.dwResult;
  question.dwChannelStatus = answered.dwChannelStatus;
  return question;
}

}  // namespace

RouterCalls::RouterCalls(IUCFMsgRouter* router, UCFCtx context) : router_(router) {
  if (router_ != nullptr) askIds(context);
}

void RouterCalls::askIds(UCFCtx context) {
  const unsigned long type = context == 0 ? SVS_MSG_GET_IDS_EMBED : SVS_MSG_GET_IDS;
  tagMSHead again{};
  for (tagMSHead* ids : {&ids_, &again}) {
    *ids = {kUnwritten, kUnwritten};
    const UCFResult result = router_->RouteMessage(MODULE_TYPE_SVS, MODULE_TYPE_CONF, type, 0,
                                                   &ids->sessionID, &ids->sourceID);
    Findings::shared().note(
        Check::sessionIds,
        result != 0 && ids->sessionID != kUnwritten && ids->sourceID != kUnwritten,
        "message " + std::to_string(type) + " was refused, or did not fill in both ids");
  }
  Findings::shared().note(Check::sessionIds,
                          ids_.sessionID == again.sessionID && ids_.sourceID == again.sourceID,
                          "asked twice, the ids differ");
}

void RouterCalls::checkSameDocument(const tagMSHead& others) const {
  const auto text = [](const tagMSHead& ids) {
    return std::to_string(ids.sessionID) + " and " + std::to_string(ids.sourceID);
  };
  Findings::shared().note(Check::sessionIds,
                          others.sessionID == ids_.sessionID && others.sourceID == ids_.sourceID,
                          "a participant has session id and source id " + text(ids_) +
                              ", another of the same document " + text(others));
}

UCFResult RouterCalls::route(unsigned long command, void* record, std::size_t size) {
  if (router_ == nullptr) return 0;
  const Lent lent(record, size);
  const UCFResult result = router_->RouteMessage(MODULE_TYPE_SVS, MODULE_TYPE_MMP,
                                                 SVS_MSG_MS_COMMAND, command, record, nullptr);
  noteUntouched(lent.untouched(), "the record of request " + std::to_string(command));
  return result;
}

void RouterCalls::expectTaken(const std::string& what, UCFResult result) const {
  if (mayRefuse()) return;
  Findings::shared().note(Check::requestsTaken, result != 0, what + " was answered by 0");
}

void RouterCalls::tell(unsigned long type) {
  if (router_ == nullptr) return;
  const UCFResult result =
      router_->RouteMessage(MODULE_TYPE_SVS, MODULE_TYPE_MMP, type, 0, nullptr, nullptr);
  expectTaken("message " + std::to_string(type), result);
}

// --- questions ---

bool RouterCalls::ask(tagQuery& query) {
  if (router_ == nullptr) return false;
  query.sessionID = ids_.sessionID;
  const tagQuery question = query;
  const UCFResult result =
      router_->RouteMessage(MODULE_TYPE_SVS, MODULE_TYPE_MMP, SVS_MSG_MS_COMMAND,
                            MM_MEDIASTREAMING_CMD_QUERY, &query, nullptr);
  const tagQuery expected = withAnswer(question, query);
  Findings::shared().note(
      Check::queryAnswers, std::memcmp(&expected, &query, sizeof query) == 0,
      "query " + std::to_string(question.nQueryType) + ": more than the answer words was written");
  return result != 0;
}

bool RouterCalls::askSessionProbe() {
  tagQuery query{};
  query.nQueryType = MM_MEDIASTREAMING_QUERY_SESSION_PROBE;
  return !ask(query) && query.dwResult == 0;
}

bool RouterCalls::askToOpenFile() {
  const bool opens = askSessionProbe();
  if (!mayRefuse())
    Findings::shared().note(Check::queryAnswers, opens,
                            "the session probe (query 1) of a presenter that had joined was not "
                            "answered by 0, in the return and in dwResult: no file is opened");
  return opens;
}

std::optional<std::uint32_t> RouterCalls::askChannelStatus() {
  tagQuery query{};
  query.nQueryType = MM_MEDIASTREAMING_QUERY_CHANNEL_STATUS;
  query.dwResult = ids_.sourceID;
  if (!ask(query)) return std::nullopt;
  return query.dwChannelStatus;
}

bool RouterCalls::askPlayAllowed() {
  tagQuery query{};
  query.nQueryType = MM_MEDIASTREAMING_QUERY_PLAY_ALLOWED;
  query.dwStatus = ~std::uint64_t{0};
  query.dwResult = 1;
  ask(query);
  return query.dwStatus != 0 || query.dwResult != 0;
}

// --- requests ---

void RouterCalls::registerChannel(MM_MEDIASTREAMING_CHANNLE_TYPE channel, std::uint64_t duration) {
  auto record = about<tagMSRegisterInfo>(channel, ids_);
  record.dwDuration = duration;
  record.eMediaContent = MM_MEDIASTREAMING_MEDIACONTENT_AUDIO_VIDEO;
  request(MM_MEDIASTREAMING_CMD_REGISTER, record);
}

void RouterCalls::unregisterChannel(MM_MEDIASTREAMING_CHANNLE_TYPE channel) {
  auto record = about<tagMSUnRegisterInfo>(channel, ids_);
  request(MM_MEDIASTREAMING_CMD_UNREGISTER, record);
}

void RouterCalls::sourceStatus(MM_MEDIASTREAMING_CHANNLE_TYPE channel,
                               MM_MEDIASTREAMING_SOURCE_STATUS status, std::int64_t positionMs) {
  auto record = about<tagMSSourceStatus>(channel, ids_);
  record.eStatus = status;
  record.lPosition = positionMs;
  request(MM_MEDIASTREAMING_CMD_SOURCE_STATUS, record);
}

void RouterCalls::mediaFormat(MM_MEDIASTREAMING_MEDIATYPE type, void* format, std::size_t size) {
  const Lent lent(format, size);
  tagMSMediaFormat record{};
  record.head = ids_;
  record.eMediaType = type;
  record.pFormat = format;
  record.dwFormatSize = size;
  request(MM_MEDIASTREAMING_CMD_MEDIA_FORMAT, record);
  noteUntouched(lent.untouched(), "a format");
}

void RouterCalls::setRender(std::uint64_t view) {
  auto record = about<tagMSRenderInfo>(MM_MEDIASTREAMING_CHANNEL_LISTENER, ids_);
  record.eRenderType =
      view != 0 ? MM_MEDIASTREAMING_RENDER_ATTACH : MM_MEDIASTREAMING_RENDER_DETACH;
  record.hRender = view;
  request(MM_MEDIASTREAMING_CMD_SET_RENDER, record);
}

void RouterCalls::updateRender(std::uint64_t view) {
  tagMSRenderView parameter{view, MM_MEDIASTREAMING_VIEW_KIND, 0};
  const Lent lent(&parameter, sizeof parameter);
  auto record = about<tagMSRenderUpdate>(MM_MEDIASTREAMING_CHANNEL_LISTENER, ids_);
  record.hRender = view;
  record.dwUpdateKind = MM_MEDIASTREAMING_UPDATE_VIEW;
  record.pUpdateParam = &parameter;
  request(MM_MEDIASTREAMING_CMD_UPDATE_RENDER, record);
  noteUntouched(lent.untouched(), "the view of a render update");
}

void RouterCalls::volume(std::uint16_t level) {
  auto record = about<tagMSVolumeInfo>(MM_MEDIASTREAMING_CHANNEL_LISTENER, ids_);
  record.wVolumeLevel = level;
  request(MM_MEDIASTREAMING_CMD_VOLUME, record);
}

void RouterCalls::sample(tagMSDataStructure record) {
  record.sessionID = ids_.sessionID;
  record.sourceID = ids_.sourceID;
  const Lent data(record.pData, record.dwDataLength);
  const Lent format(record.pFormat, record.dwFormatLength);
  // Refused or not: the channel may be gone before the delivery threads know.
  route(MM_MEDIASTREAMING_CMD_MEDIA_DATA, &record, sizeof record);
  noteUntouched(data.untouched(), "the bytes of a sample");
  noteUntouched(format.untouched(), "the format of a sample");
}

}  // namespace hostcheck
