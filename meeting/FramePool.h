// Pictures on their way to attendees: copied once, shared by all of them, reused. How many there
// are is bounded by those who hold them, an attendee a few; nothing is allocated once each has been
// used at the stream's size. [any-thread]
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "meeting/MultimediaPlatform.h"

namespace meeting {

struct FramePoolCore;

// Immutable while more than one reference exists.
struct Frame {
  std::uint64_t timestampMs = 0;
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::uint32_t bytesPerRow = 0;
  std::vector<std::uint8_t> pixels;

 private:
  friend class FrameRef;
  friend class FramePool;
  std::atomic<int> references_{0};
  std::shared_ptr<FramePoolCore> home_;  // set while in use
};

// A counted reference; the last one gives the frame back to its pool.
class FrameRef {
 public:
  FrameRef() = default;
  FrameRef(const FrameRef& other) noexcept;
  FrameRef(FrameRef&& other) noexcept : frame_(std::exchange(other.frame_, nullptr)) {}
  FrameRef& operator=(FrameRef other) noexcept {
    std::swap(frame_, other.frame_);
    return *this;
  }
  ~FrameRef();

  explicit operator bool() const { return frame_ != nullptr; }
  const Frame* operator->() const { return frame_; }

 private:
  friend class FramePool;
  explicit FrameRef(Frame* frame) : frame_(frame) {}
  Frame* frame_ = nullptr;
};

class FramePool {
 public:
  FramePool();  // frames may outlive it

  // A copy of the picture.
  FrameRef copyOf(const VideoSample& sample);

 private:
  std::shared_ptr<FramePoolCore> core_;
};

}  // namespace meeting
