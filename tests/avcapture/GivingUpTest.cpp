// A listener that throws, and an engine that has given up for want of memory: what users can do
// then, and what becomes of it when they do more than one thing at a time.
#include <gmock/gmock.h>

#include <atomic>
#include <functional>
#include <new>
#include <optional>
#include <stdexcept>
#include <thread>

#include "tests/avcapture/Support.h"

namespace avcapture::test {

namespace {

using Want = PlayerTest;

struct Throwing {
  const char* where;
  std::function<void()> Recorder::*moment;
};

// What a listener throws ends where it was called: the movie plays on to its end.
TEST_F(Want, ListenersThatThrowEndNothing) {
  const Throwing cases[] = {{"picture", &Recorder::onImage},
                            {"sound", &Recorder::onSound},
                            {"announcement", &Recorder::onAnnounced}};
  for (const Throwing& each : cases) {
    SCOPED_TRACE(each.where);
    open(standardClip());
    std::atomic<int> thrown{0};
    (*recorder).*(each.moment) = [&thrown] {
      ++thrown;
      throw std::runtime_error("listener");
    };
    playToTheEnd();
    EXPECT_GT(thrown, 0);
    EXPECT_EQ(player->failure(), "");
    EXPECT_GE(player->currentTime(), 1.0);
    TearDown();
    recorder = std::make_shared<Recorder>();
    delegate.calls.clear();
  }
}

// The engine gives up, with both its delivery threads, where a format can't be announced.
class GivenUp : public PlayerTest {
 public:
  void SetUp() override {
    openPaced(standardClip());
    recorder->onAnnounced = [this] {
      if (thrown_ == 2) return;
      ++thrown_;
      throw std::bad_alloc();
    };
    player->onStart(nullptr);
    // What the engine tells the main thread is still on its way then.
    while (thrown_ < 2 || player->failure() != "out of memory") std::this_thread::yield();
  }
  void takeTheNews() {
    ASSERT_TRUE(pumpUntil([this] { return delegate.count("stop") == 1; }));
  }

 private:
  std::atomic<int> thrown_{0};
};

TEST_F(GivenUp, SeekIsAnsweredAndShown) {
  takeTheNews();
  player->seek(0.5F);
  ASSERT_TRUE(pumpUntil([this] { return delegate.count("skip") > 0 && stills() > 0; }));
  EXPECT_EQ(recorder->frames().back().timestamp, 480U);
}

// A player that still counts as playing ends by the news, which a seek does not make void.
TEST_F(GivenUp, SeekBeforeTheNewsDoesNotPlayOnWithoutPictures) {
  player->seek(0.5F);
  EXPECT_TRUE(pumpUntil([this] { return delegate.count("stop") == 1; }));
  EXPECT_FALSE(player->isPlaying());
}

TEST_F(GivenUp, LatestPictureIsDelivered) {
  takeTheNews();
  player->deliverLatestImageAgain();
  EXPECT_TRUE(pumpUntil([this] { return !recorder->frames().empty(); }));
}

// News of the one that gave up are none of the one that has taken its place.
TEST_F(GivenUp, LateNewsDoNotEndTheNextOne) {
  player->onStart(nullptr);  // pauses
  player->onStart(nullptr);
  ASSERT_TRUE(player->isPlaying());
  ASSERT_TRUE(pumpUntil([this] { return delegate.count("stop") == 1; }));
  EXPECT_EQ(recorder->frames().size(), 25U);
}

// One delivery thread has given up, the other one is in a call of the listener.
class GivenUpInACall : public PlayerTest {
 public:
  void SetUp() override {
    open(standardClip());  // makes what the process keeps
    PlayerTest::TearDown();
    before_ = Footprint();
    open(standardClip());
    recorder->onAnnounced = [this] {
      const int number = announced_++;
      if (number == 0) throw std::bad_alloc();
      inside_ = true;
      while (number == 1 && !mayLeave) std::this_thread::yield();
    };
    player->onStart(nullptr);
    while (!inside_ || player->failure() != "out of memory") std::this_thread::yield();
  }
  void TearDown() override {
    mayLeave = true;
    PlayerTest::TearDown();
    EXPECT_TRUE(returnsTo(*before_));
  }
  bool plays() {
    return player->isPlaying() && pumpUntil([this] { return delegate.count("stop") > 0; }) &&
           recorder->frames().back().timestamp == 960 && player->failure().empty();
  }

  std::atomic<bool> mayLeave{false};

 private:
  std::optional<Footprint> before_;
  std::atomic<int> announced_{0};
  std::atomic<bool> inside_{false};
};

struct Wish {
  const char* name;
  void (*act)(KTVideoPlayer& player);
  bool plays;  // in the end
};

class WishMeanwhile : public GivenUpInACall, public ::testing::WithParamInterface<Wish> {};

// Who waits for the call serves messages, in which somebody wants something of the player, too.
TEST_P(WishMeanwhile, LeavesOneEngineInPlace) {
  platform::dispatchOnMainThread([this] {
    mayLeave = true;
    GetParam().act(*player);
  });
  player->onStart(nullptr);  // pauses
  player->onStart(nullptr);
  EXPECT_TRUE(mayLeave);
  EXPECT_EQ(plays(), GetParam().plays);
  EXPECT_EQ(delegate.count("play"), GetParam().plays ? 2 : 1);
}

const Wish kWishes[] = {
    {"Play", [](KTVideoPlayer& player) { player.onStart(nullptr); }, true},
    {"Seek", [](KTVideoPlayer& player) { player.seek(0.5F); }, true},
    {"Still", [](KTVideoPlayer& player) { player.deliverLatestImageAgain(); }, true},
    {"End", [](KTVideoPlayer& player) { player.willDie(); }, false},
};
INSTANTIATE_TEST_SUITE_P(Each, WishMeanwhile, ::testing::ValuesIn(kWishes),
                         [](const auto& each) { return std::string(each.param.name); });

// As where a format is announced, which the thread waits for.
TEST_F(GivenUpInACall, IsNotWaitedForWithinTheMessageThatTheCallWaitsFor) {
  ASSERT_TRUE(pumpUntil([this] { return delegate.count("stop") == 1; }));
  delegate.calls.clear();
  platform::dispatchOnMainThread([this] {
    player->onStart(nullptr);
    EXPECT_FALSE(player->isPlaying());
    mayLeave = true;
  });
  ASSERT_TRUE(pumpUntil([this] { return mayLeave.load(); }));
  player->onStart(nullptr);
  EXPECT_TRUE(plays());
}

}  // namespace

}  // namespace avcapture::test
