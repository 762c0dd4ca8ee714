#include "meeting/room/PictureEncoder.h"

#include <algorithm>

#include "meeting/room/Jpeg.h"

namespace meeting {

PictureEncoder::PictureEncoder(Done done) : done_(std::move(done)), thread_([this] { work(); }) {}

PictureEncoder::~PictureEncoder() {
  {
    const std::lock_guard lock(mutex_);
    ending_ = true;
  }
  changed_.notify_one();
  thread_.join();
}

void PictureEncoder::encode(const std::string& view, Scene scene) {
  {
    const std::lock_guard lock(mutex_);
    const auto older = std::find_if(waiting_.begin(), waiting_.end(),
                                    [&](const auto& entry) { return entry.first == view; });
    if (older != waiting_.end())
      older->second = std::move(scene);
    else
      waiting_.emplace_back(view, std::move(scene));
  }
  changed_.notify_one();
}

void PictureEncoder::work() {
  JpegEncoder jpeg;
  std::unique_lock lock(mutex_);
  while (true) {
    changed_.wait(lock, [this] { return ending_ || !waiting_.empty(); });
    if (ending_) return;
    auto next = std::move(waiting_.front());
    waiting_.pop_front();
    lock.unlock();
    try {
      done_(next.first, jpeg.encode(render(next.second)));
    } catch (...) {
      // Too large for the memory that is left, say: the next one may not be.
    }
    next = {};  // lets the pictures go
    lock.lock();
  }
}

}  // namespace meeting
