#include "meeting/FramePool.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace meeting {

namespace {
// Scalers read, and write, in whole vectors: room behind the last row.
constexpr std::size_t kSpareBytes = 64;
// Kept for the pictures to come; more than that were needed for a moment only.
constexpr std::size_t kMaxIdle = 4;
// Frames that so many pictures could do without are let go: a second of them, or two.
constexpr int kMakesBetweenLooks = 32;
// A still may be shown at many sizes one after the other.
constexpr std::size_t kMaxRenditions = 4;
}  // namespace

struct FramePoolCore {
  platform::Mutex mutex;
  std::vector<std::unique_ptr<Frame>> idle GUARDED_BY(mutex);  // the one used last is the last
  std::size_t needed GUARDED_BY(mutex) = 0;  // bytes, by the latest picture; of each that is idle
  std::size_t spare GUARDED_BY(mutex) = 0;   // of the idle ones, never needed since the last look
  int makes GUARDED_BY(mutex) = 0;           // since the last look
  FramePoolStatistics statistics GUARDED_BY(mutex);

  FramePoolCore() { idle.reserve(kMaxIdle); }

  // A frame that has the room already, or none at all.
  std::unique_ptr<Frame> take(std::size_t room) EXCLUDES(mutex) {
    const platform::Lock lock(mutex);
    if (std::exchange(needed, room) != room) drop(idle.size());
    std::unique_ptr<Frame> frame;
    if (idle.empty()) {
      frame = std::make_unique<Frame>();
      ++statistics.frames;
      statistics.most = std::max(statistics.most, statistics.frames);
    } else {
      frame = std::move(idle.back());
      idle.pop_back();
    }
    spare = std::min(spare, idle.size());
    if (++makes >= kMakesBetweenLooks) look();
    return frame;
  }

  // Without room for the pixels, throws and leaves the frame without any.
  void makeRoom(Frame& frame, std::size_t room) EXCLUDES(mutex) {
    if (frame.room_ == room) return;
    frame.pixels = std::make_unique_for_overwrite<std::uint8_t[]>(room);
    const platform::Lock lock(mutex);
    frame.room_ = room;
    statistics.bytes += room;
  }

  void giveBack(std::unique_ptr<Frame> frame) EXCLUDES(mutex) {
    const platform::Lock lock(mutex);
    if (frame->room_ == needed && idle.size() < kMaxIdle)
      idle.push_back(std::move(frame));
    else
      forget(*frame);
  }

 private:
  void look() REQUIRES(mutex) {
    drop(spare);
    spare = idle.size();
    makes = 0;
  }
  // Those that have been idle longest.
  void drop(std::size_t count) REQUIRES(mutex) {
    const auto end = idle.begin() + static_cast<std::ptrdiff_t>(count);
    std::for_each(idle.begin(), end, [this](const auto& frame) REQUIRES(mutex) { forget(*frame); });
    idle.erase(idle.begin(), end);
  }
  void forget(const Frame& frame) REQUIRES(mutex) {
    --statistics.frames;
    statistics.bytes -= frame.room_;
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
  const auto rendition = renditionOf(wide, high);
  const platform::Lock lock(rendition->mutex);
  if (!rendition->frame) rendition->frame = make();
  return rendition->frame;
}

std::shared_ptr<Rendition> Frame::renditionOf(std::uint32_t wide, std::uint32_t high) const {
  const platform::Lock lock(renditionsMutex_);
  for (const auto& known : renditions_)
    if (known->width == wide && known->height == high) return known;
  if (renditions_.size() == kMaxRenditions) renditions_.erase(renditions_.begin());
  renditions_.push_back(std::make_shared<Rendition>(wide, high));
  return renditions_.back();
}

FramePool::FramePool() : core_(std::make_shared<FramePoolCore>()) {}

FrameRef FramePool::make(std::uint64_t timestampMs, const Shape& shape,
                         const std::function<void(std::uint8_t*)>& fill) {
  const std::size_t room = std::size_t{shape.bytesPerRow} * shape.height + kSpareBytes;
  Frame* const frame = core_->take(room).release();
  frame->home_ = core_;
  frame->references_.store(1, std::memory_order_relaxed);
  FrameRef made(frame);  // goes back when something throws
  core_->makeRoom(*frame, room);
  fill(frame->pixels.get());
  frame->timestampMs = timestampMs;
  frame->width = shape.width;
  frame->height = shape.height;
  frame->bytesPerRow = shape.bytesPerRow;
  return made;
}

FrameRef FramePool::copyOf(const VideoSample& sample) {
  return make(sample.timestampMs, {sample.width, sample.height, sample.bytesPerRow},
              [&sample](std::uint8_t* pixels) {
                std::memcpy(pixels, sample.pixels, std::size_t{sample.bytesPerRow} * sample.height);
              });
}

FramePoolStatistics FramePool::statistics() const {
  const platform::Lock lock(core_->mutex);
  return core_->statistics;
}

}  // namespace meeting
