#include "movara/player/PlayerProperties.h"
#include "tests/movara/common/PlayerFixture.h"

namespace {

using platform::Value;
using testing::ElementsAre;
using testing::IsEmpty;

class PlayerControls : public PlayerFixture {};

TEST_F(PlayerControls, TurnTheViewInTheirOwnDirectionOnly) {
  enum Initial { kPlaying, kPaused, kStopped };
  const struct {
    Initial initial;
    bool (CAVPlayer::*control)();
    bool result;
    Calls calls;
  } cases[] = {
      {kPlaying, &CAVPlayer::Play, false, {}},
      {kPlaying, &CAVPlayer::Pause, true, {"onStart"}},
      {kPlaying, &CAVPlayer::Stop, true, {"onStop"}},
      {kPaused, &CAVPlayer::Play, true, {"onStart"}},
      {kPaused, &CAVPlayer::Pause, false, {}},
      {kPaused, &CAVPlayer::Stop, true, {"onStop"}},
      {kStopped, &CAVPlayer::Play, true, {"onStart"}},
      {kStopped, &CAVPlayer::Pause, false, {}},
      {kStopped, &CAVPlayer::Stop, false, {}},
  };
  makeSource();
  for (const auto& test : cases) {
    SCOPED_TRACE(testing::Message() << "from state " << test.initial);
    view->playing = test.initial == kPlaying;
    view->paused = test.initial == kPaused;
    view->position = test.initial == kPaused ? 3.0F : 0.0F;
    EXPECT_EQ(player->GetStatus(), test.initial == kPlaying  ? kPlayerStatusPlaying
                                   : test.initial == kPaused ? kPlayerStatusPaused
                                                             : kPlayerStatusStopped);
    EXPECT_EQ((player->*test.control)(), test.result);
    EXPECT_EQ(view->takeCalls(), test.calls);
    EXPECT_EQ(takeTraceLines().size(), test.result ? 0U : 1U) << "refused with a line";
  }
}

TEST_F(PlayerControls, ListenerAsksTheBridgeWhereASourceAsksTheView) {
  const struct {
    bool source;
    unsigned int volume;
    float duration, position, fps;
  } cases[] = {{true, 40, 90.0F, 5.5F, 25.0F}, {false, 200, 61.5F, 7.0F, 12.0F}};
  for (const auto& test : cases) {
    makeSide(test.source);
    view->position = 5.5F;
    player->setPropertyWithKey(kAVMediaVolumeProperty, 200);
    player->setPropertyWithKey(kAVMovieDurationProperty, 61.5F);
    player->setPropertyWithKey(kAVMovieCurTimeProperty, 7.0F);
    player->setPropertyWithKey(kAVMovieFPSProperty, 12.0F);
    EXPECT_EQ(player->GetVolume(), test.volume);
    EXPECT_EQ(player->GetDuration(), test.duration);
    EXPECT_EQ(player->GetCurrentPos(), test.position);
    EXPECT_EQ(player->fps(), test.fps);
    player->SetNBRMode(1);
    EXPECT_EQ(view->takeCalls().size(), test.source ? 0U : 1U) << "a recording has no source";
    releasePlayer();
  }
}

TEST_F(PlayerControls, MediaContentIsCapped) {
  makeSource();
  for (const auto& [type, content] : {std::pair{0, 0U}, {1, 1U}, {3, 3U}, {9, 3U}, {-1, 3U}}) {
    view->type = type;
    EXPECT_EQ(player->mediaContent(), content);
  }
}

TEST_F(PlayerControls, WithoutViewEverythingAnswersNothing) {
  makePlayer(MM_MEDIASTREAMING_CHANNEL_SOURCE);
  EXPECT_FALSE(player->Play() || player->Pause() || player->Stop() || player->Seek(1));
  EXPECT_FALSE(player->SetVolume(50) || player->SetMute(1) || player->active() ||
               player->deactive() || player->isPlaying() || player->showEmbedControlbar(1) ||
               player->isPresenter() || player->isActive() || player->isFailoverProcessing());
  EXPECT_TRUE(player->GetMute());
  EXPECT_EQ(player->GetDuration() + player->GetCurrentPos() + player->fps(), 0.0F);
  EXPECT_EQ(player->mediaContent(), 0U);
  EXPECT_THAT(takeTraceLines(), IsEmpty());
  EXPECT_EQ(player->GetStatus(), kPlayerStatusNoPlayer);
  EXPECT_THAT(takeTraceLines(), ElementsAre("W Video player is NULL now"));
  player->setFailoverStatus(1);
  EXPECT_TRUE(player->isFailoverProcessing());
  player->SetPresenter(0);
  EXPECT_TRUE(player->propertyWithKey(kAVMovieCurrentPresenterRole).isNil());
}

TEST_F(PlayerControls, FlagsInTheStore) {
  makeSource();
  EXPECT_TRUE(player->isAllowEnterFit());
  player->setAllowEnterFit(1);
  EXPECT_THAT(takeTraceLines(), IsEmpty());
  player->setAllowEnterFit(0);
  EXPECT_FALSE(player->isAllowEnterFit());
  EXPECT_THAT(takeTraceLines(), ElementsAre("I CAVPlayer::setAllowEnterFit,bAllowEnterFit = 0"));
  for (const char* key : {kAVAllowEnterFitMode, kAVMMPFailoverProcessing}) {
    player->setPropertyWithKey(key, "yes");  // no number
  }
  EXPECT_FALSE(player->isAllowEnterFit());
  EXPECT_FALSE(player->isFailoverProcessing());

  EXPECT_TRUE(player->isPresenter());
  player->SetPresenter(0);
  EXPECT_FALSE(player->isPresenter());
  player->SetPresenter(7);
  EXPECT_TRUE(player->isPresenter());
  player->setPropertyWithKey(kAVMediaMediaTypeProperty, 1);
  EXPECT_THAT(view->takeCalls(), ElementsAre("roleChanged 0", "roleChanged 1", "setMediaType 1"));
}

TEST_F(PlayerControls, FullscreenAndControlBarArePassedOn) {
  makeSource();
  player->setFullscreen(1);
  player->setFullscreen(0);
  EXPECT_TRUE(player->showEmbedControlbar(1));
  EXPECT_THAT(view->takeCalls(),
              ElementsAre("setFullscreen 1", "setFullscreen 0", "showEmbedControlbar 1"));
  EXPECT_THAT(takeTraceLines(),
              ElementsAre("I Im going to fullscreen now", "I im going to exit fullscreen now"));
}

}  // namespace
