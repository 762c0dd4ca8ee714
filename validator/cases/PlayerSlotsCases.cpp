// The player's table, slot by slot, as an object hands its player to whoever asks.
#include "validator/cases/ContractFixture.h"
#include "validator/cases/Listener.h"

namespace contract {
namespace {

using platform::Value;
using std::string_view;
using testing::ElementsAre;
using testing::IsEmpty;

class PlayerSlots : public InsideTest {
 protected:
  template <class Result, class... Arguments>
  Result call(std::size_t slot, Arguments... arguments) {
    return callSlot<Result>(player(), slot, arguments...);
  }
  void store(string_view key, const Value& value) { call<void>(43, key, &value); }
  // What the view is told when the operation at `slot` is called.
  template <class... Arguments>
  Calls told(std::size_t slot, Arguments... arguments) {
    view()->takeCalls();
    call<void>(slot, arguments...);
    return view()->takeCalls();
  }
};

CONTRACT_CASE(PlayerSlots, OfTheControls, inside,
              "the player's slots: play, pause, stop, seek, volume") {
  createActive();
  view()->length = 0;
  EXPECT_FALSE(call<bool>(5, 30U));
  view()->length = 90;
  EXPECT_THAT(told(5, 30U), ElementsAre("seek 30"));
  EXPECT_FALSE(call<bool>(4));
  EXPECT_EQ(call<int>(6), 2);
  EXPECT_FALSE(call<bool>(3));
  EXPECT_THAT(told(2), ElementsAre("onStart"));
  EXPECT_EQ(call<int>(6), 4);
  EXPECT_TRUE(call<bool>(33));
  EXPECT_FALSE(call<bool>(2));
  EXPECT_THAT(told(3), ElementsAre("onStart"));
  EXPECT_EQ(call<int>(6), 3);
  EXPECT_FALSE(call<bool>(3));
  EXPECT_THAT(told(2), ElementsAre("onStart"));
  EXPECT_THAT(told(4), ElementsAre("onStop")) << "playing, if only at the start";
  view()->playing = false;
  view()->position = 2.5F;
  EXPECT_THAT(told(4), ElementsAre("onStop"));

  EXPECT_THAT(told(7, 250U), ElementsAre("onChangeVolume 100"));
  EXPECT_THAT(told(11, 1), ElementsAre("onChangeVolume 0"));
  EXPECT_THAT(told(11, 0), ElementsAre("onChangeVolume 100")) << "full, not the former one";
  EXPECT_EQ(call<unsigned>(8), 40U);
  EXPECT_FALSE(call<bool>(12));
  view()->volumeNow = 0;
  EXPECT_EQ(call<unsigned>(8), 0U);
  EXPECT_EQ(call<unsigned>(9), 0U);
  EXPECT_EQ(call<unsigned>(10), 100U);
  EXPECT_TRUE(call<bool>(12));
  EXPECT_EQ(call<float>(14), 90.0F);
  EXPECT_EQ(call<float>(15), 2.5F);
  EXPECT_EQ(call<float>(16), 25.0F);
  for (const auto& [type, content] : {std::pair{0, 0U}, {1, 1U}, {3, 3U}, {9, 3U}, {-1, 3U}}) {
    view()->type = type;
    EXPECT_EQ(call<unsigned>(21), content);
  }
  EXPECT_THAT(told(13, 1), IsEmpty()) << "a recording has no source";
}

CONTRACT_CASE(PlayerSlots, OfTheViewAndItsPlace, inside,
              "the player's slots: view, place and movie") {
  createActive();
  EXPECT_FALSE(call<bool>(17));
  for (const int fullscreen : {1, 0, 1}) {
    call<void>(18, fullscreen);
    EXPECT_EQ(call<bool>(17), fullscreen == 1);
  }
  EXPECT_THAT(told(19), ElementsAre("deactive"));
  EXPECT_FALSE(call<bool>(32));
  EXPECT_THAT(told(20), ElementsAre("attachToSuperView 1", "active"));
  EXPECT_TRUE(call<bool>(32));
  view()->delegate->deactive();
  EXPECT_FALSE(call<bool>(32));
  view()->delegate->active();
  EXPECT_TRUE(call<bool>(32));
  EXPECT_THAT(told(23, 4), ElementsAre("setStatusViewType 101"));
  EXPECT_THAT(told(25, nullptr), ElementsAre("superFrameSizeChanged"));
  EXPECT_THAT(told(26, nullptr), ElementsAre("attachToSuperView 0"));
  EXPECT_EQ(call<void*>(27), view()->picture.get());
  EXPECT_EQ(call<unsigned>(28), 0U);
  EXPECT_EQ(callSlot<std::int32_t>(call<void*>(29), 0, 16U, 0UL, 0UL), -1) << "its sink answers";
  view()->takeCalls();
  call<void>(24);
  EXPECT_THAT(view()->takeCalls(), IsEmpty()) << "its view is there";
  postNotification("PDWillChangeFitModeNotification", {});
  EXPECT_THAT(view()->takeCalls(), ElementsAre("willChangeFitMode"));

  const std::shared_ptr<avcapture::AVURLAsset> none;
  EXPECT_FALSE(call<bool>(38, &none));
  EXPECT_FALSE(call<std::shared_ptr<avcapture::AVURLAsset>>(39));
  call<void>(26, parent.get());
  view()->container->removeFromSuperview();
  EXPECT_EQ(call<int>(22, "/m/other.mov"), 0);
  EXPECT_EQ(view()->container->superview(), parent.get()) << "placed when it is opened";
  EXPECT_EQ(call<std::shared_ptr<avcapture::AVURLAsset>>(39)->path(), "/m/other.mov");
  EXPECT_TRUE(call<bool>(38, &none)) << "a movie is set once";
}

CONTRACT_CASE(PlayerSlots, OfTheStoreAndTheListenersPicture, inside,
              "the player's slots: properties and the listener's picture") {
  listen();
  EXPECT_EQ(call<unsigned>(28), 1U);
  EXPECT_THAT(told(13, 1), ElementsAre("setNBRMode 1"));
  EXPECT_THAT(told(30, 61.5F), ElementsAre("setDuration 61.5"));
  platform::Size size{1, 2};
  EXPECT_TRUE(call<bool>(31, &size));
  EXPECT_EQ(size, (platform::Size{1, 2}));
  EXPECT_TRUE(call<bool>(36));
  call<void>(37, 0);
  EXPECT_FALSE(call<bool>(36));
  for (const auto& [flag, slot] :
       {std::pair{"kAVAllowEnterFitMode", 36U}, {"kAVMMPFailoverProcessing", 34U}}) {
    store(flag, "yes");  // no number
    EXPECT_FALSE(call<bool>(slot)) << flag;
  }

  const Value status = std::int32_t{3};
  store("kAVMovieStatusProperty", status);
  EXPECT_EQ(call<Value>(42, string_view("kAVMovieStatusProperty")), status);
  EXPECT_TRUE(call<Value>(42, string_view("kAVMovieFPSProperty")).isNil());
  for (const auto& [key, slot] : {std::pair{"kAVMovieDurationProperty", 14U},
                                  {"kAVMovieCurTimeProperty", 15U},
                                  {"kAVMovieFPSProperty", 16U}}) {
    store(key, 7.5F);
    EXPECT_EQ(call<float>(slot), 7.5F) << key;
  }
  store("kAVMediaVolumeProperty", 200);
  EXPECT_EQ(call<unsigned>(8), 200U);
  platform::performAfterDelay(FakeFramework::view, &avcapture::KTVideoPlayer::superFrameSizeChanged,
                              {}, platform::seconds(0.1));
  EXPECT_THAT(told(25, nullptr), ElementsAre("superFrameSizeChanged"));
  advance(0.2);
  EXPECT_THAT(view()->takeCalls(), IsEmpty()) << "the delayed one is gone";
  call<void>(40);
  advance(0.2);
  EXPECT_EQ(shown(), 201);
  EXPECT_THAT(told(41), ElementsAre("repositionPlayer (null)"));
  const auto questions = Listener::to({"PDSyncSharingViewModeNotification"});
  call<void>(44);
  EXPECT_THAT(questions->names, testing::SizeIs(1));
  view()->delegate->renderMovie(false);
  EXPECT_THAT(questions->names, testing::SizeIs(2));
}

CONTRACT_CASE(PlayerSlots, AChannelThatIsJoinedEndsTheFailover, inside,
              "a failover lasts until the channel is joined") {
  createActive();
  EXPECT_FALSE(call<bool>(34));
  call<void>(35, 1);
  EXPECT_TRUE(call<bool>(34));
  channelStatus(MM_MEDIA_STREAMING_CHANNEL_STATUS_CREATE_CONFIRM);
  EXPECT_EQ(shown(), 6);
  channelStatus(MM_MEDIA_STREAMING_CHANNEL_STATUS_JOIN_SUCCESS);
  EXPECT_FALSE(call<bool>(34));
  channelStatus(MM_MEDIA_STREAMING_CHANNEL_STATUS_CREATE_CONFIRM);
  EXPECT_EQ(shown(), 103);
}

}  // namespace
}  // namespace contract
