// Reusable buffers of converted pictures.
//
// A picture goes back to the pool when its last holder lets it go, on whatever thread that is; a
// pool that has ended by then frees it. [any-thread]
#pragma once

#include <cstdint>
#include <memory>

#include "platform/View.h"

namespace avcapture {

// 24-bit R, G, B with rows padded to a multiple of 4 bytes, writable until it is handed on.
struct Picture {
  platform::Image image;
  std::uint8_t* pixels = nullptr;  // image.pixels, writable
  std::int64_t microseconds = 0;   // movie time
  std::int64_t duration = 0;       // microseconds; 0 when unknown
  std::uint32_t milliseconds = 0;  // movie time
};

class BufferPool;

class FramePool {
 public:
  FramePool();
  // A picture of that size, contents undefined. Throws std::bad_alloc.
  std::shared_ptr<Picture> take(std::uint32_t width, std::uint32_t height);

 private:
  std::shared_ptr<BufferPool> store_;
};

}  // namespace avcapture
