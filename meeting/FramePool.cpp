#include "meeting/FramePool.h"

#include <cstring>
#include <mutex>

namespace meeting {

namespace {
// Scalers read, and write, in whole vectors: room behind the last row.
constexpr std::size_t kSpareBytes = 64;
}  // namespace

struct FramePoolCore {
  std::mutex mutex;
  // Guarded by mutex:
  std::vector<std::unique_ptr<Frame>> idle;

  std::unique_ptr<Frame> take() {
    const std::lock_guard lock(mutex);
    if (!idle.empty()) {
      auto frame = std::move(idle.back());
      idle.pop_back();
      return frame;
    }
    return std::make_unique<Frame>();
  }

  void giveBack(std::unique_ptr<Frame> frame) {
    const std::lock_guard lock(mutex);
    idle.push_back(std::move(frame));
  }
};

FrameRef::FrameRef(const FrameRef& other) noexcept : frame_(other.frame_) {
  if (frame_ != nullptr) frame_->references_.fetch_add(1, std::memory_order_relaxed);
}

FrameRef::~FrameRef() {
  if (frame_ == nullptr || frame_->references_.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
  const auto home = std::move(frame_->home_);
  home->giveBack(std::unique_ptr<Frame>(frame_));
}

FramePool::FramePool() : core_(std::make_shared<FramePoolCore>()) {}

FrameRef FramePool::copyOf(const VideoSample& sample) {
  auto frame = core_->take();
  const std::size_t bytes = std::size_t{sample.bytesPerRow} * sample.height;
  if (frame->pixels.size() < bytes + kSpareBytes) frame->pixels.resize(bytes + kSpareBytes);
  std::memcpy(frame->pixels.data(), sample.pixels, bytes);
  frame->timestampMs = sample.timestampMs;
  frame->width = sample.width;
  frame->height = sample.height;
  frame->bytesPerRow = sample.bytesPerRow;
  frame->home_ = core_;
  frame->references_.store(1, std::memory_order_relaxed);
  return FrameRef(frame.release());
}

}  // namespace meeting
