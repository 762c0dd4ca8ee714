// What the platform tells presenter and attendees about the channel and the player.
#include <gmock/gmock.h>

#include <chrono>

#include "tests/meeting/PlatformFixture.h"

namespace meeting {
namespace {

using std::chrono_literals::operator""ms;

using PlatformTest = PlatformFixture;

TEST_F(PlatformTest, ChannelsAreCreatedThenJoined) {
  present();
  EXPECT_EQ(presenterPeer_->received, (Texts{"channel 0", "channel 2"}));
  EXPECT_EQ(attendee_.peer->take(), Texts{"channel 0"});
  EXPECT_EQ(observer_.duration, 9000U);
  EXPECT_EQ(observer_.joined, 0) << "not before the presenter knows";
  turn();
  EXPECT_EQ(observer_.joined, 1);
  join(attendee_);
  EXPECT_EQ(attendee_.peer->received, (Texts{"channel 2", "position 0"}));
}

TEST_F(PlatformTest, AttendeesFollowThePresenterAndLateOnesCatchUp) {
  present();
  join(attendee_);
  attendee_.peer->take();
  setStatus(MM_MEDIASTREAMING_PD_ACTIVE, 0);
  setStatus(MM_MEDIASTREAMING_PLAY, 0);
  setVideoFormat(640, 360);
  sendPicture(1240);
  setStatus(MM_MEDIASTREAMING_PAUSE, 1200);
  sendPicture(1280);  // was on its way
  EXPECT_EQ(attendee_.peer->received,
            (Texts{"play 0", "position 0", "size 640x360", "play 1", "position 1200"}));

  Seat late(platform_);
  tagQuery presence = query(MM_MEDIASTREAMING_QUERY_CHANNEL_STATUS);
  presence.dwResult = kIds.source;
  EXPECT_EQ(send(*late.port, MM_MEDIASTREAMING_CMD_QUERY, &presence), 1U);
  EXPECT_EQ(presence.dwChannelStatus, MM_MEDIA_STREAMING_CHANNEL_STATUS_CREATE_CONFIRM);
  join(late);
  EXPECT_EQ(late.peer->received, (Texts{"channel 2", "size 640x360", "play 1", "position 1200"}));
}

TEST_F(PlatformTest, PositionsComeTwiceASecondFromThePlayStatusOn) {
  present();
  join(attendee_);
  attendee_.peer->take();
  step(300ms);
  setStatus(MM_MEDIASTREAMING_PLAY, 0);
  step(499ms);
  EXPECT_EQ(attendee_.peer->take(), (Texts{"play 0", "position 0"}));
  for (std::uint64_t n = 1; n <= 12; ++n) sendPicture(n * 40);
  whenReceived(attendee_, 1);
  step(1ms);
  EXPECT_EQ(attendee_.peer->take(), Texts{"position 480"});
  setStatus(MM_MEDIASTREAMING_PLAY, 8000);  // a seek
  step(499ms);
  EXPECT_EQ(attendee_.peer->take(), (Texts{"play 0", "position 8000"}));
  step(1ms);
  EXPECT_EQ(attendee_.peer->take(), Texts{"position 8000"});
  setStatus(MM_MEDIASTREAMING_PAUSE, 8100);
  attendee_.peer->take();
  step(5000ms);
  EXPECT_EQ(attendee_.peer->take(), Texts{}) << "nothing changes in a pause";
}

TEST_F(PlatformTest, WithoutPicturesThePositionIsThatOfTheSound) {
  present();
  join(attendee_);
  setStatus(MM_MEDIASTREAMING_PLAY, 0);
  sendSound(460, {1, 2});
  attendee_.peer->take();
  step(500ms);
  EXPECT_EQ(attendee_.peer->take(), Texts{"position 460"});
  sendPicture(440);
  sendSound(480, {1, 2});
  Seat late(platform_);
  join(late);
  EXPECT_EQ(late.peer->received.back(), "position 440");
}

TEST_F(PlatformTest, TheQualityIsTheMeasuredRateOncePerSecond) {
  present();
  join(attendee_);
  setStatus(MM_MEDIASTREAMING_PLAY, 0);
  for (std::uint64_t n = 1; n <= 20; ++n) {
    sendPicture(n);
    whenReceived(attendee_, n);
  }
  attendee_.peer->take();
  step(500ms);
  EXPECT_EQ(attendee_.peer->take(), Texts{"position 20"});
  step(500ms);
  EXPECT_EQ(attendee_.peer->take(), (Texts{"position 20", "fps 20"}));
  EXPECT_EQ(std::lround(attendee_.port->statistics().fps), 20);
  setStatus(MM_MEDIASTREAMING_PAUSE, 20);
  EXPECT_EQ(std::lround(attendee_.port->statistics().fps), 0);
}

TEST_F(PlatformTest, TwoSecondsWithoutSamplesAreRebuffering) {
  present();
  Seat late(platform_);
  join(attendee_);
  setStatus(MM_MEDIASTREAMING_PLAY, 0);
  const auto statusesAfter = [&](platform::Duration half, int halves) {
    Texts statuses;
    while (halves-- > 0) step(half);
    for (const std::string& text : attendee_.peer->take())
      if (text.rfind("play", 0) == 0) statuses.push_back(text);
    return statuses;
  };
  EXPECT_EQ(statusesAfter(500ms, 3), Texts{"play 0"});
  sendSound(1500, {1});
  EXPECT_EQ(statusesAfter(500ms, 3), Texts{}) << "sound alone will do";
  EXPECT_FALSE(attendee_.port->statistics().rebuffering);
  EXPECT_EQ(statusesAfter(500ms, 4), Texts{"play 2"}) << "once";
  EXPECT_TRUE(attendee_.port->statistics().rebuffering);
  sendPicture(1540);
  sendPicture(1580);
  turn();
  EXPECT_EQ(statusesAfter(500ms, 3), Texts{"play 0"}) << "once";
  EXPECT_FALSE(attendee_.port->statistics().rebuffering);

  // A pause ends it: what comes then is no news.
  EXPECT_EQ(statusesAfter(500ms, 2), Texts{"play 2"});
  EXPECT_EQ(late.peer->received, Texts{}) << "not a member";
  join(late);
  step(500ms);
  EXPECT_THAT(late.peer->received, testing::Not(testing::Contains("play 2")))
      << "has waited half a second only";
  setStatus(MM_MEDIASTREAMING_PAUSE, 1600);
  sendStill(1600);
  EXPECT_EQ(statusesAfter(500ms, 8), Texts{"play 1"});
}

TEST_F(PlatformTest, AnEndIsTellableFromACrash) {
  using Port = std::unique_ptr<PresenterPort>;
  struct Case {
    const char* name;
    void (*end)(Port&);
    const char* last;
  };
  const Case cases[] = {
      {"says so", [](Port& port) { port->request(SVS_MSG_STOP_SESSION, 0, nullptr); }, "play 3"},
      {"unregisters", [](Port& port) { unregister(*port, MM_MEDIASTREAMING_CHANNEL_SOURCE); },
       "play 3"},
      {"is lost", [](Port& port) { port->lose(); }, "play 4"},
      {"is gone", [](Port& port) { port.reset(); }, "play 4"},
  };
  for (const Case& test : cases) {
    presenter_ = platform_.attachPresenter(presenterPeer_);
    present();
    join(attendee_);
    setStatus(MM_MEDIASTREAMING_PLAY, 0);
    attendee_.peer->take();
    test.end(presenter_);
    EXPECT_EQ(attendee_.peer->take(), Texts{test.last}) << test.name;
    step(5000ms);
    presenter_.reset();
    EXPECT_EQ(attendee_.peer->take(), Texts{}) << test.name << ": the end is told once";
  }
}

TEST_F(PlatformTest, ALostPresenterIsReplaced) {
  present();
  join(attendee_);
  setStatus(MM_MEDIASTREAMING_PLAY, 700);
  sendPicture(740);
  presenter_->lose();
  EXPECT_EQ(registerAs(*presenter_, MM_MEDIASTREAMING_CHANNEL_SOURCE), 0U);
  EXPECT_EQ(sendSample(Sample(780)), 0U);
  EXPECT_EQ(presenter_->request(SVS_MSG_START_SESSION, 0, nullptr), 0U);
  attendee_.peer->take();

  auto lost = std::exchange(presenter_, platform_.attachPresenter(presenterPeer_));
  present();
  lost.reset();
  EXPECT_EQ(attendee_.peer->take(), Texts{"channel 0"}) << "the old one ends without notice";
  join(attendee_);
  EXPECT_EQ(attendee_.peer->take(), (Texts{"channel 2", "position 0"})) << "nothing is left over";
  turn();
  EXPECT_EQ(observer_.joined, 2);
  EXPECT_EQ(observer_.wanted, 2) << "neither is the old picture";
}

TEST_F(PlatformTest, AFailedChannelCarriesNothingUntilItIsBack) {
  present();
  turn();
  Seat waiting(platform_);
  join(waiting);
  join(attendee_);
  setStatus(MM_MEDIASTREAMING_PLAY, 0);
  sendPicture(1);
  whenReceived(attendee_, 1);
  attendee_.peer->take();
  waiting.peer->take();
  presenterPeer_->take();

  platform_.failChannel();
  platform_.failChannel();
  EXPECT_EQ(presenterPeer_->take(), Texts{"channel 3"});
  join(attendee_);
  EXPECT_EQ(attendee_.peer->take(), (Texts{"channel 3", "channel 3"}));
  sendPicture(2);
  EXPECT_EQ(sendSound(2, {1, 2}), 1U);
  for (int half = 0; half < 5; ++half) step(500ms);
  EXPECT_EQ(waiting.peer->take(), (Texts{"channel 3", "play 2"})) << "it waits for samples";
  setStatus(MM_MEDIASTREAMING_PAUSE, 80);
  sendStill(80);
  step(500ms);
  EXPECT_EQ(attendee_.peer->take(), Texts{}) << "it has been told that it cannot join";
  EXPECT_EQ(attendee_.port->statistics().audioBlocksReceived, 0U);
  EXPECT_EQ(observer_.pictures, 3) << "the presenter goes on sending";

  platform_.reconnectChannel();
  platform_.reconnectChannel();
  EXPECT_EQ(presenterPeer_->take(), (Texts{"channel 0", "channel 2"}));
  EXPECT_EQ(attendee_.peer->take(), Texts{"channel 0"});
  EXPECT_EQ(waiting.peer->take(), Texts{"channel 0"});
  EXPECT_FALSE(waiting.port->statistics().rebuffering);
  watch(attendee_);
  join(attendee_);
  EXPECT_EQ(attendee_.peer->take(), (Texts{"channel 2", "play 1", "position 80"}));
  waitFor(
      [&] { return attendee_.view->contents() && attendee_.view->contents()->pixels[0] == 80; });
  turn();
  EXPECT_EQ(observer_.joined, 1) << "it is the same presenter";
}

TEST_F(PlatformTest, WhoRegistersAtAFailedChannelIsInWhenItIsBack) {
  platform_.failChannel();
  present();
  EXPECT_EQ(presenterPeer_->take(), Texts{"channel 3"});
  turn();
  EXPECT_EQ(observer_.registered + observer_.joined, 0);
  platform_.reconnectChannel();
  turn();
  EXPECT_EQ(presenterPeer_->take(), (Texts{"channel 0", "channel 2"}));
  EXPECT_EQ(observer_.registered + observer_.joined, 2);
}

// Registering and leaving in each state of the channel.
TEST_F(PlatformTest, MembershipFollowsChannelAndRequests) {
  enum class Channel { none, open, failed };
  struct Case {
    const char* name;
    Channel channel;
    int joins, leaves;
    Texts told;
    bool member;
  };
  const Case cases[] = {
      {"nobody presents", Channel::none, 1, 0, {"channel 3"}, false},
      {"open", Channel::open, 1, 0, {"channel 2", "position 0"}, true},
      {"failed", Channel::failed, 1, 0, {"channel 3"}, false},
      {"not joined", Channel::open, 0, 0, {}, false},
      {"left", Channel::open, 1, 1, {"channel 2", "position 0"}, false},
      {"left before", Channel::open, 0, 1, {}, false},
      {"joined twice",
       Channel::open,
       2,
       0,
       {"channel 2", "position 0", "channel 2", "position 0"},
       true},
  };
  for (const Case& test : cases) {
    SCOPED_TRACE(test.name);
    Seat seat(platform_);
    if (test.channel != Channel::none) present();
    if (test.channel == Channel::failed) platform_.failChannel();
    seat.peer->take();
    for (int n = 0; n < test.joins; ++n) join(seat);
    for (int n = 0; n < test.leaves; ++n) leave(seat);
    EXPECT_EQ(seat.peer->take(), test.told);
    if (test.channel != Channel::none) {
      sendSound(1, {1, 2});
      setStatus(MM_MEDIASTREAMING_PAUSE, 1);
    }
    EXPECT_EQ(seat.peer->take(), test.member ? (Texts{"play 1", "position 1"}) : Texts{});
    EXPECT_EQ(seat.port->statistics().audioBlocksReceived, test.member ? 1U : 0U);

    platform_.reconnectChannel();
    presenter_->lose();
    const bool told = test.leaves == 0 && test.channel != Channel::none;
    EXPECT_EQ(!seat.peer->received.empty() && seat.peer->received.back() == "play 4", told);
    presenter_ = platform_.attachPresenter(presenterPeer_);
  }
}

TEST_F(PlatformTest, WhoLeftJoinsAgain) {
  present();
  setStatus(MM_MEDIASTREAMING_PAUSE, 40);
  sendStill(40);
  for (std::uint64_t round = 1; round <= 10; ++round) {
    join(attendee_);
    EXPECT_EQ(attendee_.peer->take().front(), round == 1 ? "channel 0" : "channel 2");
    whenReceived(attendee_, round);
    leave(attendee_);
    sendStill(40);
  }
  EXPECT_EQ(attendee_.port->statistics().framesReceived, 10U) << "the still is kept for each";
  EXPECT_EQ(observer_.wanted, 0);
}

TEST_F(PlatformTest, APictureIsAskedForWhenThereIsNoneToShow) {
  present();
  join(attendee_);
  EXPECT_EQ(observer_.wanted, 1);
  setStatus(MM_MEDIASTREAMING_PLAY, 0);
  sendPicture(1);
  leave(attendee_);
  sendPicture(2);
  join(attendee_);
  EXPECT_EQ(observer_.wanted, 1) << "the next one is about to come";
  leave(attendee_);
  setStatus(MM_MEDIASTREAMING_PAUSE, 2);
  join(attendee_);
  EXPECT_EQ(observer_.wanted, 2) << "nobody kept the last one";
}

}  // namespace
}  // namespace meeting
