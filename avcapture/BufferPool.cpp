#include "avcapture/BufferPool.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

namespace avcapture {

namespace {

// More than decoders hold at a time: 16 pictures that others refer to, and one for each thread.
constexpr std::size_t kMostIdle = 32;
// A second or two of pictures.
constexpr int kTakesBetweenLooks = 32;

}  // namespace

void BufferPool::Free::operator()(std::uint8_t* buffer) const {
  ::operator delete (buffer, std::align_val_t{kAlignment});
}

BufferPool::BufferPool() { idle_.reserve(kMostIdle); }

BufferPool::Buffer BufferPool::take(std::size_t bytes) {
  {
    const platform::Lock lock(mutex_);
    if (std::exchange(bytes_, bytes) != bytes) {
      idle_.clear();
      spare_ = 0;
    }
    Buffer buffer;
    if (!idle_.empty()) {
      buffer = std::move(idle_.back());
      idle_.pop_back();
    }
    spare_ = std::min(spare_, idle_.size());
    if (++takes_ >= kTakesBetweenLooks) look();
    if (buffer) return buffer;
  }
  // Damaged pictures are not drawn whole, and show what was there.
  void* const fresh = ::operator new (bytes, std::align_val_t{kAlignment});
  return Buffer(static_cast<std::uint8_t*>(std::memset(fresh, 0, bytes)));
}

void BufferPool::giveBack(Buffer buffer, std::size_t bytes) noexcept {
  const platform::Lock lock(mutex_);
  if (bytes == bytes_ && idle_.size() < kMostIdle) idle_.push_back(std::move(buffer));
}

std::size_t BufferPool::idle() const {
  const platform::Lock lock(mutex_);
  return idle_.size();
}

// Lets go of those that have been idle longest.
void BufferPool::look() {
  idle_.erase(idle_.begin(), idle_.begin() + static_cast<std::ptrdiff_t>(spare_));
  spare_ = idle_.size();
  takes_ = 0;
}

}  // namespace avcapture
