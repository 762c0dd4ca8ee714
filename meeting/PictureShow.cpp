#include "meeting/PictureShow.h"

#include <sys/resource.h>
#include <unistd.h>

#include <new>
#include <utility>

namespace meeting {

namespace {

// Behind the presenter's threads, which must be in time: pictures that are not drawn are replaced.
constexpr int kNiceness = 5;

// A picture that keeps its pooled frame until nobody shows it any more.
std::shared_ptr<const platform::Image> imageOf(const FrameRef& frame) {
  auto image = std::make_shared<platform::Image>();
  image->width = frame->width;
  image->height = frame->height;
  image->bytesPerRow = frame->bytesPerRow;
  image->pixels = frame->pixels.get();
  image->storage = std::make_shared<const FrameRef>(frame);
  return image;
}

PixelSize sizeOf(const FrameRef& frame) { return {frame->width, frame->height}; }

}  // namespace

PictureShow::PictureShow() {
  worker_ = std::thread([this] { work(); });
}

PictureShow::~PictureShow() {
  {
    const platform::Lock lock(mutex_);
    ending_ = true;
  }
  wake_.notifyOne();
  worker_.join();
}

void PictureShow::offer(const FrameRef& frame) {
  FrameRef replaced = frame;  // ends outside of the lock
  {
    const platform::Lock lock(mutex_);
    std::swap(slot_, replaced);
    if (replaced) ++counts_.lost;
    if (!isDrawn() && !isResting()) {
      // Nothing to do on another thread.
      take();
      ++counts_.received;
      return;
    }
  }
  wake_.notifyOne();
}

void PictureShow::showIn(std::shared_ptr<platform::View> view) {
  std::unique_ptr<RenderTarget> target;
  if (view) {
    target = std::make_unique<RenderTarget>(std::move(view), [this](PixelSize size) {
      const platform::Lock lock(mutex_);
      targetSize_ = size;
      redraw();
    });
  }
  const platform::Lock showing(showing_);
  const platform::Lock lock(mutex_);
  targetSize_ = target ? target->size() : PixelSize{};
  std::swap(target_, target);
  redraw();
}

void PictureShow::setWatched(bool watched) {
  const platform::Lock lock(mutex_);
  watched_ = watched;
  redraw();
}

void PictureShow::setDelay(platform::Duration perPicture) {
  {
    const platform::Lock lock(mutex_);
    delay_ = perPicture;
  }
  wake_.notifyOne();
}

void PictureShow::clear() {
  const platform::Lock lock(mutex_);
  slot_ = FrameRef();
  current_ = FrameRef();
}

PictureShow::Counts PictureShow::counts() const {
  const platform::Lock lock(mutex_);
  return counts_;
}

void PictureShow::redraw() {
  outdated_ = true;
  wake_.notifyOne();
}

bool PictureShow::isResting() const { return std::chrono::steady_clock::now() < takenAt_ + delay_; }

bool PictureShow::isDrawn() const { return watched_ && target_; }

void PictureShow::take() {
  current_ = std::exchange(slot_, FrameRef());
  takenAt_ = std::chrono::steady_clock::now();
  counts_.size = sizeOf(current_);
}

// False at the end.
bool PictureShow::waitForWork() {
  while (!ending_ && !outdated_ && (!slot_ || isResting())) {
    if (slot_)
      wake_.waitUntil(mutex_, takenAt_ + delay_);
    else
      wake_.wait(mutex_);
  }
  return !ending_;
}

void PictureShow::work() {
  // Of this thread alone, as Linux takes it.
  setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), kNiceness);
  const platform::Lock lock(mutex_);
  while (waitForWork()) {
    outdated_ = false;
    const bool takes = slot_ && !isResting();
    if (takes) take();
    tryDraw();
    if (takes) ++counts_.received;
  }
}

void PictureShow::tryDraw() {
  try {
    draw();
  } catch (const std::bad_alloc&) {
    // No memory for this one: the next one, or another size, may fit.
  }
}

// Where the picture no longer belongs when it has been scaled, it is not shown.
void PictureShow::draw() {
  if (!isDrawn() || !current_) return;
  const FrameRef frame = current_;
  const PixelSize bounds = targetSize_;
  RenderTarget* const target = target_.get();
  const platform::Unlocked unlocked(mutex_);
  const FrameRef scaled = scaler_.scaled(frame, fitted(sizeOf(frame), bounds));
  if (!scaled) return;
  auto image = imageOf(scaled);
  const platform::Lock showing(showing_);
  if (isTarget(target)) target->show(std::move(image));
}

bool PictureShow::isTarget(const RenderTarget* target) const {
  const platform::Lock lock(mutex_);
  return target_.get() == target;
}

}  // namespace meeting
