// What the host brings from other participants: commands and parameter data of true and false
// lengths, and the callbacks that an object does nothing about.
#include "fuzz/PluginSession.h"

namespace {

using fuzz::PluginSession;

void command(PluginSession& session) {
  std::vector<std::uint8_t> bytes =
      session.in.ConsumeBytes<std::uint8_t>(session.in.ConsumeIntegralInRange<std::size_t>(0, 40));
  const auto put = [&bytes](std::size_t at, std::uint32_t value) {
    if (bytes.size() >= at + sizeof(value)) std::memcpy(bytes.data() + at, &value, sizeof(value));
  };
  const auto length = static_cast<unsigned>(bytes.size());
  put(0, session.in.ConsumeIntegralInRange(0, 3) != 0 ? length
                                                      : fuzz::extreme<std::uint32_t>(session.in));
  if (session.in.ConsumeIntegralInRange(0, 3) != 0) {
    put(4, session.in.ConsumeIntegralInRange<std::uint32_t>(1, 4));
  }
  fuzz::Exact exact(bytes);
  session.runtime->OnCommandData(exact.data(), length, session.in.ConsumeIntegral<unsigned long>(),
                                 0);
}

void parameter(PluginSession& session) {
  const auto id = session.in.ConsumeBool() ? session.in.ConsumeIntegralInRange(0U, 2U)
                                           : fuzz::extreme<unsigned>(session.in);
  fuzz::Exact exact(
      session.in.ConsumeBytes<std::uint8_t>(session.in.ConsumeIntegralInRange<std::size_t>(0, 16)));
  const auto length = static_cast<unsigned>(exact.size());
  if (session.in.ConsumeIntegralInRange(0, 7) != 0) {
    session.runtime->OnParameterData(id, exact.data(), length);
  } else {
    session.runtime->OnParameterDataAppended(id, exact.data(), length);
  }
}

void mediaInfo(PluginSession& session) {
  tagStmMediaInfo info{fuzz::extreme<std::int32_t>(session.in),
                       static_cast<MM_MEDIASTREAMING_MEDIACONTENENT>(
                           session.in.ConsumeIntegralInRange<std::uint32_t>(0, 5)),
                       fuzz::extreme<std::uint32_t>(session.in)};
  session.runtime->OnParameterData(STM_PARAMETER_MEDIA_INFO,
                                   reinterpret_cast<unsigned char*>(&info), sizeof(info));
}

void ignored(PluginSession& session) {
  IUCFObjectRuntime& runtime = *session.runtime;
  const auto number = fuzz::extreme<unsigned>(session.in);
  runtime.OnAllBlockDataID(number, nullptr, nullptr);
  runtime.OnBlockData(number, nullptr, 0);
  runtime.OnParameterDataRemoved(number);
  runtime.OnUsersChanged(static_cast<UCFUsersChange>(number), number);
  runtime.OnMute(number, 1);
  runtime.OnStatusChanged(number, number, number, nullptr);
  std::string text = session.in.ConsumeRandomLengthString(12);
  EXPECT_EQ(runtime.SetProperty(text.data(), text.data()), UCF_OK);
}

// So that there are states for the data to come in.
void channel(PluginSession& session) {
  tagMSChannelStatus record{};
  record.head = {0, contract::RecordingHost::kSourceID};
  record.dwStatus = session.in.ConsumeIntegralInRange<std::uint32_t>(0, 3);
  session.router->RouteMessage(MODULE_TYPE_MMP, MODULE_TYPE_SVS, ROUTE_TYPE_MEDIASTREAMING,
                               MM_MEDIASTREAMING_MSSTATUS_CHANNEL_STATUS, &record, nullptr);
}

void sessionEnds(PluginSession& session) {
  session.router->RouteMessage(MODULE_TYPE_CONF, MODULE_TYPE_SVS, ROUTE_TYPE_SESSION,
                               session.in.ConsumeIntegralInRange<unsigned long>(0, 3), nullptr,
                               nullptr);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input in(data, size);
  constexpr PluginSession::Step kSteps[] = {fuzz::ifAlive<command>,   fuzz::ifAlive<parameter>,
                                            fuzz::ifAlive<mediaInfo>, fuzz::ifAlive<ignored>,
                                            fuzz::ifAlive<channel>,   fuzz::ifAlive<sessionEnds>};
  PluginSession(in).run(kSteps);
  return 0;
}
