#include "avcapture/FramePool.h"

#include <new>
#include <utility>
#include <vector>

#include "platform/Mutex.h"

namespace avcapture {

namespace {

// The scaler's vectors may write this far behind the last row.
constexpr std::size_t kSpareBytes = 64;
constexpr std::align_val_t kAlignment{64};
// More than are ever on their way at a time are not kept.
constexpr std::size_t kMostKept = 4;

struct FreePixels {
  void operator()(std::uint8_t* pixels) const { ::operator delete(pixels, kAlignment); }
};
using Pixels = std::unique_ptr<std::uint8_t, FreePixels>;

Pixels allocatePixels(std::size_t bytes) {
  return Pixels(static_cast<std::uint8_t*>(::operator new(bytes + kSpareBytes, kAlignment)));
}

}  // namespace

struct FramePool::Store {
  // Buffers of `bytes` each; those of another size are dropped.
  Pixels take(std::size_t wanted) EXCLUDES(mutex) {
    {
      const platform::Lock lock(mutex);
      if (wanted != bytes) kept.clear();
      bytes = wanted;
      if (!kept.empty()) {
        Pixels pixels = std::move(kept.back());
        kept.pop_back();
        return pixels;
      }
    }
    return allocatePixels(wanted);
  }
  void giveBack(Pixels pixels, std::size_t size) EXCLUDES(mutex) {
    const platform::Lock lock(mutex);
    if (size == bytes && kept.size() < kMostKept) kept.push_back(std::move(pixels));
  }

  Store() { kept.reserve(kMostKept); }

  platform::Mutex mutex;
  std::size_t bytes GUARDED_BY(mutex) = 0;
  std::vector<Pixels> kept GUARDED_BY(mutex);
};

FramePool::FramePool() : store_(std::make_shared<Store>()) {}

std::shared_ptr<Picture> FramePool::take(std::uint32_t width, std::uint32_t height) {
  const std::uint32_t row = (width * 3 + 3) & ~3U;
  const std::size_t bytes = std::size_t{row} * height;
  Pixels pixels = store_->take(bytes);
  auto picture = std::make_unique<Picture>();
  picture->pixels = pixels.release();
  picture->image = {.width = width,
                    .height = height,
                    .bytesPerRow = row,
                    .pixels = picture->pixels,
                    .storage = nullptr};
  auto giveBack = [store = std::weak_ptr(store_), bytes](Picture* used) {
    Pixels back(used->pixels);
    delete used;
    if (const auto alive = store.lock()) alive->giveBack(std::move(back), bytes);
  };
  return {picture.release(), std::move(giveBack)};
}

}  // namespace avcapture
