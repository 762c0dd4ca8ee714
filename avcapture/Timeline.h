// Movie time, and the timestamps of containers in other units.
#pragma once

#include <cstdint>
#include <limits>

#include "avcapture/Ffmpeg.h"

namespace avcapture {

// The latest movie time, 24.8 days: the last whole second that hosts can be told in milliseconds of
// 32 bits with a sign.
inline constexpr std::int64_t kMostMicroseconds =
    std::int64_t{std::numeric_limits<std::int32_t>::max() / 1000} * kMicrosecondsPerSecond;

// Movie time of a stream's timestamps: 0 where the container starts.
struct Timeline {
  AVRational base{1, 1};
  std::int64_t start = 0;  // in `base`

  // Kept within the latest movie time: what lies beyond is damage.
  std::int64_t microseconds(std::int64_t pts) const;
  // Of a length of time.
  std::int64_t duration(std::int64_t units) const;
  // The same, rounded to the nearest; what lies before the start counts as 0.
  std::uint32_t milliseconds(std::int64_t pts) const;
};

// FFmpeg answers the least number where the true one is too large; this answers the greatest.
std::int64_t rescaled(std::int64_t value, AVRational from, AVRational to);

}  // namespace avcapture
