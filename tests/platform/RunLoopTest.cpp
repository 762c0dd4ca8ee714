#include "platform/RunLoop.h"

#include <gmock/gmock.h>

#include <thread>

#include "platform/Exception.h"
#include "tests/platform/Recorder.h"

namespace platform {
namespace {

using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr Mode kOtherMode = "of this test";

class RunLoopTest : public testing::Test {
 protected:
  RunLoopTest() { loop.setClock(clock); }
  ~RunLoopTest() override {
    recorder->onMessage = [] {};
    cancelPerforms(*recorder);
    loop.setClock(nullptr);
  }

  // Sends a recorded message after `delay`.
  void after(milliseconds delay, const char* name,
             std::initializer_list<Mode> modes = {kDefaultRunLoopMode}) {
    performAfterDelay(recorder, &Recorder::note, name, delay, modes);
  }
  // Serves what is due after a step of the clock and answers the messages that this brought.
  std::vector<std::string> step(milliseconds time, Mode mode = kDefaultRunLoopMode) {
    clock->advance(time);
    recorder->messages.clear();
    loop.runReady(mode);
    return recorder->messages;
  }

  std::shared_ptr<ManualClock> clock = std::make_shared<ManualClock>();
  std::shared_ptr<Recorder> recorder = std::make_shared<Recorder>();
  RunLoop& loop = RunLoop::current();
};

TEST_F(RunLoopTest, ServesWhatIsDueInOrderOfDeadlineThenOfRequest) {
  after(milliseconds(30), "late");
  after(milliseconds(10), "first");
  after(milliseconds(20), "second");
  after(milliseconds(20), "third");
  after(milliseconds(-5), "at once");
  EXPECT_THAT(step(milliseconds(0)), ElementsAre("at once"));
  EXPECT_THAT(step(milliseconds(20)), ElementsAre("first", "second", "third"));
  EXPECT_THAT(step(milliseconds(9)), IsEmpty());
  EXPECT_THAT(step(milliseconds(1)), ElementsAre("late"));
}

TEST_F(RunLoopTest, KeepsWhatIsNotForTheRunningMode) {
  after(milliseconds(0), "default");
  after(milliseconds(0), "both", {kDefaultRunLoopMode, kOtherMode});
  after(milliseconds(0), "other", {kOtherMode});
  EXPECT_THAT(step(milliseconds(0), kModalPanelRunLoopMode), IsEmpty());
  EXPECT_THAT(step(milliseconds(0), kOtherMode), ElementsAre("both", "other"));
  EXPECT_THAT(step(milliseconds(0)), ElementsAre("default"));
}

TEST_F(RunLoopTest, LeavesWhatAMessageSchedulesToTheNextPass) {
  recorder->onMessage = [this] {
    if (recorder->messages.size() == 1) after(milliseconds(0), "next");
  };
  after(milliseconds(0), "one");
  after(milliseconds(0), "two");
  EXPECT_THAT(step(milliseconds(0)), ElementsAre("one", "two"));
  recorder->onMessage = [] {};
  EXPECT_THAT(step(milliseconds(0)), ElementsAre("next"));
}

TEST_F(RunLoopTest, CancelsByTargetMessageAndArgument) {
  const auto other = std::make_shared<Recorder>();
  const auto pendingAfter = [&](const std::function<void()>& cancel) {
    after(milliseconds(0), "a", {kDefaultRunLoopMode, kOtherMode});
    after(milliseconds(0), "b");
    performAfterDelay(recorder, &Recorder::noteOther, "a", milliseconds(0));
    performAfterDelay(other, &Recorder::note, "a", milliseconds(0));
    cancel();
    other->messages.clear();
    auto messages = step(milliseconds(0));
    EXPECT_EQ(loop.runReady(kOtherMode), 0U);
    EXPECT_THAT(other->messages, ElementsAre("a"));
    return messages;
  };
  EXPECT_THAT(pendingAfter([&] { cancelPerform(*recorder, &Recorder::note, "a"); }),
              ElementsAre("b", "other a"));
  EXPECT_THAT(pendingAfter([&] { cancelPerform(*recorder, &Recorder::note, {}); }),
              ElementsAre("a", "b", "other a"));
  EXPECT_THAT(pendingAfter([&] { cancelPerforms(*recorder); }), IsEmpty());
}

TEST_F(RunLoopTest, DoesNotSendWhatIsCancelledWhileItIsDue) {
  after(milliseconds(0), "one");
  after(milliseconds(0), "two");
  recorder->onMessage = [this] { cancelPerforms(*recorder); };
  EXPECT_THAT(step(milliseconds(0)), ElementsAre("one"));
}

TEST_F(RunLoopTest, FiresATimerThatWasHeldUpOnceAndKeepsItsGrid) {
  const auto timer = Timer::scheduled(milliseconds(100), recorder, &Recorder::tick, true);
  EXPECT_THAT(step(milliseconds(99)), IsEmpty());
  EXPECT_THAT(step(milliseconds(1)), ElementsAre("tick"));
  EXPECT_THAT(step(milliseconds(350)), ElementsAre("tick"));
  EXPECT_THAT(step(milliseconds(49)), IsEmpty());
  EXPECT_THAT(step(milliseconds(1)), ElementsAre("tick"));
  recorder->onMessage = [this] { clock->advance(milliseconds(150)); };  // held up by itself
  EXPECT_THAT(step(milliseconds(100)), ElementsAre("tick"));
  EXPECT_THAT(step(milliseconds(49)), IsEmpty());
  EXPECT_THAT(step(milliseconds(1)), ElementsAre("tick"));
  timer->invalidate();
  EXPECT_THAT(step(milliseconds(1000)), IsEmpty());
}

TEST_F(RunLoopTest, FiresATimerInTheModesItWasAddedTo) {
  const auto timer = Timer::scheduled(milliseconds(10), recorder, &Recorder::tick, true);
  EXPECT_THAT(step(milliseconds(10), kOtherMode), IsEmpty());
  loop.addTimer(timer, kOtherMode);
  EXPECT_THAT(step(milliseconds(0), kOtherMode), ElementsAre("tick"));
  EXPECT_THAT(step(milliseconds(0)), IsEmpty());
  EXPECT_THAT(step(milliseconds(10)), ElementsAre("tick"));
  timer->invalidate();
}

TEST_F(RunLoopTest, TimersHoldTheirTargetUntilTheyAreInvalid) {
  const std::weak_ptr<Recorder> life = recorder;
  const auto once = Timer::scheduled(milliseconds(10), recorder, &Recorder::tick, false);
  const auto repeating = Timer::scheduled(milliseconds(10), recorder, &Recorder::tick, true);
  recorder->onMessage = [&] {
    if (recorder->messages.size() == 2) repeating->invalidate();  // in its own message
  };
  EXPECT_THAT(step(milliseconds(10)), ElementsAre("tick", "tick"));
  EXPECT_FALSE(once->isValid());
  EXPECT_FALSE(repeating->isValid());
  std::exchange(recorder, std::make_shared<Recorder>()).reset();
  EXPECT_TRUE(life.expired());
}

TEST_F(RunLoopTest, RunsAgainInsideOfAMessageWithoutFiringItsTimerTwice) {
  const auto timer = Timer::scheduled(milliseconds(10), recorder, &Recorder::tick, true);
  after(milliseconds(10), "after");
  recorder->onMessage = [this] {
    if (recorder->messages.size() > 1) return;
    clock->advance(milliseconds(10));
    loop.runReady();
  };
  EXPECT_THAT(step(milliseconds(10)), ElementsAre("tick", "after"));
  EXPECT_THAT(step(milliseconds(10)), ElementsAre("tick"));
  timer->invalidate();
}

TEST_F(RunLoopTest, StaysUsableWhenAMessageThrows) {
  const auto timer = Timer::scheduled(milliseconds(10), recorder, &Recorder::tick, true);
  after(milliseconds(10), "after");
  recorder->onMessage = [] { throw Exception("name", "reason"); };
  clock->advance(milliseconds(10));
  EXPECT_THROW(loop.run(), Exception);
  recorder->onMessage = [] {};
  EXPECT_THAT(step(milliseconds(0)), ElementsAre("after"));
  EXPECT_THAT(step(milliseconds(10)), ElementsAre("tick"));
  timer->invalidate();
}

TEST_F(RunLoopTest, StopEndsTheInnermostRunOnly) {
  recorder->onMessage = [this] {
    if (recorder->messages.back() == "inner") loop.stop();
    if (recorder->messages.back() != "outer") return;
    after(milliseconds(0), "inner", {kOtherMode});
    loop.run(kOtherMode);
    after(milliseconds(0), "still running");
    after(milliseconds(0), "last");
    recorder->onMessage = [this] {
      if (recorder->messages.back() == "last") loop.stop();
    };
  };
  after(milliseconds(0), "outer");
  loop.run();
  EXPECT_THAT(recorder->messages, ElementsAre("outer", "inner", "still running", "last"));
}

TEST_F(RunLoopTest, RemembersAStopThatComesBeforeTheRun) {
  after(milliseconds(0), "one");
  loop.stop();
  loop.run();
  EXPECT_THAT(recorder->messages, IsEmpty());
  EXPECT_THAT(step(milliseconds(0)), ElementsAre("one"));
}

TEST_F(RunLoopTest, RunUntilReturnsOnAClockThatStandsStill) {
  after(milliseconds(0), "ready");
  after(milliseconds(1), "later");
  loop.runUntil(loop.now() + seconds(10));
  EXPECT_THAT(recorder->messages, ElementsAre("ready"));
}

TEST_F(RunLoopTest, RunUntilWaitsForTimersAndTheDeadline) {
  loop.setClock(nullptr);
  const auto timer = Timer::scheduled(milliseconds(2), recorder, &Recorder::tick, true);
  const TimePoint deadline = loop.now() + milliseconds(7);
  loop.runUntil(deadline);
  EXPECT_GE(loop.now(), deadline);
  EXPECT_THAT(recorder->messages, testing::Not(IsEmpty()));
  timer->invalidate();
}

// Its end cancels and schedules, as that of a real object may.
class LastWords : public Object {
 public:
  explicit LastWords(std::shared_ptr<Recorder> heir) : heir_(std::move(heir)) {}
  ~LastWords() override {
    cancelPerforms(*heir_);
    performAfterDelay(heir_, &Recorder::note, "heir", milliseconds(0));
  }
  void nothing() {}

