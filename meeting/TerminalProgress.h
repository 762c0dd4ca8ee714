// Progress on standard error: one line that is rewritten on a terminal, a line every two seconds
// anywhere else. [main-thread]
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "meeting/RateMeter.h"
#include "platform/Clock.h"

namespace meeting {

struct ProgressFigures {
  std::string state;
  std::uint64_t positionMs = 0;
  std::uint64_t durationMs = 0;
  std::uint64_t frames = 0;
  std::uint64_t audioBlocks = 0;
  std::uint64_t dropped = 0;
};

class TerminalProgress {
 public:
  // A quiet one writes nothing.
  explicit TerminalProgress(bool quiet);

  // Cheap; writes only when a line is due.
  void update(const ProgressFigures& figures);
  // Takes the live line away, so that other text can follow.
  void finish();

  // Whether a line on that stream may be rewritten: a terminal that can.
  static bool mayRewrite(int descriptor);
  // Whether text on that stream may be decorated: a terminal, and NO_COLOR is not set.
  static bool mayDecorate(int descriptor);

 private:
  void show(const std::string& line);

  const bool quiet_;
  const bool live_;  // rewrites its line
  platform::SteadyClock clock_;
  platform::TimePoint next_;
  RateMeter rate_;
  bool shown_ = false;
};

}  // namespace meeting
