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
  // By state, of a source and of a listener; the last for any other state.
  constexpr int kCodes[][2] = {{103, 203}, {103, 203}, {4, 204}, {103, 203}, {101, 1},
                               {102, 1},   {103, 203}, {5, 1},   {4, 204},   {6, 6},
                               {7, 7},     {8, 8},     {9, 9},   {1, 1}};
  const auto shown = [this](int state, bool source, bool failover, bool nbr, int mediaType) {
    prepare(source, failover, nbr, mediaType);
    player->onSVSStateChanged(static_cast<SvsState>(state));
    const int code = view->statusViewType();
    releasePlayer();
    return code;
  };
  for (const int state : {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 1000}) {
    for (const bool source : {true, false}) {
      SCOPED_TRACE(testing::Message() << state << " source " << source);
      const int code = kCodes[std::min(state, 13)][source ? 0 : 1];
      const bool pending = state == 0 || state == 1 || state == 3 || state == 6;
      const bool soundOnly = !source && state == 7;  // a source's bridge says nothing
      EXPECT_EQ(shown(state, source, false, false, 3), code);
      EXPECT_EQ(shown(state, source, true, false, 3), pending ? 6 : code) << "failover";
      EXPECT_EQ(shown(state, source, false, false, 1), soundOnly ? 2 : code);
      // Playing back a recording shows the picture, or that there is sound only.
      EXPECT_EQ(shown(state, source, true, true, 3), 1);
      EXPECT_EQ(shown(state, source, false, true, 1), soundOnly ? 2 : 1);
    }
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
    for (const auto& [mediaType, nbr] : {std::pair{1, false}, {3, false}, {1, true}, {3, true}}) {
      SCOPED_TRACE(testing::Message() << row.status << " type " << mediaType << " nbr " << nbr);
      prepare(false, false, nbr, mediaType);
      player->setPropertyWithKey(kAVMovieStatusProperty, row.status);
      player->playerStatusChanged();
      const int code = mediaType == 1 ? row.sound : row.picture;
      advance(0.19);
      EXPECT_THAT(view->takeCalls(), IsEmpty());
      advance(0.01);
      EXPECT_THAT(view->takeCalls(),
                  ElementsAre("setStatusViewType " + std::to_string(nbr && code != 2 ? 1 : code)));
      releasePlayer();
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
