#include "avcapture/Timeline.h"

#include <algorithm>

namespace avcapture {

std::int64_t rescaled(std::int64_t value, AVRational from, AVRational to) {
  const std::int64_t result = av_rescale_q(value, from, to);
  const bool overflowed = result == std::numeric_limits<std::int64_t>::min() && value > 0;
  return overflowed ? std::numeric_limits<std::int64_t>::max() : result;
}

std::int64_t Timeline::microseconds(std::int64_t pts) const {
  const std::int64_t value = rescaled(av_sat_sub64(pts, start), base, kMicroseconds);
  return std::clamp(value, -kMostMicroseconds, kMostMicroseconds);
}

std::int64_t Timeline::duration(std::int64_t units) const {
  return std::clamp<std::int64_t>(rescaled(units, base, kMicroseconds), 0, kMostMicroseconds);
}

std::uint32_t Timeline::milliseconds(std::int64_t pts) const {
  const std::int64_t value = rescaled(av_sat_sub64(pts, start), base, kMilliseconds);
  return static_cast<std::uint32_t>(std::clamp<std::int64_t>(value, 0, kMostMicroseconds / 1000));
}

}  // namespace avcapture
