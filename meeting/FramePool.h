// Pictures on their way to attendees: made once, shared by all who show them, reused. How many
// there are is bounded by those who hold them, an attendee a few; those that nobody holds are as
// large as the latest picture needs, and not more than the latest few needed. [any-thread]
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "meeting/MultimediaPlatform.h"
#include "platform/Mutex.h"

namespace meeting {

struct FramePoolCore;

struct Frame;
struct Rendition;

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
  const Frame& operator*() const { return *frame_; }

 private:
  friend class FramePool;
  explicit FrameRef(Frame* frame) : frame_(frame) {}
  Frame* frame_ = nullptr;
};

// A picture, immutable once it has been made.
struct Frame {
  std::uint64_t timestampMs = 0;
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::uint32_t bytesPerRow = 0;
  std::unique_ptr<std::uint8_t[]> pixels;  // height * bytesPerRow bytes, and some to spare

  // This picture at another size: made by who asks first, while others who want that size wait, and
  // shared with them.
  FrameRef rendition(std::uint32_t wide, std::uint32_t high,
                     const std::function<FrameRef()>& make) const EXCLUDES(renditionsMutex_);

 private:
  friend class FrameRef;
  friend class FramePool;
  friend struct FramePoolCore;
  std::shared_ptr<Rendition> renditionOf(std::uint32_t wide, std::uint32_t high) const
      EXCLUDES(renditionsMutex_);

  std::size_t room_ = 0;  // bytes
  std::atomic<int> references_{0};
  std::shared_ptr<FramePoolCore> home_;  // set while in use
  mutable platform::Mutex renditionsMutex_;
  // The oldest first.
  mutable std::vector<std::shared_ptr<Rendition>> renditions_ GUARDED_BY(renditionsMutex_);
};

// A picture at another size.
struct Rendition {
  Rendition(std::uint32_t wide, std::uint32_t high) : width(wide), height(high) {}

  const std::uint32_t width, height;
  platform::Mutex mutex;  // of who makes it
  FrameRef frame GUARDED_BY(mutex);
};

// What a pool has made that still exists.
struct FramePoolStatistics {
  std::size_t frames = 0;
  std::size_t most = 0;   // frames at a time
  std::size_t bytes = 0;  // that the frames have room for
};

class FramePool {
 public:
  struct Shape {
    std::uint32_t width, height, bytesPerRow;
  };

  FramePool();  // frames may outlive it

  // A frame whose pixels `fill` has written. Throws std::bad_alloc.
  FrameRef make(std::uint64_t timestampMs, const Shape& shape,
                const std::function<void(std::uint8_t*)>& fill);
  FrameRef copyOf(const VideoSample& sample);
  FramePoolStatistics statistics() const;

 private:
  std::shared_ptr<FramePoolCore> core_;
};

}  // namespace meeting
