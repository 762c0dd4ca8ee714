#include "movara/player/PlayerProperties.h"
#include "tests/movara/common/PlayerFixture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class PlayerStatusView : public PlayerFixture {
 protected:
  void prepare(bool source, bool failover, bool nbr, int mediaType) {
    makeSide(source);
    player->setPropertyWithKey(kAVMMPFailoverProcessing, failover);
    player->setPropertyWithKey(kAVMediaNBRModeProperty, nbr);
    player->setPropertyWithKey(kAVMediaMediaTypeProperty, mediaType);
    view->takeCalls();
  }
};

TEST_F(PlayerStatusView, FollowsTheChannelState) {
  // Codes of the source and of a listener: plain, during a failover, and of a listener to sound.
  const struct {
    int state, source, listener, sourceFailover, listenerFailover, soundOnly;
  } rows[] = {
      {0, 103, 203, 6, 6, 203}, {1, 103, 203, 6, 6, 203}, {2, 4, 204, 4, 204, 204},
      {3, 103, 203, 6, 6, 203}, {4, 101, 1, 101, 1, 1},   {5, 102, 1, 102, 1, 1},
      {6, 103, 203, 6, 6, 203}, {7, 5, 1, 5, 1, 2},       {8, 4, 204, 4, 204, 204},
      {9, 6, 6, 6, 6, 6},       {10, 7, 7, 7, 7, 7},      {11, 8, 8, 8, 8, 8},
      {12, 9, 9, 9, 9, 9},      {13, 1, 1, 1, 1, 1},      {1000, 1, 1, 1, 1, 1},
  };
  const auto shown = [this](int state, bool source, bool failover, bool nbr, int mediaType) {
    prepare(source, failover, nbr, mediaType);
    player->onSVSStateChanged(static_cast<SvsState>(state));
    const int code = view->statusViewType();
    releasePlayer();
    return code;
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.state);
    EXPECT_EQ(shown(row.state, true, false, false, 3), row.source);
    EXPECT_EQ(shown(row.state, true, false, false, 1), row.source) << "its bridge says nothing";
    EXPECT_EQ(shown(row.state, false, false, false, 3), row.listener);
    EXPECT_EQ(shown(row.state, true, true, false, 3), row.sourceFailover);
    EXPECT_EQ(shown(row.state, false, true, false, 3), row.listenerFailover);
    EXPECT_EQ(shown(row.state, false, false, false, 1), row.soundOnly);
    // Playing back a recording shows the picture, or that there is sound only.
    EXPECT_EQ(shown(row.state, true, true, true, 3), 1);
    EXPECT_EQ(shown(row.state, false, true, true, 3), 1);
    EXPECT_EQ(shown(row.state, false, false, true, 1), row.soundOnly == 2 ? 2 : 1);
  }
}

TEST_F(PlayerStatusView, RegisteredChannelBringsTheSourcesPictureAndAListenersSound) {
  prepare(true, false, false, 3);
  player->onSVSStateChanged(SVS_REGISTERCHANNEL_SUCCESS);
  EXPECT_THAT(view->takeCalls(), ElementsAre("setStatusViewType 5", "deliverLatestImageAgain"));
  advance(1.0);
  EXPECT_THAT(view->takeCalls(), IsEmpty());
  releasePlayer();

  for (const auto mode : {platform::kDefaultRunLoopMode, platform::kConnectionReplyMode,
                          platform::kModalPanelRunLoopMode, platform::kEventTrackingRunLoopMode}) {
    prepare(false, false, false, 3);
    player->onSVSStateChanged(SVS_REGISTERCHANNEL_SUCCESS);
    EXPECT_THAT(view->takeCalls(), ElementsAre("setStatusViewType 1"));
    advance(0.09, mode);
    EXPECT_THAT(view->takeCalls(), IsEmpty());
    advance(0.01, mode);
    EXPECT_THAT(view->takeCalls(), ElementsAre("onUnMute (null)")) << mode;
    releasePlayer();
  }
}

TEST_F(PlayerStatusView, FollowsThePresentersPlayStatusALittleLater) {
  const struct {
    int status, picture, sound;
  } rows[] = {{1, 1, 1},     {2, 1, 2},     {3, 201, 200}, {4, 1, 2}, {5, 1, 1},
              {7, 202, 202}, {8, 205, 205}, {9, 206, 206}, {-1, 1, 1}};
  for (const auto& row : rows) {
    for (const int mediaType : {1, 3}) {
      for (const bool nbr : {false, true}) {
        SCOPED_TRACE(testing::Message() << row.status << " type " << mediaType << " nbr " << nbr);
        prepare(false, false, nbr, mediaType);
        player->setPropertyWithKey(kAVMovieStatusProperty, row.status);
        player->playerStatusChanged();
        int code = mediaType == 1 ? row.sound : row.picture;
        if (nbr && code != 2) code = 1;
        advance(0.19);
        EXPECT_THAT(view->takeCalls(), IsEmpty());
        advance(0.01);
        EXPECT_THAT(view->takeCalls(), ElementsAre("setStatusViewType " + std::to_string(code)));
        releasePlayer();
      }
    }
  }
}

TEST_F(PlayerStatusView, PlayStatusUnknownShowsThePictureAndASourceIgnoresIt) {
  prepare(false, false, false, 1);
  player->playerStatusChanged();
  advance(0.2);
  EXPECT_THAT(view->takeCalls(), ElementsAre("setStatusViewType 1"));
  releasePlayer();
  prepare(true, false, false, 3);
  player->setPropertyWithKey(kAVMovieStatusProperty, 3);
  player->playerStatusChanged();
  advance(0.2);
  EXPECT_THAT(view->takeCalls(), IsEmpty());
}

}  // namespace
