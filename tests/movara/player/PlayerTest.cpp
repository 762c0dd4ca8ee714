// What the tables of the built bundle do not show of a player.
#include "movara/player/PlayerProperties.h"
#include "tests/movara/common/PlayerFixture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class PlayerTest : public PlayerFixture {};

TEST_F(PlayerTest, WithoutViewNothingHappensAndEverythingAnswersNothing) {
  makePlayer(MM_MEDIASTREAMING_CHANNEL_SOURCE);
  platform::View host;
  player->parentViewChanged(&host);
  player->setFrame(nullptr);
  player->videoSizeChanged();
  player->onPDDataFinish();
  player->resetFormatSendStatus();
  player->setSink(nullptr);
  EXPECT_EQ(player->getListenRenderView(), nullptr);
  EXPECT_FALSE(player->Play() || player->Pause() || player->Stop() || player->Seek(1));
  EXPECT_FALSE(player->SetVolume(50) || player->SetMute(1) || player->active() ||
               player->deactive() || player->isPlaying() || player->showEmbedControlbar(1) ||
               player->isPresenter() || player->isActive() || player->movieOpened());
  EXPECT_EQ(player->GetDuration() + player->GetCurrentPos() + player->fps(), 0.0F);
  EXPECT_EQ(player->mediaContent(), 0U);
  EXPECT_THAT(takeTraceLines(), IsEmpty()) << "construction changes no default";
  EXPECT_EQ(player->GetStatus(), kPlayerStatusNoPlayer);
  EXPECT_THAT(takeTraceLines(), ElementsAre("W Video player is NULL now"));
  player->SetPresenter(0);
  EXPECT_TRUE(player->propertyWithKey(kAVMovieCurrentPresenterRole).isNil());
}

TEST_F(PlayerTest, FullscreenAndControlBarArePassedOn) {
  makeSource();
  player->setFullscreen(1);
  player->setFullscreen(0);
  EXPECT_TRUE(player->showEmbedControlbar(1));
  EXPECT_THAT(view->takeCalls(),
              ElementsAre("setFullscreen 1", "setFullscreen 0", "showEmbedControlbar 1"));
  EXPECT_THAT(takeTraceLines(),
              ElementsAre("I Im going to fullscreen now", "I im going to exit fullscreen now"));
}

TEST_F(PlayerTest, EndsInOrderAndItsPartsLater) {
  makeSource();
  player->RenderFileName("/films/A film.mp4");
  const std::weak_ptr<platform::Object> parts[] = {FakeFramework::view, FakeFramework::session,
                                                   bridge->weak_from_this()};
  const auto gone = [&parts] {
    return std::ranges::count_if(parts, [](const auto& part) { return part.expired(); });
  };
  int stopsWhenDying = -1;
  view->whileDying = [&] { stopsWhenDying = FakeFramework::session->stops; };
  FakeFramework::session->whileStopping = [&] {
    // The bridge is still attached, so that a waiting audio thread gets its answer.
    bridge->deliverAudioFormatOnMainThreadDirectly();
  };
  FakeFramework::session->params = {};
  sink.takeCodes();
  sink.player = nullptr;
  std::exchange(player, nullptr)->release();

  EXPECT_EQ(stopsWhenDying, 0) << "the view first";
  EXPECT_EQ(FakeFramework::session->stops, 1);
  EXPECT_THAT(sink.takeCodes(), ElementsAre(PLAYER_NOTIFY_AUDIO_FORMAT));
  FakeFramework::view = nullptr;
  FakeFramework::session = nullptr;
  advance(0.19);
  EXPECT_EQ(gone(), 0);
  advance(0.01);
  EXPECT_EQ(gone(), 3);
  EXPECT_THAT(sink.takeCodes(), IsEmpty()) << "no tick after the end";
}

}  // namespace
