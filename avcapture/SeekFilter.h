// Finds the picture that shows at a seek's target: the last one that does not begin after it.
// Not synchronised.
#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>
#include <utility>

#include "avcapture/Ffmpeg.h"

namespace avcapture {

// A decoded picture and its movie time.
struct DecodedFrame {
  FramePtr frame;
  std::int64_t microseconds = 0;
};

class SeekFilter {
 public:
  // A target of 0 lets everything through, also what begins before it.
  void restart(std::int64_t target) {
    passing_ = target <= 0;
    target_ = target;
    latest_ = std::numeric_limits<std::int64_t>::min();
    complete_ = false;
    held_ = {};
  }
  // Of each packet, in decoding order, the time of its picture and the time when it is decoded:
  // whether the picture is certainly not shown, because one between it and the target was there
  // before. No later packet's picture precedes the time of decoding, except in files that are
  // wrong about it; where one does, nothing is taken from it any more.
  bool passesOver(std::int64_t microseconds, std::int64_t decoded) {
    inOrder_ = inOrder_ && microseconds >= decoded;
    complete_ = complete_ || (inOrder_ && decoded > target_);
    if (passing_ || microseconds > target_) return false;
    latest_ = std::max(latest_, microseconds);
    return microseconds < latest_;
  }
  // Hands what is to be shown of the frames so far to `out`, in order; stops when that answers
  // false.
  template <class Out>
  bool push(DecodedFrame next, Out&& out) {
    const bool isLatest = complete_ && next.microseconds == latest_;
    if (!passing_ && !isLatest && next.microseconds < target_) {
      held_ = std::move(next);
      return true;
    }
    passing_ = true;
    DecodedFrame held = std::exchange(held_, {});
    if (held.frame && next.microseconds > target_ && !out(std::move(held))) return false;
    return out(std::move(next));
  }
  // The movie ended: it has nothing later than what is held.
  template <class Out>
  bool finish(Out&& out) {
    passing_ = true;
    return !held_.frame || out(std::exchange(held_, {}));
  }

 private:
  std::int64_t target_ = 0;
  bool passing_ = true;
  std::int64_t latest_ = 0;  // that may show at the target, of the packets so far
  bool inOrder_ = true;      // no picture is decoded after its time
  bool complete_ = false;    // all packets have come whose pictures may show at the target
  DecodedFrame held_;
};

}  // namespace avcapture
