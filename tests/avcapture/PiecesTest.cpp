// The small parts of the engine: block cutting and the media clock.
#include <gmock/gmock.h>

#include "avcapture/AudioDecoder.h"
#include "avcapture/MediaClock.h"

namespace avcapture {

namespace {

using ::testing::ElementsAre;
using ::testing::Pair;

// Piece: when it begins, how many frames. Block: the same, as it comes out.
using Piece = std::pair<std::int64_t, std::size_t>;

std::vector<Piece> cut(SoundFormat format, const std::vector<Piece>& pieces) {
  BlockCutter cutter;
  std::vector<Piece> blocks;
  std::uint8_t value = 0;
  for (const auto& [time, frames] : pieces) {
    std::vector<std::uint8_t> samples(frames * format.bytesPerFrame(), ++value);
    cutter.add({time, format, samples});
    while (auto block = cutter.take(false))
      blocks.emplace_back(block->microseconds, block->frames());
  }
  while (auto block = cutter.take(true)) blocks.emplace_back(block->microseconds, block->frames());
  return blocks;
}

TEST(BlockCutter, CutsToTwentyMilliseconds) {
  const SoundFormat narrow{8000, 1};
  const SoundFormat wide{44100, 2};
  EXPECT_THAT(cut(narrow, {{0, 400}}),
              ElementsAre(Pair(0, 160), Pair(20'000, 160), Pair(40'000, 80)));
  EXPECT_THAT(cut(narrow, {{0, 100}, {12'500, 100}}), ElementsAre(Pair(0, 160), Pair(20'000, 40)));
  // Timestamps rounded by their container leave no mark.
  EXPECT_THAT(cut(wide, {{0, 1024}, {23'000, 1024}, {46'000, 598}}),
              ElementsAre(Pair(0, 882), Pair(20'000, 882), Pair(40'000, 882)));
  // A gap does.
  EXPECT_THAT(cut(narrow, {{0, 160}, {500'000, 160}}),
              ElementsAre(Pair(0, 160), Pair(500'000, 160)));
  EXPECT_THAT(cut({3, 1}, {{0, 2}}), ElementsAre(Pair(0, 1), Pair(333'333, 1)));
}

TEST(BlockCutter, KeepsFormatsApart) {
  BlockCutter cutter;
  std::vector<std::uint8_t> samples(64);
  cutter.add({0, {8000, 1}, samples});
  EXPECT_TRUE(cutter.accepts({8000, 1}));
  EXPECT_FALSE(cutter.accepts({8000, 2}));
  EXPECT_FALSE(cutter.take(false));
  ASSERT_TRUE(cutter.take(true));
  EXPECT_TRUE(cutter.accepts({8000, 2}));
  cutter.add({4'000, {8000, 2}, samples});
  const auto block = cutter.take(true);
  ASSERT_TRUE(block);
  EXPECT_EQ(block->microseconds, 4'000);
  EXPECT_EQ(block->frames(), 16U);
}

TEST(MediaClock, RunsOnlyWhilePlayingAndDoesNotDrift) {
  platform::ManualClock wall;
  MediaClock clock(wall);
  clock.set(2'000'000);
  wall.advance(std::chrono::seconds(5));
  EXPECT_EQ(clock.now(), 2'000'000);
  clock.start();
  wall.advance(std::chrono::milliseconds(250));
  EXPECT_EQ(clock.now(), 2'250'000);
  EXPECT_EQ(clock.due(2'500'000) - wall.now(), std::chrono::milliseconds(250));
  clock.start();  // runs already
  EXPECT_EQ(clock.now(), 2'250'000);
  clock.stop();
  wall.advance(std::chrono::seconds(1));
  EXPECT_EQ(clock.now(), 2'250'000);
  clock.start();
  EXPECT_EQ(clock.due(2'250'000), wall.now());
  clock.set(0);
  EXPECT_FALSE(clock.running());
  EXPECT_EQ(clock.now(), 0);
}

}  // namespace

}  // namespace avcapture
