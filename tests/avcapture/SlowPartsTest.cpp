// A part of FFmpeg that takes very long over a picture or a block of sound, as some do over huge
// ones.
#include <gmock/gmock.h>

#include "tests/avcapture/SlowParts.h"
#include "tests/avcapture/Support.h"

namespace avcapture::test {

namespace {

class SlowParts : public PlayerTest, public ::testing::WithParamInterface<Part> {
 public:
  void SetUp() override {
    open(movie);  // makes what the process keeps
    PlayerTest::TearDown();
    before = Footprint();
  }
  void TearDown() override {
    setSlow(0);
    PlayerTest::TearDown();
    EXPECT_TRUE(returnsTo(before));
  }
  const std::string movie =
      clip("slow.avi", "-f lavfi -i testsrc2=s=160x120:r=25 -f lavfi -i sine -t 4 -c:v mjpeg");
  Footprint before;
};

// The part is still at it when the player has gone, and nobody has heard of it since.
TEST_P(SlowParts, HoldUpNobodyWhoStops) {
  openPaced(movie);
  player->onStart(nullptr);
  ASSERT_TRUE(
      pumpUntil([this] { return !recorder->frames().empty() && !recorder->soundTimes().empty(); }));
  setSlow(GetParam());
  ASSERT_TRUE(pumpUntil([] { return waitingForParts() == 1; }));
  timed("stopping_ms", [this] {
    player->onStart(nullptr);  // pauses
    player->seek(1);
    player->onStop(nullptr);
    player->willDie();
    session.reset();
    player.reset();
  });
  EXPECT_EQ(waitingForParts(), 1);
  recorder->clear();
  setSlow(0);
  EXPECT_TRUE(returnsTo(before));
  EXPECT_TRUE(recorder->frames().empty());
  EXPECT_EQ(recorder->pcm(), "");
}
std::string nameOf(const ::testing::TestParamInfo<Part>& info) {
  return info.param == Part::kConverter      ? "Converter"
         : info.param == Part::kSoundDecoder ? "SoundDecoder"
                                             : "PictureDecoder";
}
INSTANTIATE_TEST_SUITE_P(Each, SlowParts,
                         ::testing::Values(Part::kPictureDecoder, Part::kSoundDecoder,
                                           Part::kConverter),
                         nameOf);

class SlowOpening : public SlowParts {};

// What is shown first is decoded to learn what it is; that is not waited for without end either.
TEST_F(SlowOpening, IsGivenUp) {
  setSlow(Part::kPictureDecoder);
  timed("refusing_ms", [this] { open(movie); });
  EXPECT_FALSE(accepted);
  EXPECT_EQ(player->failure(), "takes too long to open");
  EXPECT_EQ(waitingForParts(), 1);
}

}  // namespace

}  // namespace avcapture::test
