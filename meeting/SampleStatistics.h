// Counts and times the samples that the presenter's channel receives. [any-thread]
#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "meeting/DurationHistogram.h"
#include "meeting/MultimediaPlatform.h"
#include "platform/Clock.h"
#include "platform/Mutex.h"

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
  void playPressed() EXCLUDES(mutex_);
  // Playing starts or goes on somewhere else: what follows is timed against its first sample.
  void restartTiming() EXCLUDES(mutex_);
  void video(const VideoSample& sample) EXCLUDES(mutex_);
  void audio(const AudioSample& sample) EXCLUDES(mutex_);
  void malformed() EXCLUDES(mutex_);

  SampleSummary summary() const EXCLUDES(mutex_);

 private:
  // How late the sample is against its own timestamp, from an origin that never changes.
  platform::Duration lateness(std::uint64_t timestampMs) REQUIRES(mutex_);
  void noteFirstSample(platform::TimePoint now) REQUIRES(mutex_);

  const std::shared_ptr<const platform::Clock> clock_;
  const platform::TimePoint origin_;
  mutable platform::Mutex mutex_;
  SampleSummary counts_ GUARDED_BY(mutex_);  // everything but the percentiles
  std::optional<platform::TimePoint> pressed_ GUARDED_BY(mutex_);
  std::optional<platform::Duration> baseline_ GUARDED_BY(mutex_);       // lateness taken as exact
  std::optional<platform::Duration> audioLateness_ GUARDED_BY(mutex_);  // of the latest block
  bool pictures_ GUARDED_BY(mutex_) = false;  // timing is by these, or by sound when there are none
  DurationHistogram pacing_ GUARDED_BY(mutex_);
  DurationHistogram skew_ GUARDED_BY(mutex_);
};

}  // namespace meeting
