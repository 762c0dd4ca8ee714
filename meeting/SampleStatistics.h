// Counts and times the samples that the presenter's channel receives. [any-thread]
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>

#include "meeting/DurationHistogram.h"
#include "meeting/MultimediaPlatform.h"
#include "platform/Clock.h"

namespace meeting {

struct Percentiles {
  std::optional<double> p50, p95, p99;  // milliseconds
};

struct SampleSummary {
  std::uint64_t frames = 0;
  std::uint64_t stills = 0;
  std::uint64_t audioBlocks = 0;
  std::uint64_t audioBytes = 0;
  std::uint64_t malformed = 0;
  std::optional<double> firstFrameMs;  // from the start of playing to the first sample
  Percentiles pacing;                  // |delivery - timestamp|, the first picture taken as exact
  Percentiles avSkew;                  // |lateness of sound - lateness of picture|
};

class SampleStatistics {
 public:
  explicit SampleStatistics(std::shared_ptr<const platform::Clock> clock);

  // The user presses play now.
  void playPressed();
  // Playing starts or goes on somewhere else: what follows is timed against its first sample.
  void restartTiming();
  void video(const VideoSample& sample);
  void audio(const AudioSample& sample);
  void malformed();

  SampleSummary summary() const;

 private:
  // How late the sample is against its own timestamp, from an origin that never changes.
  platform::Duration lateness(std::uint64_t timestampMs);
  void noteFirstSample(platform::TimePoint now);

  const std::shared_ptr<const platform::Clock> clock_;
  const platform::TimePoint origin_;
  mutable std::mutex mutex_;
  // Guarded by mutex_:
  SampleSummary counts_;  // everything but the percentiles
  std::optional<platform::TimePoint> pressed_;
  std::optional<platform::Duration> baseline_;       // lateness taken as exact
  std::optional<platform::Duration> audioLateness_;  // of the latest block
  bool pictures_ = false;  // timing is by pictures, or by sound when there are none
  DurationHistogram pacing_;
  DurationHistogram skew_;
};

}  // namespace meeting
