#include "platform/Exception.h"
#include "tests/movara/common/PlayerFixture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kPath = "/films/A film.mp4";

class PlayerLifecycle : public PlayerFixture {
 protected:
  // Makes the player's view beforehand, so that a test can prepare it.
  void makeSourceWithoutMovie() {
    makeSource();
    view->takeCalls();
  }
};

TEST_F(PlayerLifecycle, ReferencesKeepItUntilTheLastIsReleased) {
  makePlayer(MM_MEDIASTREAMING_CHANNEL_LISTENER);
  EXPECT_THAT(takeTraceLines(), IsEmpty()) << "construction changes no default";
  EXPECT_EQ(player->retainCount(), 1);
  player->retain();
  player->release();
  EXPECT_EQ(player->retainCount(), 1);
  player->CreateUI();
  const std::shared_ptr<FakeVideoPlayer> kept = FakeFramework::view;
  sink.player = nullptr;
  RefObject* const part = player;
  player = nullptr;
  part->release();
  EXPECT_THAT(kept->takeCalls(), testing::Contains("willDie"));
}

TEST_F(PlayerLifecycle, ViewIsMadeOnceAndToldItsSide) {
  for (const bool source : {true, false}) {
    makePlayer(source ? MM_MEDIASTREAMING_CHANNEL_SOURCE : MM_MEDIASTREAMING_CHANNEL_LISTENER);
    player->CreateUI();
    EXPECT_THAT(FakeFramework::view->takeCalls(),
                ElementsAre("setPlayerFitMode 1", source ? "setPlayerType 1" : "setPlayerType 2",
                            "setDelegate 1"));
    player->CreateUI();
    EXPECT_THAT(FakeFramework::view->takeCalls(), IsEmpty());
    releasePlayer();
  }
}

TEST_F(PlayerLifecycle, OpensAFileOnceAndGivesTheSessionItsThreeParameters) {
  makePlayer(MM_MEDIASTREAMING_CHANNEL_SOURCE);
  platform::View host;
  player->parentViewChanged(&host);
  EXPECT_FALSE(player->movieOpened());
  EXPECT_EQ(player->RenderFileName(kPath), 0);
  EXPECT_TRUE(player->movieOpened());
  EXPECT_EQ(player->movie()->path(), kPath);
  EXPECT_EQ(FakeFramework::view->container->superview(), &host);
  const platform::Dictionary& params = FakeFramework::session->params;
  EXPECT_EQ(params.size(), 3U);
  EXPECT_EQ(params.get(avcapture::kAVCaptureSessionTypeKey).intValue(), 1);
  EXPECT_EQ(params.get(avcapture::kQuickTimeQTVideoPlayerKey).object(), FakeFramework::view);
  EXPECT_TRUE(
      params.get(avcapture::kAVStreamListenerKey).objectAs<avcapture::AVStreamDataListener>());

  EXPECT_EQ(player->RenderFileName("/films/another.mp4"), 0);
  EXPECT_TRUE(player->setMovie(nullptr)) << "a movie is set only once";
  EXPECT_EQ(player->movie()->path(), kPath);
  EXPECT_EQ(FakeFramework::sessionsMade, 1);
  FakeFramework::session->params = {};
}

TEST_F(PlayerLifecycle, RefusedFilesMakeNoSession) {
  makePlayer(MM_MEDIASTREAMING_CHANNEL_SOURCE);
  EXPECT_FALSE(player->setMovie(nullptr));
  EXPECT_TRUE(player->videoPlayer()) << "the view is made first";

  FakeFramework::view->accepts = false;
  EXPECT_EQ(player->RenderFileName(kPath), 0);
  FakeFramework::view->accepts = true;
  EXPECT_EQ(player->RenderFileName(kPath), 0);
  EXPECT_FALSE(player->movieOpened()) << "the refused asset is kept";
  EXPECT_EQ(FakeFramework::sessionsMade, 0);
}

TEST_F(PlayerLifecycle, ExceptionWhileOpeningLeavesTheCrashSectionAndGoesOn) {
  makeSourceWithoutMovie();
  view->whileOpening = [] {
    avcapture::KTVideoPlayer::enterCrashSection(kPath);
    throw platform::Exception("SomeException", "some reason");
  };
  try {
    player->RenderFileName(kPath);
    ADD_FAILURE() << "nothing thrown";
  } catch (const platform::Exception& exception) {
    EXPECT_EQ(exception.name(), "SomeException");
  }
  EXPECT_EQ(avcapture::KTVideoPlayer::crashSectionPath(), "");
  EXPECT_EQ(player->retainCount(), 1);
}

