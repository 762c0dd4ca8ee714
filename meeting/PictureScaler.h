// Brings pictures to the size at which they are shown.
#pragma once

#include <cstdint>
#include <memory>

#include "meeting/FramePool.h"

struct SwsContext;

namespace meeting {

struct PixelSize {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  friend bool operator==(const PixelSize&, const PixelSize&) = default;
};

// The largest size of the picture's aspect that fits into the bounds, at least a pixel each way;
// empty when one of both is empty. [any-thread]
PixelSize fitted(const PixelSize& picture, const PixelSize& bounds);

// One thread at a time; what it makes goes to any.
class PictureScaler {
 public:
  // The picture itself when it has that size, otherwise a copy at that size, shared with all who
  // show this picture at it. Nothing when the size is empty or beyond what can be scaled.
  FrameRef scaled(const FrameRef& picture, const PixelSize& size);

 private:
  FrameRef makeScaled(const Frame& picture, const PixelSize& size);

  struct Free {
    void operator()(SwsContext* context) const;
  };
  std::unique_ptr<SwsContext, Free> context_;
  FramePool pool_;
};

}  // namespace meeting
