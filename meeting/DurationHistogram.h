// Counts durations in equal steps: fixed memory, nothing is allocated while counting. Not
// synchronised.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "platform/Clock.h"

namespace meeting {

class DurationHistogram {
 public:
  DurationHistogram();
  void add(platform::Duration duration);  // negative ones count as 0
  void clear();
  // Milliseconds below which `fraction` (0 to 1) of the durations lie; nothing when there are none.
  std::optional<double> percentileMs(double fraction) const;

 private:
  std::vector<std::uint32_t> steps_;
  std::uint64_t count_ = 0;
  platform::Duration longest_{0};
};

}  // namespace meeting
