// What other threads send to the main thread.
#include <gmock/gmock.h>

#include <array>
#include <atomic>
#include <thread>

#include "platform/Exception.h"
#include "platform/RunLoop.h"
#include "tests/platform/Recorder.h"

namespace platform {
namespace {

using testing::ElementsAre;

class MainThreadTest : public testing::Test {
 protected:
  ~MainThreadTest() override {
    if (other.joinable()) other.join();
  }

  void onOtherThread(std::function<void()> work) { other = std::thread(std::move(work)); }
  void stopWhenSent(const std::string& last) {
    recorder->onMessage = [this, last] {
      EXPECT_TRUE(isMainThread());
      if (recorder->messages.back() == last) RunLoop::main().stop();
    };
  }

  std::shared_ptr<Recorder> recorder = std::make_shared<Recorder>();
  std::thread other;
};

TEST_F(MainThreadTest, QueuedMessagesKeepTheirOrderAndHoldTheirTarget) {
  stopWhenSent("3");
  onOtherThread([target = recorder] {
    EXPECT_FALSE(isMainThread());
    performOnMainThread(target, &Recorder::note, 1, false);
    dispatchOnMainThread([target] { target->note(2); });
    performOnMainThread(target, &Recorder::note, 3, false);
  });
  RunLoop::main().run(kConnectionReplyMode);
  EXPECT_THAT(recorder->messages, ElementsAre("1", "2", "3"));
}

TEST_F(MainThreadTest, WaitingReturnsWhenTheMessageHasRun) {
  stopWhenSent("waited");
  onOtherThread([this] {
    performOnMainThread(recorder, &Recorder::note, "first", true);
    recorder->messages.emplace_back("returned");  // the main thread is not in the recorder now
    performOnMainThread(recorder, &Recorder::note, "waited", true);
  });
  RunLoop::main().run();
  EXPECT_THAT(recorder->messages, ElementsAre("first", "returned", "waited"));
}

TEST_F(MainThreadTest, WaitingOnTheMainThreadOvertakesTheQueue) {
  performOnMainThread(recorder, &Recorder::note, "queued", false);
  performOnMainThread(recorder, &Recorder::note, "at once", true);
  performOnMainThread(nullptr, &Recorder::note, "nobody", true);
  EXPECT_EQ(RunLoop::main().runReady(), 1U);
  EXPECT_THAT(recorder->messages, ElementsAre("at once", "queued"));
}

TEST_F(MainThreadTest, ThrowsToWhoeverWaitsElseOutOfTheRun) {
  recorder->onMessage = [] { throw Exception("name", "reason"); };
  std::string caught;
  onOtherThread([this, &caught] {
    try {
      performOnMainThread(recorder, &Recorder::tick, {}, true);
    } catch (const Exception& exception) {
      caught = exception.what();
    }
    RunLoop::main().stop();
  });
  EXPECT_NO_THROW(RunLoop::main().run());
  other.join();
  EXPECT_EQ(caught, "name: reason");

  performOnMainThread(recorder, &Recorder::tick, {}, false);
  EXPECT_THROW(RunLoop::main().runReady(), Exception);
}

TEST_F(MainThreadTest, MessagesQueuedByAMessageWaitForTheNextPass) {
  recorder->onMessage = [this] {
    if (recorder->messages.size() < 3) performOnMainThread(recorder, &Recorder::tick, {}, false);
  };
  performOnMainThread(recorder, &Recorder::tick, {}, false);
  EXPECT_EQ(RunLoop::main().runReady(), 1U);
  EXPECT_EQ(RunLoop::main().runReady(), 1U);
  EXPECT_EQ(RunLoop::main().runReady(), 1U);
  EXPECT_EQ(RunLoop::main().runReady(), 0U);
}

TEST_F(MainThreadTest, WaitServingMessagesServesThemAndNothingElse) {
  std::atomic<bool> ended{false};
  performAfterDelay(recorder, &Recorder::note, "timer", Duration::zero());
  dispatchOnMainThread([] { throw Exception("name", "ends its own message only"); });
  onOtherThread([this, &ended] {
    performOnMainThread(recorder, &Recorder::note, "message", true);
    ended = true;
    RunLoop::main().wake();
  });
  RunLoop::main().waitServingMessages([&ended] { return ended.load(); });
  EXPECT_THAT(recorder->messages, ElementsAre("message"));
  EXPECT_EQ(RunLoop::main().runReady(), 1U);
}

TEST_F(MainThreadTest, WaitServingMessagesWorksInsideOfARun) {
  std::atomic<bool> ended{false};
  dispatchOnMainThread([&] {
    onOtherThread([&] {
      performOnMainThread(recorder, &Recorder::tick, {}, true);
      ended = true;
      RunLoop::main().wake();
    });
    RunLoop::main().waitServingMessages([&] { return ended.load(); });
    RunLoop::main().stop();
  });
  RunLoop::main().run();
  EXPECT_THAT(recorder->messages, ElementsAre("tick"));
}

TEST_F(MainThreadTest, ManyThreadsLoseNothing) {
  constexpr std::size_t kThreads = 4;
  constexpr std::size_t kMessages = 500;
  std::array<std::thread, kThreads> threads;
  for (auto& thread : threads) {
    thread = std::thread([this] {
      for (std::size_t n = 0; n < kMessages; ++n) {
        performOnMainThread(recorder, &Recorder::tick, {}, n % 50 == 0);
      }
    });
  }
  recorder->onMessage = [this] {
    if (recorder->messages.size() == kThreads * kMessages) RunLoop::main().stop();
  };
  RunLoop::main().run();
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(recorder->messages.size(), kThreads * kMessages);
}

}  // namespace
}  // namespace platform
