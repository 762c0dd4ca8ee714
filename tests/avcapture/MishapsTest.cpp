// What plays while something around it goes wrong: a clock leaps, the sound device is gone.
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>

#include "tests/avcapture/LeapingClock.h"
#include "tests/avcapture/Loudspeaker.h"
#include "tests/avcapture/Support.h"
#include "tests/support/Sanitizers.h"

namespace avcapture::test {

namespace {

// Of a clock that nothing lets leap.
std::int64_t trueMilliseconds() {
  timespec time{};
  ::syscall(SYS_clock_gettime, CLOCK_MONOTONIC, &time);
  return time.tv_sec * 1000 + time.tv_nsec / 1'000'000;
}

struct Mishap {
  const char* what;
  void (*happens)(Loudspeaker& loudspeaker);
};

class Mishaps : public PlayerTest, public ::testing::WithParamInterface<Mishap> {
 public:
  void TearDown() override {
    PlayerTest::TearDown();  // returns, whatever became of the device
    resetClocks();
    loudspeaker.unplug();
    EXPECT_TRUE(kThreadSanitizer || returnsTo(before));
  }

  const Footprint before;
  Loudspeaker loudspeaker{scratchPath("loudspeaker")};
};

// Not what is left all at once, not as if it had all been played, and not an hour later.
TEST_P(Mishaps, LetPlayingGoOnAtItsPace) {
  open(standardClip(), {.paced = true, .decoderThreads = 1, .localSound = true});
  std::atomic<int> blocks{0};
  recorder->onSound = [&] {
    if (++blocks == 10) GetParam().happens(loudspeaker);
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

const Mishap kMishaps[] = {
    {"wall_clock_ahead", [](Loudspeaker&) { leap(CLOCK_REALTIME, 3600); }},
    {"wall_clock_back", [](Loudspeaker&) { leap(CLOCK_REALTIME, -3600); }},
    {"machine_slept", [](Loudspeaker&) { leap(CLOCK_MONOTONIC, 3600); }},
    {"loudspeaker_stands_still", [](Loudspeaker&) {}},
    {"loudspeaker_unplugged", [](Loudspeaker& loudspeaker) { loudspeaker.unplug(); }},
};
INSTANTIATE_TEST_SUITE_P(All, Mishaps, ::testing::ValuesIn(kMishaps),
                         [](const auto& each) { return std::string(each.param.what); });

}  // namespace

}  // namespace avcapture::test