TEST_F(PlayerLifecycle, ReleasedByItsOwnerWhileOpening) {
  makeSourceWithoutMovie();
  const std::shared_ptr<FakeVideoPlayer> kept = FakeFramework::view;
  view->whileOpening = [this] {
    avcapture::KTVideoPlayer::enterCrashSection(kPath);
    releasePlayer();
  };
  try {
    player->RenderFileName(kPath);
    ADD_FAILURE() << "nothing thrown";
  } catch (const platform::Exception& exception) {
    EXPECT_EQ(exception.name(), avcapture::kAVInstanceDestoriedException);
    EXPECT_EQ(exception.reason(), "Invalid this");
  }
  EXPECT_EQ(avcapture::KTVideoPlayer::crashSectionPath(), "");
  EXPECT_THAT(kept->takeCalls(), testing::Contains("willDie"));
}

TEST_F(PlayerLifecycle, ReleasedWhileAnExceptionLeavesTheFramework) {
  makeSourceWithoutMovie();
  view->whileOpening = [this] {
    releasePlayer();
    throw platform::Exception("SomeException", "some reason");
  };
  try {
    player->RenderFileName(kPath);
    ADD_FAILURE() << "nothing thrown";
  } catch (const platform::Exception& exception) {
    EXPECT_EQ(exception.name(), "SomeException") << "the framework's own goes on";
  }
}

TEST_F(PlayerLifecycle, FollowsItsHostsViewAndFrame) {
  platform::View first;
  platform::View second;
  makeSource();
  player->parentViewChanged(&first);
  EXPECT_EQ(view->container->superview(), &first);
  player->parentViewChanged(&first);
  EXPECT_THAT(view->takeCalls(), ElementsAre("attachToSuperView 1"));
  player->parentViewChanged(&second);
  EXPECT_EQ(view->container->superview(), &second);
  player->parentViewChanged(nullptr);
  EXPECT_EQ(view->container->superview(), nullptr);
  view->takeCalls();

  EXPECT_EQ(player->getListenRenderView(), view->picture.get());
  player->videoSizeChanged();
  player->setFrame(nullptr);
  EXPECT_THAT(view->takeCalls(), ElementsAre("repositionPlayer (null)", "superFrameSizeChanged"));

  releasePlayer();
  makeListener();
  platform::performAfterDelay(FakeFramework::view, &avcapture::KTVideoPlayer::superFrameSizeChanged,
                              {}, platform::seconds(0.1));
  player->setFrame(nullptr);
  advance(0.2);
  EXPECT_THAT(view->takeCalls(), ElementsAre("superFrameSizeChanged")) << "the delayed one is gone";
}

TEST_F(PlayerLifecycle, WithoutViewNothingHappens) {
  makePlayer(MM_MEDIASTREAMING_CHANNEL_LISTENER);
  platform::View host;
  player->parentViewChanged(&host);
  player->setFrame(nullptr);
  player->videoSizeChanged();
  player->onPDDataFinish();
  player->resetFormatSendStatus();
  player->setSink(nullptr);
  EXPECT_EQ(player->getListenRenderView(), nullptr);
  EXPECT_FALSE(player->movieOpened());
}

TEST_F(PlayerLifecycle, EndsInOrderAndItsPartsLater) {
  makeSourceWithoutMovie();
  player->RenderFileName(kPath);
  view->takeCalls();
  const std::weak_ptr<platform::Object> weakView = FakeFramework::view;
  const std::weak_ptr<platform::Object> weakSession = FakeFramework::session;
  const std::weak_ptr<platform::Object> weakBridge = bridge->weak_from_this();
  int stopsWhenDying = -1;
  view->whileDying = [&] { stopsWhenDying = FakeFramework::session->stops; };
  FakeFramework::session->whileStopping = [&] {
    // The bridge is still attached, so that a waiting audio thread gets its answer.
    bridge->deliverAudioFormatOnMainThreadDirectly();
  };
  FakeVideoPlayer& dying = *view;
  sink.takeCodes();
  FakeFramework::session->params = {};
  RefObject* const part = player;
  player = nullptr;
  part->release();
  sink.player = nullptr;

  EXPECT_EQ(stopsWhenDying, 0) << "the view first";
  EXPECT_EQ(FakeFramework::session->stops, 1);
  EXPECT_THAT(sink.takeCodes(), ElementsAre(PLAYER_NOTIFY_AUDIO_FORMAT));
  EXPECT_THAT(dying.takeCalls(), ElementsAre("willDie", "setDelegate 0"));
  dying.whileDying = nullptr;
  FakeFramework::session->whileStopping = nullptr;
  FakeFramework::view = nullptr;
  FakeFramework::session = nullptr;
  advance(0.19);
  for (const auto& watched : {weakView, weakSession, weakBridge}) EXPECT_FALSE(watched.expired());
  advance(0.01);
  for (const auto& watched : {weakView, weakSession, weakBridge}) EXPECT_TRUE(watched.expired());
  EXPECT_THAT(sink.takeCodes(), IsEmpty()) << "no tick after the end";
}

}  // namespace
