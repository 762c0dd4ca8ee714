#include "meeting/PictureShow.h"

#include <utility>

namespace meeting {

namespace {

// A picture that keeps its pooled frame until nobody shows it any more.
std::shared_ptr<const platform::Image> imageOf(const FrameRef& frame) {
  auto image = std::make_shared<platform::Image>();
  image->width = frame->width;
  image->height = frame->height;
  image->bytesPerRow = frame->bytesPerRow;
  image->pixels = frame->pixels.data();
  image->storage = std::make_shared<const FrameRef>(frame);
  return image;
}

}  // namespace

PictureShow::PictureShow() {
  worker_ = std::thread([this] { work(); });
}

PictureShow::~PictureShow() {
  {
    const std::lock_guard lock(mutex_);
    ending_ = true;
  }
  wake_.notify_one();
  worker_.join();
}

void PictureShow::offer(const FrameRef& frame) {
  FrameRef replaced = frame;  // ends outside of the lock
  {
    const std::lock_guard lock(mutex_);
    std::swap(slot_, replaced);
    if (replaced) ++counts_.lost;
  }
  wake_.notify_one();
}

void PictureShow::showIn(std::shared_ptr<platform::View> view) {
  {
    const std::lock_guard lock(mutex_);
    std::swap(view_, view);
  }
  draw();
}

void PictureShow::setWatched(bool watched) {
  {
    const std::lock_guard lock(mutex_);
    watched_ = watched;
  }
  draw();
}

void PictureShow::setDelay(platform::Duration perPicture) {
  {
    const std::lock_guard lock(mutex_);
    delay_ = perPicture;
  }
  wake_.notify_one();
}

PictureShow::Counts PictureShow::counts() const {
  const std::lock_guard lock(mutex_);
  return counts_;
}

void PictureShow::work() {
  while (true) {
    FrameRef previous;
    {
      std::unique_lock lock(mutex_);
      wake_.wait(lock, [this] { return ending_ || slot_; });
      if (ending_) return;
      previous = std::exchange(current_, std::exchange(slot_, FrameRef()));
      counts_.width = current_->width;
      counts_.height = current_->height;
    }
    draw();
    std::unique_lock lock(mutex_);
    ++counts_.received;
    // A new delay takes the place of the one that is on.
    for (auto delay = delay_; delay > delay.zero() && !ending_;) {
      if (!wake_.wait_for(lock, delay, [&] { return ending_ || delay_ != delay; })) break;
      delay = delay_;
    }
  }
}

void PictureShow::draw() {
  const std::lock_guard drawing(drawMutex_);
  FrameRef frame;
  std::shared_ptr<platform::View> view;
  {
    const std::lock_guard lock(mutex_);
    if (!watched_ || !view_ || !current_) return;
    frame = current_;
    view = view_;
  }
  view->setContents(imageOf(frame));
}

}  // namespace meeting
