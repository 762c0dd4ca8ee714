#include <gtest/gtest.h>

#include <chrono>
#include <memory>

#include "meeting/DurationHistogram.h"
#include "meeting/SampleStatistics.h"

namespace meeting {
namespace {

using std::chrono_literals::operator""ms;
using std::chrono_literals::operator""s;

VideoSample picture(std::uint64_t timestampMs, bool still = false) {
  return {timestampMs, still, 2, 2, 8, nullptr};
}

AudioSample block(std::uint64_t timestampMs) { return {timestampMs, nullptr, 1000}; }

class StatisticsTest : public testing::Test {
 protected:
  void videoAt(platform::Duration step, std::uint64_t timestampMs) {
    clock_->advance(step);
    statistics_.video(picture(timestampMs));
  }
  void audioAt(platform::Duration step, std::uint64_t timestampMs) {
    clock_->advance(step);
    statistics_.audio(block(timestampMs));
  }

  std::shared_ptr<platform::ManualClock> clock_ = std::make_shared<platform::ManualClock>();
  SampleStatistics statistics_{clock_};
};

TEST(DurationHistogramTest, PercentilesCoverStepsOverflowAndNothing) {
  DurationHistogram histogram;
  EXPECT_FALSE(histogram.percentileMs(0.5));
  for (int i = 0; i < 98; ++i) histogram.add(1ms);
  histogram.add(-5ms);
  histogram.add(3s);
  EXPECT_NEAR(*histogram.percentileMs(0.50), 1.0, 0.051);
  EXPECT_NEAR(*histogram.percentileMs(0.01), 0.0, 0.051);
  EXPECT_NEAR(*histogram.percentileMs(0.99), 1.0, 0.051);
  EXPECT_DOUBLE_EQ(*histogram.percentileMs(1.0), 3000.0);
}

TEST_F(StatisticsTest, PacingIsMeasuredAgainstTheFirstPicture) {
  statistics_.playPressed();
  videoAt(7ms, 0);
  videoAt(40ms, 40);
  videoAt(45ms, 80);   // 5 ms late
  videoAt(31ms, 120);  // 4 ms early
  const SampleSummary summary = statistics_.summary();
  EXPECT_DOUBLE_EQ(*summary.firstFrameMs, 7.0);
  EXPECT_EQ(summary.frames, 4U);
  EXPECT_NEAR(*summary.pacing.p99, 5.0, 0.051);
  EXPECT_FALSE(summary.avSkew.p50);
}

TEST_F(StatisticsTest, APauseIsNotLateness) {
  videoAt(0ms, 0);
  videoAt(40ms, 40);
  statistics_.restartTiming();
  videoAt(10s, 80);
  videoAt(40ms, 120);
  EXPECT_NEAR(*statistics_.summary().pacing.p99, 0.0, 0.051);
}

TEST_F(StatisticsTest, SkewComparesLatenessOfSoundAndPicture) {
  audioAt(0ms, 0);
  videoAt(3ms, 0);
  audioAt(17ms, 20);
  videoAt(25ms, 40);  // 5 ms late against the sound's 0
  const SampleSummary summary = statistics_.summary();
  EXPECT_EQ(summary.audioBytes, 2000U);
  EXPECT_NEAR(*summary.avSkew.p50, 3.0, 0.051);
  EXPECT_NEAR(*summary.avSkew.p99, 5.0, 0.051);
  EXPECT_NEAR(*summary.pacing.p99, 2.0, 0.051) << "against the first picture, not the first block";
}

TEST_F(StatisticsTest, StillsCountApartAndSoundAloneIsPacedToo) {
  statistics_.video(picture(0, true));
  audioAt(0ms, 0);
  audioAt(22ms, 20);
  const SampleSummary summary = statistics_.summary();
  EXPECT_EQ(summary.stills, 1U);
  EXPECT_EQ(summary.frames, 0U);
  EXPECT_NEAR(*summary.pacing.p99, 2.0, 0.051);
}

}  // namespace
}  // namespace meeting
