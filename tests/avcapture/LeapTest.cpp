// What plays while a clock leaps.
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>

#include "tests/avcapture/LeapingClock.h"
#include "tests/avcapture/Support.h"

namespace avcapture::test {

namespace {

// Of a clock that nothing lets leap.
std::int64_t trueMilliseconds() {
  timespec time{};
  ::syscall(SYS_clock_gettime, CLOCK_MONOTONIC, &time);
  return time.tv_sec * 1000 + time.tv_nsec / 1'000'000;
}

struct Leap {
  const char* what;
  clockid_t clock;
  int seconds;
};

class WhileAClockLeaps : public PlayerTest, public ::testing::WithParamInterface<Leap> {
 public:
  void TearDown() override {
    PlayerTest::TearDown();
    resetClocks();
  }
};

// Not what is left all at once, not as if it had all been played, and not an hour later.
TEST_P(WhileAClockLeaps, PlayingGoesOnAtItsPace) {
  openPaced(standardClip());
  std::atomic<int> blocks{0};
  recorder->onSound = [&] {
    if (++blocks == 10) leap(GetParam().clock, GetParam().seconds);
  };
  std::atomic<std::int64_t> began{0};
  recorder->onAnnounced = [&] { began = trueMilliseconds(); };
  player->onStart(nullptr);
  pumpUntil([&] { return blocks >= 10; });  // its limit leaps too
  ASSERT_TRUE(pumpUntil([this] { return delegate.count("stop") > 0; }));
  EXPECT_GE(trueMilliseconds() - began, 980);
  EXPECT_EQ(recorder->pcm().size(), expectedPcm(standardClip()).size());
  EXPECT_EQ(player->statistics().framesDelivered + player->statistics().framesDropped, 25U);
  EXPECT_NEAR(player->currentTime(), 1.0, 0.1);
}

const Leap kLeaps[] = {{"wall_ahead", CLOCK_REALTIME, 3600},
                       {"wall_back", CLOCK_REALTIME, -3600},
                       {"asleep", CLOCK_MONOTONIC, 3600}};
INSTANTIATE_TEST_SUITE_P(Clocks, WhileAClockLeaps, ::testing::ValuesIn(kLeaps),
                         [](const auto& each) { return std::string(each.param.what); });

}  // namespace

}  // namespace avcapture::test
