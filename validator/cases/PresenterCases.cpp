// The presenter's start and stream, and hosts that release the object in the middle of it.
#include <atomic>
#include <thread>

#include "platform/Exception.h"
#include "validator/cases/ContractFixture.h"

namespace contract {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

CONTRACT_CASE(ContractTest, APresenterStartsStepByStep, messages,
              "countdown, probe, open, publish, register, in this order") {
  createActive();
  forget();
  session(SESSION_MSG_JOIN_CONFIRM);
  EXPECT_EQ(shown(), 103);
  ticks(2);
  session(SESSION_MSG_JOIN_CONFIRM);  // while counting: joined, nothing more
  session(SESSION_MSG_JOIN_CONFIRM);
  EXPECT_THAT(host.take(), IsEmpty());
  EXPECT_FALSE(view()->asset);

  // A state other than the first one: the countdown's message is not acted on until it is back.
  object->CreateActiveUI(parent.get(), &rect);  // joined before its UI: counts anew
  host.take();
  ticks(4);
  EXPECT_THAT(host.take(), IsEmpty());
  view()->length = 90;
  ticks(1);
  EXPECT_THAT(host.take(),
              ElementsAre("query 1 0", "publish 0 905f01000300000003000000", "register 90000 3"));
  ASSERT_TRUE(view()->asset);
  ticks(10);
  EXPECT_THAT(host.take(), IsEmpty()) << "the countdown is over";

  channelStatus(MM_MEDIA_STREAMING_CHANNEL_STATUS_CREATE_CONFIRM);
  EXPECT_THAT(host.take(), IsEmpty());
  channelStatus(MM_MEDIA_STREAMING_CHANNEL_STATUS_JOIN_SUCCESS);
  EXPECT_THAT(host.take(), ElementsAre("status 3 0", "status 3 0"));
  EXPECT_EQ(shown(), 5);
}

CONTRACT_CASE(ContractTest, OnlyTicksOfAnActivePlayerCount, messages,
              "a hidden document does not count down") {
  createActive();
  session(SESSION_MSG_JOIN_CONFIRM);
  ticks(3);
  object->DestroyActiveUI();
  host.take();
  ticks(10);
  EXPECT_THAT(host.take(), IsEmpty());
  object->CreateActiveUI(parent.get(), &rect);
  ticks(1);
  EXPECT_FALSE(view()->asset);
}

CONTRACT_CASE(ContractTest, TheFirstProbeArmsTheCountdownAndTheLastOpensTheFile, messages,
              "the platform's answers decide about the start") {
  struct Row {
    UCFResult result;
    std::uint64_t answer;
    bool arms;
    bool opens;
  };
  for (const Row& row : {Row{1, 0, true, false}, Row{1, 5, false, false}, Row{0, 0, false, true},
                         Row{0, 1, false, false}, Row{0, 1ULL << 32U, false, false}}) {
    const auto answer = [&row](tagQuery& query) {
      query.dwResult = row.answer;
      return row.result;
    };
    const auto success = [](tagQuery&) { return UCF_OK; };
    SCOPED_TRACE(testing::Message() << row.result << " " << row.answer);
    host.answerQuery = answer;
    createActive();
    host.answerQuery = success;
    ticks(5);
    EXPECT_EQ(view()->asset != nullptr, row.arms);
    end();

    createActive();
    session(SESSION_MSG_JOIN_CONFIRM);
    host.answerQuery = answer;
    ticks(5);
    EXPECT_EQ(view()->asset != nullptr, row.opens);
    host.answerQuery = success;
    host.take();
    ticks(5);
    EXPECT_THAT(host.take(), IsEmpty()) << "there is one chance";
    end();
  }
}

CONTRACT_CASE(ContractTest, AnExceptionWhileAnActivationSetsTheStateBackEndsIt, life,
              "an exception of the view ends an activation, not the program") {
  createActive();
  session(SESSION_MSG_JOIN_CONFIRM);
  session(SESSION_MSG_JOIN_CONFIRM);
  ticks(2);
  forget();
  view()->whileShowing = [] { throw platform::Exception("Name", "reason"); };
  EXPECT_EQ(object->CreateActiveUI(parent.get(), &rect), UCF_OK);
  view()->whileShowing = nullptr;
  EXPECT_THAT(host.take(), ElementsAre("item 800=0")) << "no report, no probe";
  EXPECT_THAT(view()->takeCalls(), ElementsAre("setStatusViewType 103")) << "not active again";
  ticks(3);
  EXPECT_TRUE(view()->asset) << "the countdown goes on where it was";
}

CONTRACT_CASE(ContractTest, FormatsAndSamplesFlowOnceTheChannelIsJoined, messages,
              "formats and samples wait for the channel") {
  open();
  host.take();
  const auto deliver = [](std::uint32_t milliseconds) {
    std::thread([&] { frame(milliseconds); }).join();
    ticks(1);
  };
  view()->playing = true;
  deliver(40);
  EXPECT_EQ(host.samples, 0);
  EXPECT_THAT(host.take(), IsEmpty()) << "the format is held";
  channelStatus(MM_MEDIA_STREAMING_CHANNEL_STATUS_CREATE_CONFIRM);
  std::thread([] {
    std::array<std::uint8_t, std::size_t{4} * 2 * 3> smaller{};
    streamListener()->newImageArrive(smaller.data(), 4, 2, 60);
  }).join();
  ticks(1);
  EXPECT_EQ(count(host.take(), "format"), 0) << "held until the channel is joined";
  channelStatus(MM_MEDIA_STREAMING_CHANNEL_STATUS_JOIN_SUCCESS);
  EXPECT_THAT(host.take(), testing::Contains("format 1 00000000040002000000c84100000000"));
  deliver(80);
  EXPECT_EQ(host.samples, 1);
  session(SESSION_MSG_STOP_FOR_BANDWIDTH);
  deliver(120);
  EXPECT_EQ(host.samples, 1) << "no longer joined";
}

CONTRACT_CASE(ContractTest, ThePresentersActionsReachThePlatform, messages,
              "play, pause and seek are reported with their positions") {
  present();
  const auto player = view()->delegate;
  view()->position = 12.3456F;
  view()->playing = true;
  player->onPlay(nullptr);
  EXPECT_THAT(host.take(), ElementsAre("status 0 12345", "session 110"));
  view()->playing = false;
  view()->paused = true;
  player->onPause(nullptr);
  EXPECT_THAT(host.take(), ElementsAre("status 2 12345"));
  view()->paused = false;
  player->onSkip(nullptr);
  EXPECT_THAT(host.take(), ElementsAre("status 1 12345 seek"));
  player->volumeChange(nullptr, 7);
  EXPECT_THAT(host.take(), IsEmpty()) << "a source's volume is its own";

  EXPECT_TRUE(player->allow2Play());
  EXPECT_THAT(host.take(), ElementsAre("query 10000 1"));
  for (const std::uint64_t status : {0ULL, 1ULL << 32U}) {
    for (const std::uint64_t result : {0ULL, 1ULL << 32U}) {
      host.answerQuery = [&](tagQuery& query) {
        query.dwStatus = status;
        query.dwResult = result;
        return UCFResult{1};
      };
      EXPECT_EQ(player->allow2Play(), status != 0 || result != 0) << "forbidden by both words";
    }
  }
}

CONTRACT_CASE(ContractTest, WhatBecomesOfTheOpening, messages,
              "a file that does not open ends in a status") {
  using avcapture::KTVideoPlayer;
  const struct {
    const char* name;
    std::function<void(FakeVideoPlayer&)> prepare;
    int shown;
    bool registers;
  } rows[] = {
      {"opened", [](FakeVideoPlayer&) {}, 103, true},
      {"refused by the view", [](FakeVideoPlayer& v) { v.accepts = false; }, 101, true},
      {"nothing playable", [](FakeVideoPlayer& v) { v.type = 0; }, 101, true},
      {"raised",
       [](FakeVideoPlayer& v) {
         v.whileOpening = [] {
           KTVideoPlayer::enterCrashSection("/m/talk.mov");
           throw platform::Exception("NSMallocException", "no memory");
         };
       },
       101, false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    createActive();
    row.prepare(*view());
    host.take();
    FakeFramework::session = nullptr;
    startSource();
    EXPECT_EQ(shown(), row.shown);
    EXPECT_EQ(KTVideoPlayer::crashSectionPath(), "");
    EXPECT_EQ(FakeFramework::session != nullptr, view()->asset != nullptr);
    if (FakeFramework::session) {
      const platform::Dictionary& params = FakeFramework::session->params;
      EXPECT_EQ(params.size(), 3U);
      EXPECT_EQ(params.get(avcapture::kAVCaptureSessionTypeKey).intValue(), 1);
      EXPECT_EQ(params.get(avcapture::kQuickTimeQTVideoPlayerKey).object(), FakeFramework::view);
      EXPECT_TRUE(streamListener());
    }
    // What was refused still counts as opened for the player, so its channel is asked for; held,
    // as the state forbids it.
    joinChannel();
    EXPECT_EQ(count(host.take(), "register "), row.registers ? 1 : 0);
    end();
  }
}

CONTRACT_CASE(ContractTest, AMovieThatIsOpenAlreadyIsReportedAgainNotOpenedAgain, messages,
              "an open movie is reported again, not opened again") {
  createActive();
  session(SESSION_MSG_JOIN_CONFIRM);
  // The host activates anew while the view opens: the start counts down once more.
  view()->whileOpening = [this] {
    object->CreateActiveUI(parent.get(), &rect);
    view()->delegate->renderMovie(true);
    view()->whileOpening = [] { FAIL() << "opened a second time"; };
  };
  ticks(5);
  ASSERT_TRUE(view()->asset);
  view()->playing = true;
  frame(0);
  frame(40);
  forget();
  ticks(4);
  EXPECT_THAT(host.take(), ElementsAre("query 1 0", "register 90 3",
                                       "publish 0 905f01000300000003000000", "register 90000 3"));
  frame(80);
  runMainThread();
  channelStatus(MM_MEDIA_STREAMING_CHANNEL_STATUS_JOIN_SUCCESS);
  EXPECT_EQ(count(host.take(), "format 1"), 2) << "its format is announced again";
}

CONTRACT_CASE(ContractTest, ASampleWaitsForTheRequestThatTheRouterHas, threads,
              "samples and requests never meet in the router") {
  present();
  view()->playing = true;
  frame(0);
  runMainThread();
  const int sampled = host.samples;
  std::thread delivery;
  host.within = [&](const std::string& line) {
    if (!line.starts_with("status")) {
      return;
    }
    std::atomic<bool> underWay{false};
    delivery = std::thread([&] {
      underWay = true;
      frame(40);
    });
    while (!underWay) {
      std::this_thread::yield();
    }
    for (int i = 0; i < 1000; ++i) {  // a sample that does not wait has its chance here
      std::this_thread::yield();
    }
    EXPECT_EQ(host.samples, sampled);
  };
  view()->delegate->onPlay(nullptr);
  host.within = nullptr;
  delivery.join();
  EXPECT_EQ(host.samples, sampled + 1);
}

// The view tells of its own opening: the one place where the end of an object is thrown to its
// host.
CONTRACT_CASE(ContractTest, AHostThatReleasesWhileTheViewOpensIsToldWhenItAsked, endings,
              "a release while the view opens") {
  for (const bool ownMessage : {false, true}) {
    openAtTheNextTick();
    view()->whileOpening = [&] {
      avcapture::KTVideoPlayer::enterCrashSection("/m/talk.mov");
      release();
    };
    std::string thrown;
    try {
      ownMessage ? ticks(1) : session(SESSION_MSG_JOIN_CONFIRM);
    } catch (const platform::Exception& exception) {
      thrown = exception.name();
    }
    EXPECT_EQ(thrown, ownMessage ? "" : avcapture::kAVInstanceDestoriedException);
    EXPECT_EQ(view()->delegate, nullptr) << "the player has ended";
    EXPECT_EQ(avcapture::KTVideoPlayer::crashSectionPath(), "");
    advance(1.0);
  }
}

CONTRACT_CASE(ContractTest, AReleaseWithinARequestDoesNotWaitForASampleThatWaitsForTheRequest,
              endings, "a release within a request while samples come") {
  for (int round = 0; round < 20; ++round) {
    present();
    view()->playing = true;
    const auto listener = streamListener();
    std::atomic<bool> stop{false};
    std::thread delivery([&] {
      for (std::uint32_t time = 1; !stop; ++time) {
        frame(time, listener);
      }
    });
    host.within = [&](const std::string& line) {
      if (line.rfind("status 2", 0) == 0) {  // the request lock is held
        release();
      }
    };
    view()->paused = true;
    const int sampled = host.samples;
    while (host.samples == sampled) {
      runMainThread();
      std::this_thread::yield();
    }
    view()->playing = false;
    view()->delegate->onPause(nullptr);
    EXPECT_EQ(object, nullptr);
    stop = true;
    delivery.join();
    host.within = nullptr;
    advance(1.0);
  }
}

}  // namespace
}  // namespace contract
