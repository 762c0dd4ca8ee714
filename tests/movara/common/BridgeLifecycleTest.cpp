#include "tests/movara/common/PlayerFixture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kSync = "PDSyncSharingViewModeNotification";

class BridgeLifecycle : public PlayerFixture {
 protected:
  std::shared_ptr<Listener> queries = Listener::to({kSync, PDQueryHOLStatusNotification});
};

TEST_F(BridgeLifecycle, AsksForModeAndStatusOnceOnTheNextPassOfAnyCommonMode) {
  for (const auto mode : {platform::kDefaultRunLoopMode, platform::kModalPanelRunLoopMode,
                          platform::kEventTrackingRunLoopMode, platform::kConnectionReplyMode}) {
    makeSource();
    EXPECT_THAT(queries->names, IsEmpty());
    advance(0.0, mode);
    advance(0.0, mode);
    EXPECT_THAT(std::exchange(queries->names, {}), ElementsAre(kSync, PDQueryHOLStatusNotification))
        << mode;
    releasePlayer();
  }
  makeSource();
  releasePlayer();
  advance(1.0);
  EXPECT_THAT(queries->names, IsEmpty()) << "ended before the next pass";
}

TEST_F(BridgeLifecycle, TicksTenTimesASecondInEachModeThatUsersStayIn) {
  makeSource();
  for (const auto mode : {platform::kDefaultRunLoopMode, platform::kModalPanelRunLoopMode,
                          platform::kEventTrackingRunLoopMode}) {
    for (int i = 0; i < 10; ++i) advance(0.1, mode);
    EXPECT_EQ(std::ranges::count(sink.takeCodes(), PLAYER_NOTIFY_TIMER), 10) << mode;
  }
}

TEST_F(BridgeLifecycle, WithoutSinkNothingReachesTheApplicationAndQueriesAnswerDefaults) {
  makeSource();
  const auto kept = std::static_pointer_cast<AVUIProxy>(bridge->shared_from_this());
  view->playing = true;
  player->setSink(nullptr);
  player->setSink(nullptr);  // a second time is harmless
  advance(1.0);
  for (const char* name : {"PDDidChangeSharingViewModeNotification", "LUMNBRSetVloumeNotification",
                           kMSVideoRenderSizeChangedNotification, HOLStatusNotification}) {
    postNotification(name, {{"PDSharingViewMode", 1}, {"Status", true}});
  }
  EXPECT_EQ(count(takeTraceLines(), "sharingViewModeDidChange"), 0) << "observes nothing";
  std::uint8_t pixels[4 * 12]{};
  avcapture::AudioBufferList block{1, {{2, sizeof(pixels), pixels}}};
  avcapture::AudioStreamBasicDescription format{44'100.0, 0, 0, 4, 1, 4, 2, 16, 0};
  kept->newImageArrive(pixels, 4, 4, 0);
  kept->newAudioFramesArrive(nullptr, &block, 12, &format, 0);
  kept->renderMovie(true);
  kept->onPlay(nullptr);
  kept->toggleFullscreen(nullptr);
  kept->deliverVideoFormatOnMainThread();
  kept->_deliverLatestImage();
  EXPECT_THAT(sink.takeCodes(), IsEmpty());
  EXPECT_FALSE(player->IsFullscreen());
  EXPECT_FALSE(kept->isPlaying());
  EXPECT_FALSE(kept->allow2Play());
  EXPECT_EQ(kept->fps(), 0.0F);
  EXPECT_EQ(kept->mediaSize(), (platform::Size{480.0, 360.0}));
}

}  // namespace
