// The in-process platform between a presenter and attendees that are played by the test.
#include "meeting/InProcessPlatform.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "meeting/Conference.h"
#include "mmp/RequestRecords.h"
#include "platform/View.h"

namespace meeting {
namespace {

constexpr tagMSHead kHead{Conference::kSessionId, Conference::kSourceId};

struct Peer final : PlatformPeer {
  void postStatus(const StatusRecord& record) override { received.push_back(describe(record)); }

  static std::string describe(const StatusRecord& record) {
    if (const auto* channel = std::get_if<tagMSChannelStatus>(&record))
      return "channel " + std::to_string(channel->dwStatus);
    if (const auto* play = std::get_if<tagMSPlayStatus>(&record))
      return "play " + std::to_string(play->dwPlayStatus);
    if (const auto* position = std::get_if<tagMSPlayPosition>(&record))
      return "position " + std::to_string(position->dwPosition);
    if (const auto* size = std::get_if<tagMSVideoInfo>(&record))
      return "size " + std::to_string(size->wWidth) + "x" + std::to_string(size->wHeight);
    return "quality";
  }
  std::vector<std::string> received;
};

struct Observer final : StreamObserver {
  void onRegistered(std::uint64_t durationMs, MM_MEDIASTREAMING_MEDIACONTENENT) override {
    duration = durationMs;
  }
  void onJoined() override {}
  void onSourceStatus(MM_MEDIASTREAMING_SOURCE_STATUS, std::int64_t) override {}
  void onVideoFormat(const VideoFormat&) override {}
  void onAudioFormat(const AudioFormat&) override {}
  void onPictureWanted() override { ++wanted; }
  void onVideo(const VideoSample&) override { ++pictures; }
  void onAudio(const AudioSample&) override { ++blocks; }
  void onMalformed() override { ++malformed; }
  std::uint64_t duration = 0;
  int pictures = 0, blocks = 0, malformed = 0, wanted = 0;
};

// A request record under construction, with everything that it points to.
struct Sample {
  tagMSVIDEOFORMATEX video{0, 5, 3, 25.0F, 0, 0};
  tMSAUDIOFORMATEX audio{0, 2, 0, 48000, 192000, 4, 16, 32, 0};
  std::vector<std::uint8_t> bytes = std::vector<std::uint8_t>(16UL * 3, 7);
  tagMSDataStructure record{};

  Sample() {
    record.sessionID = kHead.sessionID;
    record.sourceID = kHead.sourceID;
    record.pData = bytes.data();
    record.dwDataLength = bytes.size();
    record.nMediaType = MM_MEDIASTREAMING_MEDIATYPE_VIDEO;
    record.pFormat = &video;
    record.dwFormatLength = sizeof video;
  }
};

class PlatformTest : public testing::Test {
 protected:
  UCFResult send(PlatformPort& port, MM_MEDIASTREAMING_COMMAND command, void* record) {
    return port.request(SVS_MSG_MS_COMMAND, static_cast<unsigned long>(command), record);
  }
  void registerAs(PlatformPort& port, MM_MEDIASTREAMING_CHANNLE_TYPE type) {
    tagMSRegisterInfo info{kHead, type, 0, 9000, MM_MEDIASTREAMING_MEDIACONTENT_VIDEO, 0};
    EXPECT_EQ(send(port, MM_MEDIASTREAMING_CMD_REGISTER, &info), 1U);
  }
  void setStatus(MM_MEDIASTREAMING_SOURCE_STATUS status, std::int64_t position) {
    tagMSSourceStatus record{kHead, MM_MEDIASTREAMING_CHANNEL_SOURCE, status, position, 0};
    EXPECT_EQ(send(*presenter_, MM_MEDIASTREAMING_CMD_SOURCE_STATUS, &record), 1U);
  }
  void sendPicture(std::uint64_t timestamp) {
    Sample sample;
    sample.record.dwTimestamp = timestamp;
    std::memset(sample.bytes.data(), static_cast<int>(timestamp), sample.bytes.size());
    EXPECT_EQ(send(*presenter_, MM_MEDIASTREAMING_CMD_MEDIA_DATA, &sample.record), 1U);
  }
  void showIn(PlatformPort& port, const std::shared_ptr<platform::View>& view) {
    tagMSRenderInfo info{kHead, MM_MEDIASTREAMING_CHANNEL_LISTENER,
                         view ? MM_MEDIASTREAMING_RENDER_ATTACH : MM_MEDIASTREAMING_RENDER_DETACH,
                         reinterpret_cast<std::uint64_t>(view.get()), 0};
    EXPECT_EQ(send(port, MM_MEDIASTREAMING_CMD_SET_RENDER, &info), 1U);
  }
  static tagQuery query() {
    tagQuery record{};
    record.sessionID = kHead.sessionID;
    return record;
  }
  static void waitFor(const std::function<bool()>& condition) {
    while (!condition()) std::this_thread::yield();
  }

