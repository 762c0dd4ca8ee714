#include "meeting/SampleStatistics.h"

#include <chrono>
#include <utility>

namespace meeting {

namespace {

platform::Duration magnitude(platform::Duration duration) {
  return duration < platform::Duration{0} ? -duration : duration;
}

Percentiles percentiles(const DurationHistogram& histogram) {
  return {histogram.percentileMs(0.50), histogram.percentileMs(0.95), histogram.percentileMs(0.99)};
}

}  // namespace

SampleStatistics::SampleStatistics(std::shared_ptr<const platform::Clock> clock)
    : clock_(std::move(clock)), origin_(clock_->now()) {}

void SampleStatistics::playPressed() {
  const platform::Lock lock(mutex_);
  pressed_ = clock_->now();
}

void SampleStatistics::restartTiming() {
  const platform::Lock lock(mutex_);
  baseline_.reset();
  audioLateness_.reset();
}

void SampleStatistics::video(const VideoSample& sample) {
  const platform::Lock lock(mutex_);
  if (sample.still) {
    ++counts_.stills;
    return;
  }
  ++counts_.frames;
  const platform::Duration late = lateness(sample.timestampMs);
  if (!std::exchange(pictures_, true)) {
    // Sound may have come first and set the baseline.
    pacing_.clear();
    baseline_.reset();
  }
  if (!baseline_) baseline_ = late;
  pacing_.add(magnitude(late - *baseline_));
  if (audioLateness_) skew_.add(magnitude(*audioLateness_ - late));
}

void SampleStatistics::audio(const AudioSample& sample) {
  const platform::Lock lock(mutex_);
  ++counts_.audioBlocks;
  counts_.audioBytes += sample.bytes;
  audioLateness_ = lateness(sample.timestampMs);
  if (pictures_) return;
  if (!baseline_) baseline_ = audioLateness_;
  pacing_.add(magnitude(*audioLateness_ - *baseline_));
}

void SampleStatistics::malformed() {
  const platform::Lock lock(mutex_);
  ++counts_.malformed;
}

SampleSummary SampleStatistics::summary() const {
  const platform::Lock lock(mutex_);
  SampleSummary summary = counts_;
  summary.pacing = percentiles(pacing_);
  summary.avSkew = percentiles(skew_);
  return summary;
}

platform::Duration SampleStatistics::lateness(std::uint64_t timestampMs) {
  const platform::TimePoint now = clock_->now();
  noteFirstSample(now);
  return now - origin_ - std::chrono::milliseconds(timestampMs);
}

void SampleStatistics::noteFirstSample(platform::TimePoint now) {
  if (counts_.firstFrameMs || !pressed_) return;
  counts_.firstFrameMs = std::chrono::duration<double, std::milli>(now - *pressed_).count();
}

}  // namespace meeting
