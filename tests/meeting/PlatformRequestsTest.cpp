// What the platform answers to requests, sound ones and others.
#include <limits>
#include <optional>

#include "tests/meeting/PlatformFixture.h"

namespace meeting {
namespace {

using PlatformRequestsTest = PlatformFixture;

// A record about a document, a listener's unless another channel is named.
template <class Record>
Record about(const tagMSHead& head,
             MM_MEDIASTREAMING_CHANNLE_TYPE channel = MM_MEDIASTREAMING_CHANNEL_LISTENER) {
  Record record{};
  record.head = head;
  record.eChannelType = channel;
  return record;
}

// What the presenter's requests are answered before it has registered, while the channel is open,
// while it has failed, when it has been closed, and when the presenter has been lost.
TEST_F(PlatformRequestsTest, ThePresentersRequestsAreAnsweredByTheStateOfItsChannel) {
  constexpr auto kSource = MM_MEDIASTREAMING_CHANNEL_SOURCE;
  using Port = PresenterPort;
  struct Case {
    const char* name;
    UCFResult (*request)(Port&);
    UCFResult before, open, failed, closed, lost;
  };
  const Case cases[] = {
      {"start", [](Port& p) { return p.request(SVS_MSG_START_SESSION, 0, nullptr); },  //
       1, 1, 1, 1, 0},
      {"advance", [](Port& p) { return p.request(SVS_MSG_STOP_ADVANCE_PAGE, 0, nullptr); },  //
       1, 1, 1, 1, 0},
      {"unknown", [](Port& p) { return p.request(55, 0, nullptr); }, 0, 0, 0, 0, 0},
      {"query",
       [](Port& p) {
         tagQuery record = query(MM_MEDIASTREAMING_QUERY_PLAY_ALLOWED);
         return send(p, MM_MEDIASTREAMING_CMD_QUERY, &record);
       },
       1, 1, 1, 1, 0},
      {"status",
       [](Port& p) {
         auto record = about<tagMSSourceStatus>(kHead, kSource);
         return send(p, MM_MEDIASTREAMING_CMD_SOURCE_STATUS, &record);
       },
       1, 1, 1, 1, 0},
      {"picture",
       [](Port& p) {
         Sample sample;
         return send(p, MM_MEDIASTREAMING_CMD_MEDIA_DATA, &sample.record);
       },
       0, 1, 1, 0, 0},
      {"unregister as a listener",
       [](Port& p) { return unregister(p, MM_MEDIASTREAMING_CHANNEL_LISTENER); },  //
       0, 0, 0, 0, 0},
  };
  const auto expectEach = [&](const char* state, UCFResult Case::*expected) {
    for (const Case& test : cases)
      EXPECT_EQ(test.request(*presenter_), test.*expected) << test.name << ", " << state;
  };
  expectEach("before", &Case::before);
  present();
  expectEach("open", &Case::open);
  platform_.failChannel();
  expectEach("failed", &Case::failed);
  EXPECT_EQ(unregister(*presenter_, kSource), 1U);
  expectEach("closed", &Case::closed);
  platform_.reconnectChannel();
  EXPECT_EQ(presenterPeer_->take(), (Texts{"channel 0", "channel 2", "channel 3"}))
      << "who has closed the channel is not in again";
  present();
  presenter_->lose();
  expectEach("lost", &Case::lost);
}

TEST_F(PlatformRequestsTest, RecordsThatDoNotHoldWhatTheySayAreRefused) {
  struct Case {
    const char* name;
    void (*spoil)(Sample&);
  };
  const Case cases[] = {
      {"another stream", [](Sample& s) { s.record.sourceID = 77; }},
      {"another session", [](Sample& s) { s.record.sessionID = 77; }},
      {"no pixels", [](Sample& s) { s.record.pData = nullptr; }},
      {"no length", [](Sample& s) { s.record.dwDataLength = 0; }},
      {"too short", [](Sample& s) { --s.record.dwDataLength; }},
      {"too long", [](Sample& s) { ++s.record.dwDataLength; }},
      {"absurd length",
       [](Sample& s) { s.record.dwDataLength = std::numeric_limits<std::uint64_t>::max(); }},
      {"no format", [](Sample& s) { s.record.pFormat = nullptr; }},
      {"short format", [](Sample& s) { s.record.dwFormatLength = 15; }},
      {"no width", [](Sample& s) { s.video.wWidth = 0; }},
      {"no height", [](Sample& s) { s.video.wHeight = 0; }},
      {"unknown kind",
       [](Sample& s) { s.record.nMediaType = static_cast<MM_MEDIASTREAMING_MEDIATYPE>(9); }},
      {"sound with a picture's format",
       [](Sample& s) { s.record.nMediaType = MM_MEDIASTREAMING_MEDIATYPE_AUDIO; }},
      {"bytes of no kind",
       [](Sample& s) { s.record.nMediaType = MM_MEDIASTREAMING_MEDIATYPE_NONE; }},
  };
  Sample early;
  EXPECT_EQ(send(*presenter_, MM_MEDIASTREAMING_CMD_MEDIA_DATA, &early.record), 0U);
  EXPECT_EQ(observer_.malformed, 0) << "nothing wrong with it but the time";
  present();
  int refused = 0;
  for (const Case& test : cases) {
    Sample sample;
    test.spoil(sample);
    EXPECT_EQ(send(*presenter_, MM_MEDIASTREAMING_CMD_MEDIA_DATA, &sample.record), 0U) << test.name;
    EXPECT_EQ(observer_.malformed, ++refused) << test.name;
  }
  EXPECT_EQ(observer_.pictures + observer_.blocks, 0);
  EXPECT_EQ(presenter_->request(SVS_MSG_MS_COMMAND, 2000, nullptr), 0U);
  EXPECT_EQ(sendSound(0, {7}), 1U) << "a block without a format continues the one before";
  EXPECT_EQ(observer_.blocks, 1);
}

TEST_F(PlatformRequestsTest, AttendeesRequestsAreChecked) {
  const auto answer = [this](MM_MEDIASTREAMING_COMMAND command, auto record) {
    return send(*attendee_.port, command, &record);
  };
  present();
  for (const UCFResult expected : {1U, 0U}) {
    SCOPED_TRACE(expected == 1 ? "ours" : "of another document");
    const tagMSHead head{kIds.session, expected == 1 ? kIds.source : kIds.source + 1};
    EXPECT_EQ(answer(MM_MEDIASTREAMING_CMD_REGISTER, about<tagMSRegisterInfo>(head)), expected);
    EXPECT_EQ(answer(MM_MEDIASTREAMING_CMD_VOLUME, about<tagMSVolumeInfo>(head)), expected);
    EXPECT_EQ(answer(MM_MEDIASTREAMING_CMD_MUTE_STATUS, about<tagMSMuteInfo>(head)), expected);
    EXPECT_EQ(answer(MM_MEDIASTREAMING_CMD_SOURCE_STATUS, about<tagMSSourceStatus>(head)),
              expected);
    auto render = about<tagMSRenderInfo>(head);
    render.eRenderType = MM_MEDIASTREAMING_RENDER_DETACH;
    EXPECT_EQ(answer(MM_MEDIASTREAMING_CMD_SET_RENDER, render), expected);
    tagMSRenderView none{0, MM_MEDIASTREAMING_VIEW_KIND, 0};
    auto update = about<tagMSRenderUpdate>(head);
    update.dwUpdateKind = MM_MEDIASTREAMING_UPDATE_VIEW;
    update.pUpdateParam = &none;
    EXPECT_EQ(answer(MM_MEDIASTREAMING_CMD_UPDATE_RENDER, update), expected);
    update.pUpdateParam = nullptr;
    EXPECT_EQ(answer(MM_MEDIASTREAMING_CMD_UPDATE_RENDER, update), 0U);
    EXPECT_EQ(answer(MM_MEDIASTREAMING_CMD_UNREGISTER, about<tagMSUnRegisterInfo>(head)), expected);
  }
  EXPECT_EQ(registerAs(*attendee_.port, MM_MEDIASTREAMING_CHANNEL_SOURCE), 0U);
  auto volume = about<tagMSVolumeInfo>(kHead);
  volume.wVolumeLevel = 256;
  EXPECT_EQ(answer(MM_MEDIASTREAMING_CMD_VOLUME, volume), 0U);
  EXPECT_EQ(answer(MM_MEDIASTREAMING_CMD_MEDIA_DATA, Sample().record), 0U);
  EXPECT_EQ(attendee_.port->request(SVS_MSG_MS_COMMAND, 0, nullptr), 0U);
}

TEST_F(PlatformRequestsTest, QueriesAreAnsweredAsTheirAskersNeedThem) {
  tagQuery probe = query(MM_MEDIASTREAMING_QUERY_SESSION_PROBE);
  EXPECT_EQ(send(*presenter_, MM_MEDIASTREAMING_CMD_QUERY, &probe), 0U);
  EXPECT_EQ(probe.dwResult, 0U);
  tagQuery allowed = query(MM_MEDIASTREAMING_QUERY_PLAY_ALLOWED);
  allowed.dwStatus = kIds.session;
  allowed.dwResult = 1;
  EXPECT_EQ(send(*presenter_, MM_MEDIASTREAMING_CMD_QUERY, &allowed), 1U);
  EXPECT_EQ(allowed.dwStatus, kIds.session);
  EXPECT_EQ(allowed.dwResult, 1U);

  const auto presence = [this](DocumentIds ids) -> std::optional<std::uint32_t> {
    tagQuery record = query(MM_MEDIASTREAMING_QUERY_CHANNEL_STATUS);
    record.sessionID = ids.session;
    record.dwResult = ids.source;
    if (send(*attendee_.port, MM_MEDIASTREAMING_CMD_QUERY, &record) == 0) return std::nullopt;
    return record.dwChannelStatus;
  };
  EXPECT_EQ(presence(kIds), std::nullopt) << "no channel yet";
  present();
  EXPECT_EQ(presence(kIds), MM_MEDIA_STREAMING_CHANNEL_STATUS_CREATE_CONFIRM);
  EXPECT_EQ(presence({kIds.session, kIds.source + 1}), std::nullopt);
  EXPECT_EQ(presence({kIds.session + 1, kIds.source}), std::nullopt);
  platform_.failChannel();
  EXPECT_EQ(presence(kIds), MM_MEDIA_STREAMING_CHANNEL_STATUS_REGISTER_FAILED);
}

}  // namespace
}  // namespace meeting
