// The presenter's start and stream, and hosts that release the object in the middle of it.
#include <atomic>
#include <thread>

#include "platform/Exception.h"
#include "tests/contract/ContractFixture.h"

namespace contract {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST_F(ContractTest, APresenterStartsStepByStep) {
  create();
  activate();
  forget();
  session(SESSION_MSG_JOIN_CONFIRM);
  EXPECT_EQ(shown(), 103);
  session(SESSION_MSG_JOIN_CONFIRM);  // while counting: joined, nothing more
  ticks(2);
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

TEST_F(ContractTest, OnlyTicksOfAnActivePlayerCount) {
  create();
  activate();
  session(SESSION_MSG_JOIN_CONFIRM);
  ticks(3);
  object->DestroyActiveUI();
  host.take();
  ticks(10);
  EXPECT_THAT(host.take(), IsEmpty());
  object->CreateActiveUI(parent.get(), &rect);
  ticks(1);
  EXPECT_FALSE(view()->asset);
  host.answerQuery = [](tagQuery&) { return UCFResult{1}; };
  ticks(1);
  EXPECT_FALSE(view()->asset) << "the probe was answered otherwise, and the chance is gone";
  ticks(5);
  EXPECT_FALSE(view()->asset);
}

TEST_F(ContractTest, FormatsAndSamplesFlowOnceTheChannelIsJoined) {
  create();
  activate();
  startSource();
  host.take();
  std::vector<std::uint8_t> pixels(std::size_t{8} * 2 * 3);
  const auto deliver = [&](std::uint32_t milliseconds) {
    const auto listener = streamListener();
    std::thread([&] { listener->newImageArrive(pixels.data(), 8, 2, milliseconds); }).join();
    ticks(1);
  };
  view()->playing = true;
  deliver(40);
  EXPECT_EQ(host.samples, 0);
  EXPECT_THAT(host.take(), IsEmpty()) << "the format is held";
  channelStatus(MM_MEDIA_STREAMING_CHANNEL_STATUS_CREATE_CONFIRM);
  channelStatus(MM_MEDIA_STREAMING_CHANNEL_STATUS_JOIN_SUCCESS);
  EXPECT_THAT(host.take(), testing::Contains("format 1 00000000080002000000c84100000000"));
  deliver(80);
  EXPECT_EQ(host.samples, 1);
}

TEST_F(ContractTest, ThePresentersActionsReachThePlatform) {
  present();
  auto* const player = view()->delegate;
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

struct OpenRow {
  const char* name;
  std::function<void(FakeVideoPlayer&)> prepare;
  int shown;
  bool registers;
};

TEST_F(ContractTest, WhatBecomesOfTheOpening) {
  const OpenRow rows[] = {
      {"opened", [](FakeVideoPlayer&) {}, 103, true},
      {"refused by the view", [](FakeVideoPlayer& v) { v.accepts = false; }, 101, true},
      {"nothing playable", [](FakeVideoPlayer& v) { v.type = 0; }, 101, true},
      {"raised",
       [](FakeVideoPlayer& v) {
         v.whileOpening = [] { throw platform::Exception("NSMallocException", "no memory"); };
       },
       101, false},
  };
  for (const OpenRow& row : rows) {
    create();
    activate();
    row.prepare(*view());
    host.take();
    startSource();
    EXPECT_EQ(shown(), row.shown) << row.name;
    // What was refused still counts as opened for the player, so its channel is asked for; held,
    // as the state forbids it.
    channelStatus(MM_MEDIA_STREAMING_CHANNEL_STATUS_CREATE_CONFIRM);
    channelStatus(MM_MEDIA_STREAMING_CHANNEL_STATUS_JOIN_SUCCESS);
    EXPECT_EQ(count(host.take(), "register ") == 1, row.registers) << row.name;
    release();
    advance(1.0);
  }
}

TEST_F(ContractTest, AMovieThatIsOpenAlreadyIsReportedAgainNotOpenedAgain) {
  create();
  activate();
  session(SESSION_MSG_JOIN_CONFIRM);
  // The host activates anew while the view opens: the start counts down once more.
  view()->whileOpening = [this] {
    object->CreateActiveUI(parent.get(), &rect);
    view()->delegate->renderMovie(true);
    view()->whileOpening = [] { FAIL() << "opened a second time"; };
  };
  ticks(5);
  ASSERT_TRUE(view()->asset);
  forget();
  ticks(4);
  EXPECT_THAT(host.take(), ElementsAre("query 1 0", "register 90 3",
                                       "publish 0 905f01000300000003000000", "register 90000 3"));
}

// The moments at which a host may let go of an object that is opening its file.
struct ReleaseRow {
  const char* moment;  // a line of the host's log, or empty: while the view opens
  bool ownMessage;     // the object's own tick starts it, not the host's message
  bool throws;
};

TEST_F(ContractTest, TheHostMayReleaseInTheMiddleOfOpening) {
  for (const ReleaseRow& row :
       {ReleaseRow{"", false, true}, ReleaseRow{"", true, false},
        ReleaseRow{"query 1 0", true, false}, ReleaseRow{"publish 0", false, false},
        ReleaseRow{"publish 0", true, false}, ReleaseRow{"register", false, false},
        ReleaseRow{"register", true, false}}) {
    SCOPED_TRACE(std::string(row.moment) + (row.ownMessage ? " own" : " host's"));
    create();
    activate();
    session(SESSION_MSG_JOIN_CONFIRM);
    ticks(4);
    forget();
    if (*row.moment == '\0') {
      view()->whileOpening = [&] { release(); };
    } else {
      host.within = [&](const std::string& line) {
        if (line.rfind(row.moment, 0) == 0) {
          release();
        }
      };
    }
    bool thrown = false;
    try {
      row.ownMessage ? ticks(1) : session(SESSION_MSG_JOIN_CONFIRM);
    } catch (const platform::Exception& exception) {
      thrown = true;
      EXPECT_EQ(exception.name(), avcapture::kAVInstanceDestoriedException);
    }
    host.within = nullptr;
    EXPECT_EQ(thrown, row.throws);
    ASSERT_EQ(object, nullptr);
    EXPECT_EQ(host.take().back(), "session 102") << "nothing follows the end";
    EXPECT_EQ(view()->delegate, nullptr) << "the player has ended";
    advance(1.0);
  }
}

TEST_F(ContractTest, AReleaseWithinARequestDoesNotWaitForASampleThatWaitsForTheRequest) {
  for (int round = 0; round < 20; ++round) {
    present();
    view()->playing = true;
    const auto listener = streamListener();
    std::atomic<bool> stop{false};
    std::thread delivery([&] {
      std::vector<std::uint8_t> pixels(std::size_t{8} * 2 * 3);
      for (std::uint32_t time = 1; !stop; ++time) {
        listener->newImageArrive(pixels.data(), 8, 2, time);
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
      platform::RunLoop::main().runReady();
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
