#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "platform/UserDefaults.h"
#include "tests/movara/common/PlayerFixture.h"
#include "tests/platform/TemporaryFolder.h"

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::Field;
using testing::IsEmpty;
using testing::SizeIs;

class BridgeVideo : public PlayerFixture {
 protected:
  BridgeVideo() {
    makeSource();
    view->playing = true;
  }

  static std::vector<std::uint8_t> picture(std::uint8_t colour, std::uint32_t width = 8,
                                           std::uint32_t height = 4) {
    return std::vector<std::uint8_t>(4 * height * ((24 * width + 31) / 32), colour);
  }
  void arrive(std::vector<std::uint8_t> pixels, std::uint32_t timestamp, std::uint32_t width = 8,
              std::uint32_t height = 4) {
    bridge->newImageArrive(pixels.data(), width, height, timestamp);
  }
  // Past the first frame, whose format has been accepted.
  void startAt(std::uint32_t timestamp) {
    arrive(picture(1), timestamp);
    runMainThread();
    sink.samples.clear();
    sink.videoFormats.clear();
    takeTraceLines();
  }
  void pause() { view->playing = false; }
  void startPaused() {
    startAt(0);
    pause();
  }
  void deliver(std::uint32_t timestamp) {
    arrive(picture(1), timestamp);
    runMainThread();
  }
  // Lets the still frame that was queued go out.
  void waitForStill() {
    runMainThread();
    advance(0.101);
  }
  std::vector<std::uint64_t> timestamps() const {
    std::vector<std::uint64_t> result;
    for (const SentSample& sample : sink.samples) result.push_back(sample.record.dwTimestamp);
    return result;
  }
};

