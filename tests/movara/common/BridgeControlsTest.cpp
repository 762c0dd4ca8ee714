#include "movara/player/PlayerProperties.h"
#include "tests/movara/common/PlayerFixture.h"

namespace {

using platform::Value;
using testing::ElementsAre;
using testing::IsEmpty;

class BridgeControls : public PlayerFixture {
 protected:
  std::int32_t stored(const char* key) { return player->propertyWithKey(key).intValue(); }
};

TEST_F(BridgeControls, SourceAnswersFromThePlayer) {
  makeSource();
  view->position = 12.5F;
  player->setPropertyWithKey(kAVMediaMediaTypeProperty, 1);
  player->setPropertyWithKey(kAVMediaVolumeProperty, 200);
  EXPECT_EQ(bridge->fps(), 25.0F);
  EXPECT_EQ(bridge->currentTime(), 12.5F);
  EXPECT_EQ(bridge->duration(), 90.0F);
  EXPECT_EQ(bridge->mediaSize(), (platform::Size{480.0, 360.0}));
  EXPECT_EQ(bridge->mediaType(), 0);
  EXPECT_EQ(bridge->volume(), 0);
  EXPECT_TRUE(bridge->isPresenter());
  player->SetPresenter(0);
  EXPECT_FALSE(bridge->isPresenter());
  EXPECT_TRUE(bridge->allowEnterFIT());
  const struct {
    bool playing, paused, isPlaying, pausedByUser;
  } states[] = {
      {true, false, true, false}, {false, true, false, false}, {false, false, false, true}};
  for (const auto& state : states) {
    view->playing = state.playing;
    view->paused = state.paused;
    EXPECT_EQ(bridge->isPlaying(), state.isPlaying);
    EXPECT_EQ(bridge->pausedByUser(), state.pausedByUser);
  }
}

TEST_F(BridgeControls, ListenerAnswersFromTheStore) {
  makeListener();
  view->playing = true;
  EXPECT_FALSE(bridge->isPlaying());
  EXPECT_EQ(bridge->fps(), 0.0F);
  player->setPropertyWithKey(kAVMediaSizeWidthProperty, 640);
  EXPECT_EQ(bridge->mediaSize(), (platform::Size{480.0, 360.0})) << "height is missing";
  // A float status counts by its whole part.
  for (const auto& [status, playing] : {std::pair{Value(4.9F), true}, {Value(5), false}}) {
    player->setPropertyWithKey(kAVMovieStatusProperty, status);
    EXPECT_EQ(bridge->isPlaying(), playing) << status.description();
  }
}

TEST_F(BridgeControls, ActionsReportThenListenersStoreTheStatus) {
  const struct {
    void (AVUIProxy::*action)(platform::Object*);
    PLAYER_NOTIFY_CODE code;
    int status;
    bool pausedByUser;
  } actions[] = {
      {&AVUIProxy::onPlay, PLAYER_NOTIFY_STATUS_CHANGED, 4, false},
      {&AVUIProxy::onPause, PLAYER_NOTIFY_STATUS_CHANGED, 3, false},
      {&AVUIProxy::onStop, PLAYER_NOTIFY_STATUS_CHANGED, 2, true},
      {&AVUIProxy::onSkip, PLAYER_NOTIFY_SEEK_COMPLETE, 2, true},
  };
  for (const bool source : {true, false}) {
    makeSide(source);
    for (const auto& test : actions) {
      (bridge->*test.action)(view);
      EXPECT_THAT(sink.takeCodes(), ElementsAre(test.code));
      EXPECT_EQ(bridge->getStatus(), source ? 0 : test.status);
      if (!source) {
        EXPECT_EQ(bridge->pausedByUser(), test.pausedByUser);
      }
    }
    releasePlayer();
  }
}

TEST_F(BridgeControls, TraceTellsWhatThePlatformDoesNotLearn) {
  makeSource();
  const std::function<void()> ends[] = {[this] { bridge->renderMovie(false); },
                                        [this] { bridge->onStop(view); },
                                        [this] { bridge->onSkip(view); }};
  for (const char* reason : {"", "the disk does not answer"}) {
    view->broken = reason;
    for (const auto& end : ends) {
      end();
      EXPECT_EQ(count(takeTraceLines(), "W The movie cannot be played: " + view->broken),
                view->broken.empty() ? 0 : 1);
    }
  }
}

TEST_F(BridgeControls, ClientsVolumeAndMutingAreKeptForAListener) {
  constexpr const char* kVolume = "LUMNBRSetVloumeNotification";
  constexpr const char* kMuted = "LUMNBRSetMutedNotification";
  const struct {
    const char* name;
    Value value;
    int volume;
  } cases[] = {{kVolume, -0.2F, 0},  {kVolume, 1.7F, 255}, {kVolume, Value(), 0},
               {kVolume, 1.0F, 255}, {kVolume, 0.5F, 127}, {kMuted, 1, 0},
               {kMuted, 256, 127}};  // its low byte says no
  for (const bool source : {true, false}) {
    makeSide(source);
    for (const auto& test : cases) {
      postNotification(test.name, {{test.name + std::string("ValueKey"), test.value}});
      EXPECT_THAT(sink.takeCodes(), ElementsAre(PLAYER_NOTIFY_VOLUME_CHANGED));
      EXPECT_EQ(stored(kAVMediaVolumeProperty), source ? 0 : test.volume);
    }
    releasePlayer();
  }
}

TEST_F(BridgeControls, FullscreenClickAsksTheClientForTheOppositeMode) {
  makeSource();
  const auto listener = Listener::to({"PDLeaveFitNotification", "PDEnterFitNotification"});
  for (const int mode : {0, 1, 2}) {
    postNotification("PDDidChangeSharingViewModeNotification", {{"PDSharingViewMode", mode}});
    EXPECT_EQ(player->IsFullscreen(), mode == 1);
    bridge->toggleFullscreen(view);
    EXPECT_THAT(sink.takeCodes(), ElementsAre(PLAYER_NOTIFY_FULLSCREEN_CHANGED));
    advance(0.0, platform::kModalPanelRunLoopMode);
    EXPECT_THAT(listener->names, IsEmpty()) << "waits for the default mode";
    runMainThread();
    EXPECT_THAT(std::exchange(listener->names, {}),
                ElementsAre(mode == 1 ? "PDLeaveFitNotification" : "PDEnterFitNotification"));
  }
}

TEST_F(BridgeControls, AnotherBridgesClicksPauseASourceAndHideItsControlBar) {
  const struct {
    bool source, playing, own;
    Calls calls;
  } cases[] = {
      {true, true, false, {"onStart", "showEmbedControlbar (null)"}},
      {true, false, false, {"showEmbedControlbar (null)"}},
      {false, true, false, {"showEmbedControlbar (null)"}},
      {true, true, true, {}},
  };
  RecordingSink otherSink;
  const auto other = AVUIProxy::initWithPlayer(&otherSink, MM_MEDIASTREAMING_CHANNEL_SOURCE);
  for (const auto& test : cases) {
    makeSide(test.source);
    view->playing = test.playing;
    AVUIProxy* const poster = test.own ? bridge : other.get();
    const auto listener =
        Listener::to({kMSPauseEmbedPlayerNotification, kMSHideOtherEmbedCtrlbarNotification});
    poster->pauseEmbedPlayer();
    poster->hideOtherEmbedCtrlbarWindow();
    EXPECT_EQ(view->takeCalls(), test.calls);
    EXPECT_EQ(listener->names.size(), 2U);
    EXPECT_EQ(listener->sender, poster);
    releasePlayer();
  }
  other->setSink(nullptr);
}

}  // namespace
