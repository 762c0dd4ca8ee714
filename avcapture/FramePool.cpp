#include "avcapture/FramePool.h"

#include <utility>

#include "avcapture/BufferPool.h"

namespace avcapture {

namespace {

// The scaler's vectors may write this far behind the last row.
constexpr std::size_t kSpareBytes = 64;

}  // namespace

FramePool::FramePool() : store_(std::make_shared<BufferPool>()) {}

std::shared_ptr<Picture> FramePool::take(std::uint32_t width, std::uint32_t height) {
  const std::uint32_t row = (width * 3 + 3) & ~3U;
  const std::size_t bytes = std::size_t{row} * height + kSpareBytes;
  auto picture = std::make_unique<Picture>();
  picture->pixels = store_->take(bytes).release();
  picture->image = {.width = width,
                    .height = height,
                    .bytesPerRow = row,
                    .pixels = picture->pixels,
                    .storage = nullptr};
  auto giveBack = [store = std::weak_ptr(store_), bytes](Picture* used) {
    BufferPool::Buffer pixels(used->pixels);
    delete used;
    if (const auto alive = store.lock()) alive->giveBack(std::move(pixels), bytes);
  };
  return {picture.release(), std::move(giveBack)};
}

}  // namespace avcapture