  Observer observer_;
  std::shared_ptr<platform::ManualClock> clock_ = std::make_shared<platform::ManualClock>();
  InProcessPlatform platform_{{kHead.sessionID, kHead.sourceID}, observer_, clock_};
  std::shared_ptr<Peer> presenterPeer_ = std::make_shared<Peer>();
  std::shared_ptr<Peer> attendeePeer_ = std::make_shared<Peer>();
  std::unique_ptr<PresenterPort> presenter_ = platform_.attachPresenter(presenterPeer_);
  std::unique_ptr<AttendeePort> attendee_ = platform_.attachAttendee(attendeePeer_);
};

using Texts = std::vector<std::string>;

TEST_F(PlatformTest, ChannelsAreCreatedThenJoined) {
  registerAs(*presenter_, MM_MEDIASTREAMING_CHANNEL_SOURCE);
  EXPECT_EQ(presenterPeer_->received, (Texts{"channel 0", "channel 2"}));
  EXPECT_EQ(attendeePeer_->received, (Texts{"channel 0"}));
  EXPECT_EQ(observer_.duration, 9000U);
  registerAs(*attendee_, MM_MEDIASTREAMING_CHANNEL_LISTENER);
  EXPECT_EQ(attendeePeer_->received, (Texts{"channel 0", "channel 2", "position 0"}));
}

TEST_F(PlatformTest, AttendeesFollowThePresenterAndLateOnesCatchUp) {
  registerAs(*presenter_, MM_MEDIASTREAMING_CHANNEL_SOURCE);
  registerAs(*attendee_, MM_MEDIASTREAMING_CHANNEL_LISTENER);
  setStatus(MM_MEDIASTREAMING_PD_ACTIVE, 0);
  setStatus(MM_MEDIASTREAMING_PLAY, 0);
  tagMSVIDEOFORMATEX format{0, 640, 360, 25.0F, 0, 0};
  tagMSMediaFormat record{kHead, MM_MEDIASTREAMING_MEDIATYPE_VIDEO, 0, &format, sizeof format};
  send(*presenter_, MM_MEDIASTREAMING_CMD_MEDIA_FORMAT, &record);
  setStatus(MM_MEDIASTREAMING_PAUSE, 1200);
  EXPECT_EQ(attendeePeer_->received,
            (Texts{"channel 0", "channel 2", "position 0", "play 0", "position 0", "size 640x360",
                   "play 1", "position 1200"}));

  auto latePeer = std::make_shared<Peer>();
  const auto late = platform_.attachAttendee(latePeer);
  tagQuery presence = query();
  presence.dwResult = Conference::kSourceId;
  EXPECT_EQ(send(*late, MM_MEDIASTREAMING_CMD_QUERY, &presence), 1U);
  EXPECT_EQ(presence.dwChannelStatus, MM_MEDIA_STREAMING_CHANNEL_STATUS_CREATE_CONFIRM);
  registerAs(*late, MM_MEDIASTREAMING_CHANNEL_LISTENER);
  EXPECT_EQ(latePeer->received, (Texts{"channel 2", "size 640x360", "play 1", "position 1200"}));
}

TEST_F(PlatformTest, AnEndIsTellableFromACrash) {
  for (const bool saysSo : {true, false}) {
    attendeePeer_->received.clear();
    registerAs(*presenter_, MM_MEDIASTREAMING_CHANNEL_SOURCE);
    registerAs(*attendee_, MM_MEDIASTREAMING_CHANNEL_LISTENER);
    setStatus(MM_MEDIASTREAMING_PLAY, 0);
    if (saysSo) presenter_->request(SVS_MSG_STOP_SESSION, 0, nullptr);
    presenter_.reset();
    EXPECT_EQ(attendeePeer_->received.back(), saysSo ? "play 3" : "play 4");
    presenter_ = platform_.attachPresenter(presenterPeer_);
  }
}

TEST_F(PlatformTest, TheNewestPictureIsShownAndTheOthersAreCounted) {
  constexpr std::uint64_t kPictures = 200;
  auto view = std::make_shared<platform::View>();
  attendee_->setWatched(true);
  showIn(*attendee_, view);
  registerAs(*presenter_, MM_MEDIASTREAMING_CHANNEL_SOURCE);
  sendPicture(99);
  EXPECT_FALSE(view->contents()) << "not yet registered";
  registerAs(*attendee_, MM_MEDIASTREAMING_CHANNEL_LISTENER);
  for (std::uint64_t n = 1; n <= kPictures; ++n) sendPicture(n);
  waitFor([&] {
    const AttendeeStatistics seen = attendee_->statistics();
    return seen.framesReceived + seen.framesLost == kPictures;
  });
  const auto shown = view->contents();
  ASSERT_TRUE(shown);
  EXPECT_EQ(shown->width, 5U);
  EXPECT_EQ(shown->height, 3U);
  EXPECT_EQ(shown->bytesPerRow, 16U);
  EXPECT_EQ(shown->pixels[0], static_cast<std::uint8_t>(kPictures));
  EXPECT_EQ(observer_.pictures, static_cast<int>(kPictures) + 1);

  // A picture on show outlives the channel, and the stream.
  attendee_.reset();
  EXPECT_EQ(shown->pixels[47], static_cast<std::uint8_t>(kPictures));
}

TEST_F(PlatformTest, OnlyWatchedAndAttachedViewsAreDrawnInto) {
  auto view = std::make_shared<platform::View>();
  showIn(*attendee_, view);
  registerAs(*presenter_, MM_MEDIASTREAMING_CHANNEL_SOURCE);
  registerAs(*attendee_, MM_MEDIASTREAMING_CHANNEL_LISTENER);
  sendPicture(1);
  waitFor([&] { return attendee_->statistics().framesReceived == 1; });
  EXPECT_FALSE(view->contents());
  attendee_->setWatched(true);
  ASSERT_TRUE(view->contents()) << "who starts to look sees the current picture";
  showIn(*attendee_, nullptr);
  sendPicture(2);
  waitFor([&] { return attendee_->statistics().framesReceived == 2; });
  EXPECT_EQ(view->contents()->pixels[0], 1);
  EXPECT_EQ(view.use_count(), 1);
}

TEST_F(PlatformTest, RecordsThatDoNotHoldWhatTheySayAreRefused) {
  struct Case {
    const char* name;
    void (*spoil)(Sample&);
  };
  constexpr auto kHuge = std::numeric_limits<std::uint64_t>::max();
  static_assert(kHuge > 0);
  const Case cases[] = {
      {"another stream", [](Sample& s) { s.record.sourceID = 77; }},
      {"another session", [](Sample& s) { s.record.sessionID = 77; }},
      {"no pixels", [](Sample& s) { s.record.pData = nullptr; }},
      {"no length", [](Sample& s) { s.record.dwDataLength = 0; }},
      {"too short", [](Sample& s) { --s.record.dwDataLength; }},
      {"too long", [](Sample& s) { ++s.record.dwDataLength; }},
      {"absurd length", [](Sample& s) { s.record.dwDataLength = kHuge; }},
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
  registerAs(*presenter_, MM_MEDIASTREAMING_CHANNEL_SOURCE);
  int refused = 0;
  for (const Case& test : cases) {
    Sample sample;
    test.spoil(sample);
    EXPECT_EQ(send(*presenter_, MM_MEDIASTREAMING_CMD_MEDIA_DATA, &sample.record), 0U) << test.name;
    EXPECT_EQ(observer_.malformed, ++refused) << test.name;
  }
  EXPECT_EQ(observer_.pictures + observer_.blocks, 0);
  EXPECT_EQ(presenter_->request(SVS_MSG_MS_COMMAND, 2000, nullptr), 0U);

  Sample sound;
  sound.record.nMediaType = MM_MEDIASTREAMING_MEDIATYPE_AUDIO;
  sound.record.pFormat = nullptr;
  sound.record.dwFormatLength = 0;
  EXPECT_EQ(send(*presenter_, MM_MEDIASTREAMING_CMD_MEDIA_DATA, &sound.record), 1U);
  EXPECT_EQ(observer_.blocks, 1);
}

TEST_F(PlatformTest, QueriesAreAnsweredAsPresentersNeedThem) {
  tagQuery probe = query();
  probe.nQueryType = MM_MEDIASTREAMING_QUERY_SESSION_PROBE;
  EXPECT_EQ(send(*presenter_, MM_MEDIASTREAMING_CMD_QUERY, &probe), 0U);
  EXPECT_EQ(probe.dwResult, 0U);
  tagQuery allowed = query();
  allowed.nQueryType = MM_MEDIASTREAMING_QUERY_PLAY_ALLOWED;
  allowed.dwStatus = kHead.sessionID;
  allowed.dwResult = 1;
  send(*presenter_, MM_MEDIASTREAMING_CMD_QUERY, &allowed);
  EXPECT_EQ(allowed.dwStatus, kHead.sessionID);
  EXPECT_EQ(allowed.dwResult, 1U);
  tagQuery channel = query();
  channel.dwResult = Conference::kSourceId;
  EXPECT_EQ(send(*attendee_, MM_MEDIASTREAMING_CMD_QUERY, &channel), 0U) << "no channel yet";
}

}  // namespace
}  // namespace meeting
