#include "meeting/FramePool.h"

#include <algorithm>
#include <cstring>

namespace meeting {

namespace {
// Scalers read, and write, in whole vectors: room behind the last row.
constexpr std::size_t kSpareBytes = 64;
// Kept for the pictures to come; more than that were needed for a moment only.
constexpr std::size_t kMaxIdle = 4;
// A still may be shown at many sizes one after the other.
constexpr std::size_t kMaxRenditions = 4;
}  // namespace

struct FramePoolCore {
  std::mutex mutex;
  // Guarded by mutex:
  std::vector<std::unique_ptr<Frame>> idle;
  FramePoolStatistics statistics;

  FramePoolCore() { idle.reserve(kMaxIdle); }

  std::unique_ptr<Frame> take() {
    const std::lock_guard lock(mutex);
    if (!idle.empty()) {
      auto frame = std::move(idle.back());
      idle.pop_back();
      return frame;
    }
    ++statistics.frames;
    statistics.most = std::max(statistics.most, statistics.frames);
    return std::make_unique<Frame>();
  }

  void giveBack(std::unique_ptr<Frame> frame) {
    const std::lock_guard lock(mutex);
    if (idle.size() < kMaxIdle)
      idle.push_back(std::move(frame));
    else
      --statistics.frames;
  }
};

FrameRef::FrameRef(const FrameRef& other) noexcept : frame_(other.frame_) {
  if (frame_ != nullptr) frame_->references_.fetch_add(1, std::memory_order_relaxed);
}

FrameRef::~FrameRef() {
  if (frame_ == nullptr || frame_->references_.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
  frame_->renditions_.clear();
  const auto home = std::move(frame_->home_);
  home->giveBack(std::unique_ptr<Frame>(frame_));
}

FrameRef Frame::rendition(std::uint32_t wide, std::uint32_t high,
                          const std::function<FrameRef()>& make) const {
  const std::lock_guard lock(renditionsMutex_);
  for (const FrameRef& made : renditions_)
    if (made->width == wide && made->height == high) return made;
  FrameRef made = make();
  if (!made) return made;
  if (renditions_.size() == kMaxRenditions) renditions_.erase(renditions_.begin());
  renditions_.push_back(made);
  return made;
}

FramePool::FramePool() : core_(std::make_shared<FramePoolCore>()) {}

FrameRef FramePool::make(std::uint64_t timestampMs, const Shape& shape,
                         const std::function<void(std::uint8_t*)>& fill) {
  auto frame = core_->take();
  const std::size_t room = std::size_t{shape.bytesPerRow} * shape.height + kSpareBytes;
  if (frame->room_ < room) {
    frame->pixels = std::make_unique_for_overwrite<std::uint8_t[]>(room);
    frame->room_ = room;
  }
  fill(frame->pixels.get());
  frame->timestampMs = timestampMs;
  frame->width = shape.width;
  frame->height = shape.height;
  frame->bytesPerRow = shape.bytesPerRow;
  frame->home_ = core_;
  frame->references_.store(1, std::memory_order_relaxed);
  return FrameRef(frame.release());
}

FrameRef FramePool::copyOf(const VideoSample& sample) {
  return make(sample.timestampMs, {sample.width, sample.height, sample.bytesPerRow},
              [&sample](std::uint8_t* pixels) {
                std::memcpy(pixels, sample.pixels, std::size_t{sample.bytesPerRow} * sample.height);
              });
}

FramePoolStatistics FramePool::statistics() const {
  const std::lock_guard lock(core_->mutex);
  return core_->statistics;
}

}  // namespace meeting