TEST_F(BridgeVideo, FirstFrameIsSentWithItsFormatWhichTheMainThreadAnnounces) {
  const auto pixels = picture(7, 641, 3);
  arrive(pixels, 40, 641, 3);
  ASSERT_THAT(sink.samples, SizeIs(1));
  const SentSample& sent = sink.samples[0];
  EXPECT_EQ(sent.bytes, pixels);
  EXPECT_EQ(sent.record.dwDataLength, 3U * 1'924U);
  EXPECT_EQ(sent.record.dwTimestamp, 40U);
  EXPECT_EQ(sent.record.bReserved, 0);
  EXPECT_EQ(sent.record.nMediaType, MM_MEDIASTREAMING_MEDIATYPE_VIDEO);
  EXPECT_EQ(sent.record.dwFormatLength, 16U);
  EXPECT_EQ(sent.video.wWidth, 641);
  EXPECT_EQ(sent.video.wHeight, 3);
  EXPECT_EQ(sent.video.wFrameRate, 25.0F);
  EXPECT_THAT(sink.videoFormats, IsEmpty());
  runMainThread();
  EXPECT_THAT(sink.videoFormats, ElementsAre(AllOf(Field(&tagMSVIDEOFORMATEX::wWidth, 641),
                                                   Field(&tagMSVIDEOFORMATEX::wFrameRate, 25.0F))));
}

TEST_F(BridgeVideo, FormatIsAnnouncedUntilAcceptedAndAgainAfterAReset) {
  sink.answers[PLAYER_NOTIFY_VIDEO_FORMAT] = -1;
  for (const std::uint32_t timestamp : {0U, 40U}) deliver(timestamp);
  EXPECT_THAT(sink.videoFormats, SizeIs(2));
  sink.answers.clear();
  for (const std::uint32_t timestamp : {80U, 120U, 160U}) deliver(timestamp);
  EXPECT_THAT(sink.videoFormats, SizeIs(3));
  player->resetFormatSendStatus();
  deliver(200);
  EXPECT_THAT(sink.videoFormats, SizeIs(4));
}

TEST_F(BridgeVideo, PlayingItDropsARepeatUnlessTheViewPreparedForOne) {
  startAt(0);
  arrive(picture(2), 40);
  arrive(picture(3), 40);
  EXPECT_THAT(timestamps(), ElementsAre(40));
  bridge->prepareDeliverLastestImageAgain();
  arrive(picture(3), 40);
  EXPECT_THAT(timestamps(), ElementsAre(40, 40));
  EXPECT_THAT(takeTraceLines(), IsEmpty());
}

TEST_F(BridgeVideo, StillFrameRedrawnIsSentOnceFromTheMainThread) {
  startPaused();
  for (int i = 0; i < 3; ++i) arrive(picture(9), 40);
  runMainThread();
  advance(0.099);
  EXPECT_THAT(sink.samples, IsEmpty());
  advance(0.002);
  ASSERT_THAT(sink.samples, SizeIs(1));
  EXPECT_EQ(sink.samples[0].bytes, picture(9));
  EXPECT_EQ(sink.samples[0].record.bReserved, 1);
  EXPECT_EQ(sink.samples[0].video.wWidth, 8);
  EXPECT_TRUE(sink.samples[0].onMainThread);
  arrive(picture(9), 40);  // still the same
  waitForStill();
  EXPECT_THAT(sink.samples, SizeIs(1));
  arrive(picture(9), 80);  // the same pixels at another time
  waitForStill();
  EXPECT_THAT(timestamps(), ElementsAre(40, 80));
}

TEST_F(BridgeVideo, StillFrameGoesOutInEachModeThatUsersStayIn) {
  startPaused();
  std::uint8_t colour = 0;
  for (const auto mode : {platform::kConnectionReplyMode, platform::kModalPanelRunLoopMode,
                          platform::kEventTrackingRunLoopMode}) {
    sink.samples.clear();
    arrive(picture(++colour), 40);
    advance(0.0, mode);
    advance(0.101, mode);
    EXPECT_THAT(timestamps(), ElementsAre(40)) << mode;
  }
}

TEST_F(BridgeVideo, OfChangingStillFramesOnlyTheLastIsSent) {
  startPaused();
  for (std::uint8_t colour = 1; colour <= 3; ++colour) {
    arrive(picture(colour), 40);
    runMainThread();
    advance(0.06);
  }
  EXPECT_THAT(sink.samples, IsEmpty());
  advance(0.06);
  ASSERT_THAT(sink.samples, SizeIs(1));
  EXPECT_EQ(sink.samples[0].bytes, picture(3));
}

TEST_F(BridgeVideo, PlayingOnBeforeTheStillFrameWentOutSendsAClearedCopy) {
  startPaused();
  arrive(picture(5), 40);
  view->playing = true;
  arrive(picture(6), 80);
  waitForStill();
  EXPECT_THAT(timestamps(), ElementsAre(80, 0));
  const tagMSDataStructure& cleared = sink.samples.back().record;
  EXPECT_EQ(cleared.nMediaType, MM_MEDIASTREAMING_MEDIATYPE_NONE);
  EXPECT_EQ(cleared.dwDataLength, 0U);
  EXPECT_EQ(cleared.dwFormatLength, 0U);
  EXPECT_EQ(cleared.pFormat, nullptr);
  EXPECT_EQ(cleared.bReserved, 0);
  EXPECT_NE(cleared.pData, nullptr);
  arrive(picture(6), 0);  // now a repeat of timestamp 0
  EXPECT_THAT(sink.samples, SizeIs(2));
}

TEST_F(BridgeVideo, NotPlayingWithAnotherBufferCountSendsLiveRepeatsIncluded) {
  startPaused();
  view->invalidBuffers = 2;
  arrive(picture(1), 40);
  arrive(picture(1), 40);
  EXPECT_THAT(timestamps(), ElementsAre(40, 40));
}

TEST_F(BridgeVideo, DroppedWhileNotPlaying) {
  startPaused();
  sink.player = nullptr;  // nobody to ask
  arrive(picture(1), 40);
  auto* const withoutView = new CAVPlayer(&sink, MM_MEDIASTREAMING_CHANNEL_SOURCE);
  sink.player = withoutView;
  arrive(picture(1), 60);
  sink.player = player;
  withoutView->release();
  bridge->newImageArrive(nullptr, 16, 16, 80);  // no pixels: its format counts
  bridge->cleanUp();                            // no copy to keep it in
  arrive(picture(1), 120);
  waitForStill();
  EXPECT_THAT(sink.samples, IsEmpty());
}

TEST_F(BridgeVideo, StillFrameMayBeLargerThanTheBufferButNotThanMemory) {
  startPaused();
  const auto large = picture(4, 1920, 1080);
  ASSERT_GT(large.size(), PausedFrame::kInitialCapacity);
  arrive(large, 40, 1920, 1080);
  arrive(picture(5), 80, 100'000, 1'000);  // its pixels are not looked at
  waitForStill();
  ASSERT_THAT(timestamps(), ElementsAre(40)) << "the one before it stays";
  EXPECT_EQ(sink.samples[0].bytes, large);
}

TEST_F(BridgeVideo, StillFrameBeingSentKeepsItsPixelsWhenAnotherArrives) {
  startPaused();
  arrive(picture(1), 40);
  runMainThread();
  sink.inside = [this](PLAYER_NOTIFY_CODE code) {
    if (code == PLAYER_NOTIFY_MEDIA_SAMPLE) arrive(picture(2), 80);
  };
  advance(0.101);
  sink.inside = nullptr;
  waitForStill();
  ASSERT_THAT(timestamps(), ElementsAre(40, 80));
  EXPECT_EQ(sink.samples[0].bytes, picture(1));
  EXPECT_EQ(sink.samples[1].bytes, picture(2));
}

TEST_F(BridgeVideo, StillFrameGoesOutInItsOwnSizeAtTheRateOfNow) {
  struct Size {
    std::uint32_t width, height;
  };
  const struct {
    const char* what;
    std::function<void()> meanwhile;  // while the still frame of 8 by 4 waits
    Size sent;
  } cases[] = {
      {"announced", [&] { bridge->newImageArrive(nullptr, 1280, 720, 80); }, {8, 4}},
      {"too large to be kept", [&] { arrive(picture(5), 80, 100'000, 1'000); }, {8, 4}},
      {"sent live",
       [&] {
         view->invalidBuffers = 2;
         arrive(picture(6, 16, 16), 80, 16, 16);
         view->invalidBuffers = 1;
         sink.samples.clear();
       },
       {8, 4}},
      {"the same bytes in another shape", [&] { arrive(picture(5), 40, 4, 8); }, {4, 8}},
  };
  startPaused();
  for (const auto& test : cases) {
    SCOPED_TRACE(test.what);
    view->frameRate = 25.0;
    sink.samples.clear();
    arrive(picture(1), 0);  // another one before
    arrive(picture(5), 40);
    view->frameRate = 50.0;
    test.meanwhile();
    waitForStill();
    ASSERT_THAT(timestamps(), ElementsAre(40));
    EXPECT_EQ(sink.samples[0].bytes, picture(5));
    EXPECT_EQ(sink.samples[0].video.wWidth, test.sent.width);
    EXPECT_EQ(sink.samples[0].video.wHeight, test.sent.height);
    EXPECT_EQ(sink.samples[0].video.wFrameRate, 50.0F);
  }
}

TEST_F(BridgeVideo, FrameRateIsEstimatedOnceFromTwoPlayingFrames) {
  const struct {
    std::uint32_t first, second;
    bool prepared, accepted;  // a redraw was prepared in between; the first format was accepted
    float rate;
  } cases[] = {{0, 40, false, true, 25.0F},
               {0, 40, false, false, 25.0F},
               {1000, 40, false, true, 1.0F},
               {0, 40, true, true, 1.0F}};
  for (const auto& test : cases) {
    SCOPED_TRACE(testing::Message() << test.first << test.prepared << test.accepted);
    releasePlayer();
    makeSource();
    view->playing = true;
    view->frameRate = 0.0;
    sink.answers[PLAYER_NOTIFY_VIDEO_FORMAT] = test.accepted ? 0 : -1;
    startAt(test.first);
    if (test.prepared) bridge->prepareDeliverLastestImageAgain();
    arrive(picture(1), test.second);
    EXPECT_EQ(sink.samples.back().video.wFrameRate, test.rate);
    runMainThread();
    if (!test.accepted) {
      EXPECT_EQ(sink.videoFormats.back().wFrameRate, test.rate) << "goes out with the format";
    } else if (test.rate > 1.0F) {
      arrive(picture(1), 60);
      EXPECT_EQ(sink.samples.back().video.wFrameRate, 1.0F);
      EXPECT_THAT(takeTraceLines(), SizeIs(2)) << "none for the third";
    }
  }
}

TEST_F(BridgeVideo, DumpedFramesAreWrittenUnderTheirCounterAndTimestamp) {
  namespace fs = std::filesystem;
  const TemporaryFolder folder;
  const fs::path home = folder / "";
  const std::string formerHome = std::getenv("HOME");  // NOLINT(concurrency-mt-unsafe)
  ::setenv("HOME", home.c_str(), 1);                   // NOLINT(concurrency-mt-unsafe)
  fs::create_directories(home / "Desktop" / "time");
  platform::UserDefaults::standard().set("DumpImages", "1");
  startPaused();
  arrive(picture(2), 40);
  waitForStill();
  platform::UserDefaults::standard().set("DumpImages", "0");
  view->playing = true;
  arrive(picture(2), 80);
  ::setenv("HOME", formerHome.c_str(), 1);  // NOLINT(concurrency-mt-unsafe)

  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(home / "Desktop" / "time")) {
    names.push_back(entry.path().filename().string());
    char magic[4]{};
    std::ifstream(entry.path()).read(magic, sizeof(magic));
    EXPECT_THAT(std::string(magic, 2), testing::AnyOf("II", "MM"));
  }
  std::sort(names.begin(), names.end());
  ASSERT_THAT(names, SizeIs(2));
  EXPECT_THAT(names[0], testing::MatchesRegex("video_sended_1_0_[0-9]+.tif"));
  EXPECT_THAT(names[1], testing::MatchesRegex("video_sended_2_40_[0-9]+_paused.tif"));
}

}  // namespace
