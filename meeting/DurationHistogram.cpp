#include "meeting/DurationHistogram.h"

#include <algorithm>
#include <chrono>
#include <cmath>

namespace meeting {

namespace {
constexpr std::chrono::microseconds kStep{50};
constexpr std::size_t kSteps = 20'000;  // up to a second; longer ones share the last step

double milliseconds(platform::Duration duration) {
  return std::chrono::duration<double, std::milli>(duration).count();
}
}  // namespace

DurationHistogram::DurationHistogram() : steps_(kSteps) {}

void DurationHistogram::add(platform::Duration duration) {
  duration = std::max(duration, platform::Duration{0});
  const auto step = static_cast<std::size_t>(duration / kStep);
  ++steps_[std::min(step, kSteps - 1)];
  ++count_;
  longest_ = std::max(longest_, duration);
}

void DurationHistogram::clear() {
  std::fill(steps_.begin(), steps_.end(), 0U);
  count_ = 0;
  longest_ = {};
}

std::optional<double> DurationHistogram::percentileMs(double fraction) const {
  if (count_ == 0) return std::nullopt;
  const auto wanted = std::max<std::uint64_t>(
      1, static_cast<std::uint64_t>(std::ceil(fraction * static_cast<double>(count_))));
  std::uint64_t seen = 0;
  for (std::size_t step = 0; step + 1 < kSteps; ++step) {
    seen += steps_[step];
    if (seen >= wanted)
      return std::min(milliseconds(kStep) * static_cast<double>(step + 1), milliseconds(longest_));
  }
  return milliseconds(longest_);
}

}  // namespace meeting