 private:
  std::shared_ptr<Recorder> heir_;
};

TEST_F(RunLoopTest, TargetsThatEndWhenTheyAreLetGoMayUseTheLoop) {
  const auto target = [this] { return std::make_shared<LastWords>(recorder); };
  performAfterDelay(target(), &LastWords::nothing, {}, milliseconds(0));
  step(milliseconds(0));
  EXPECT_THAT(step(milliseconds(0)), ElementsAre("heir"));

  auto cancelled = target();
  performAfterDelay(cancelled, &LastWords::nothing, {}, milliseconds(0));
  const LastWords& reference = *cancelled;
  cancelled.reset();
  cancelPerforms(reference);
  EXPECT_THAT(step(milliseconds(0)), ElementsAre("heir"));

  const auto timer = Timer::scheduled(milliseconds(1), target(), &LastWords::nothing, true);
  timer->invalidate();
  EXPECT_THAT(step(milliseconds(0)), ElementsAre("heir"));
}

TEST(RunLoopOfAThread, LetsEverythingGoWhenTheThreadEnds) {
  const auto recorder = std::make_shared<Recorder>();
  std::shared_ptr<Timer> timer;
  std::thread([&] {
    EXPECT_NE(&RunLoop::current(), &RunLoop::main());
    timer = Timer::scheduled(seconds(1), recorder, &Recorder::tick, true);
    performAfterDelay(std::make_shared<LastWords>(recorder), &LastWords::nothing, {}, seconds(1));
  }).join();
  EXPECT_EQ(recorder.use_count(), 1);
  EXPECT_FALSE(timer->isValid());
  timer->invalidate();
}

TEST(ObjectArray, IsEmptyWhenItsObjectsEnd) {
  const auto array = std::make_shared<ObjectArray>();
  std::size_t sizeAtTheEnd = 1;
  struct Witness : Object {
    Witness(const ObjectArray& objects, std::size_t& size) : array(objects), result(size) {}
    ~Witness() override { result = array.size(); }
    const ObjectArray& array;
    std::size_t& result;
  };
  array->add(std::make_shared<Witness>(*array, sizeAtTheEnd));
  performAfterDelay(array, &ObjectArray::removeAll, {}, milliseconds(0));
  RunLoop::current().runReady();
  EXPECT_EQ(sizeAtTheEnd, 0U);
}

}  // namespace
}  // namespace platform
