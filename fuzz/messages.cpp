// Messages routed to an object, in any order and state.
#include "fuzz/PluginSession.h"

namespace {

using fuzz::PluginSession;

// The record in a block of its own: reading behind it is seen.
template <class Record>
void send(PluginSession& session, unsigned long message, Record record) {
  record.head = {contract::RecordingHost::kSessionID, session.sourceID()};
  const auto* const bytes = reinterpret_cast<const std::uint8_t*>(&record);
  fuzz::Exact exact(std::vector<std::uint8_t>(bytes, bytes + sizeof(record)));
  EXPECT_EQ(session.router->RouteMessage(MODULE_TYPE_MMP, MODULE_TYPE_SVS,
                                         ROUTE_TYPE_MEDIASTREAMING, message, exact.data(), nullptr),
            UCF_OK);
}

void quality(PluginSession& session) {
  send(session, MM_MEDIASTREAMING_MSSTATUS_VIDEOQUALITY_INDICATE,
       tagMSVideoQuality{{},
                         session.in.ConsumeIntegral<std::int32_t>(),
                         session.in.ConsumeFloatingPoint<float>()});
}

void position(PluginSession& session) {
  send(session, MM_MEDIASTREAMING_MSSTATUS_CURRENT_PLAY_POSITION,
       tagMSPlayPosition{{}, fuzz::extreme<std::uint64_t>(session.in)});
}

void playStatus(PluginSession& session) {
  tagMSPlayStatus record{};
  record.dwPlayStatus = session.in.ConsumeIntegralInRange<std::uint32_t>(0, 7);
  if (record.dwPlayStatus == 7) record.dwPlayStatus = fuzz::extreme<std::uint32_t>(session.in);
  send(session, MM_MEDIASTREAMING_MSSTATUS_CURRENT_PLAY_STATUS, record);
}

void channelStatus(PluginSession& session) {
  tagMSChannelStatus record{};
  record.dwUnused = session.in.ConsumeIntegral<std::uint64_t>();
  record.dwStatus = session.in.ConsumeIntegralInRange<std::uint32_t>(0, 5);
  send(session, MM_MEDIASTREAMING_MSSTATUS_CHANNEL_STATUS, record);
}

void videoInformation(PluginSession& session) {
  tagMSVideoInfo record{};
  record.dwInfoKind = session.in.ConsumeIntegralInRange<std::uint32_t>(0, 1);
  record.wWidth = fuzz::extreme<std::uint16_t>(session.in);
  record.wHeight = fuzz::extreme<std::uint16_t>(session.in);
  send(session, MM_MEDIASTREAMING_MSSTATUS_VIDEO_INFORMATION, record);
}

void sessionMessage(PluginSession& session) {
  constexpr unsigned long kMessages[] = {SESSION_MSG_JOIN_CONFIRM,
                                         SESSION_MSG_JOIN_CONFIRM,
                                         SESSION_MSG_JOIN_FAILED,
                                         2,
                                         SESSION_MSG_LEFT,
                                         SESSION_MSG_MAX_ATTENDEE_REACHED,
                                         SESSION_MSG_STOP_FOR_BANDWIDTH,
                                         SESSION_MSG_START_PLAY,
                                         103,
                                         ~0UL};
  const auto code =
      session.in.ConsumeBool() ? SESSION_ERR_MAX_LIMIT : session.in.ConsumeIntegral<std::int32_t>();
  const auto* const bytes = reinterpret_cast<const std::uint8_t*>(&code);
  fuzz::Exact exact(std::vector<std::uint8_t>(bytes, bytes + sizeof(code)));
  session.router->RouteMessage(MODULE_TYPE_CONF, MODULE_TYPE_SVS, ROUTE_TYPE_SESSION,
                               session.in.PickValueInArray(kMessages),
                               session.in.ConsumeBool() ? exact.data() : nullptr, nullptr);
}

// Of any family and number: without a record, or with one that is long enough for each.
void anyMessage(PluginSession& session) {
  constexpr std::size_t kLongest = 64;
  std::vector<std::uint8_t> bytes = session.in.ConsumeBytes<std::uint8_t>(kLongest);
  bytes.resize(kLongest);
  fuzz::Exact record(bytes);
  const auto type = session.in.ConsumeBool()
                        ? session.in.ConsumeIntegralInRange<unsigned long>(0, 3)
                        : fuzz::extreme<unsigned long>(session.in);
  const auto message = session.in.ConsumeBool()
                           ? session.in.ConsumeIntegralInRange<unsigned long>(0, 7)
                           : fuzz::extreme<unsigned long>(session.in);
  session.router->RouteMessage(
      static_cast<enumMODULE_TYPE>(session.in.ConsumeIntegral<std::uint8_t>()), MODULE_TYPE_SVS,
      type, message, session.in.ConsumeBool() ? record.data() : nullptr, nullptr);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input in(data, size);
  constexpr PluginSession::Step kSteps[] = {
      fuzz::ifAlive<quality>,       fuzz::ifAlive<position>,         fuzz::ifAlive<playStatus>,
      fuzz::ifAlive<channelStatus>, fuzz::ifAlive<videoInformation>, fuzz::ifAlive<sessionMessage>,
      fuzz::ifAlive<channelStatus>, fuzz::ifAlive<sessionMessage>,   fuzz::ifAlive<anyMessage>};
  PluginSession(in).run(kSteps);
  return 0;
}
