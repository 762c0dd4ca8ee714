// A listener that throws, and an engine that has given up for want of memory: what users can do
// then.
#include <gmock/gmock.h>

#include <atomic>
#include <functional>
#include <new>
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

}  // namespace

}  // namespace avcapture::test
