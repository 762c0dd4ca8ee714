#include "meeting/room/PictureEncoder.h"

#include <algorithm>

#include "meeting/room/Jpeg.h"

namespace meeting {

PictureEncoder::PictureEncoder(Done done) : done_(std::move(done)), thread_([this] { work(); }) {}

PictureEncoder::~PictureEncoder() {
  {
    const platform::Lock lock(mutex_);
    ending_ = true;
  }
  changed_.notifyOne();
  thread_.join();
}

void PictureEncoder::encode(const std::string& view, Scene scene) {
  {
    const platform::Lock lock(mutex_);
    const auto older = std::find_if(waiting_.begin(), waiting_.end(),
                                    [&](const auto& entry) { return entry.first == view; });
    if (older != waiting_.end())
      older->second = std::move(scene);
    else
      waiting_.emplace_back(view, std::move(scene));
  }
  changed_.notifyOne();
}

void PictureEncoder::work() {
  JpegEncoder jpeg;
  const platform::Lock lock(mutex_);
  while (true) {
    while (!ending_ && waiting_.empty()) changed_.wait(mutex_);
    if (ending_) return;
    auto next = std::move(waiting_.front());
    waiting_.pop_front();
    const platform::Unlocked unlocked(mutex_);
    try {
      done_(next.first, jpeg.encode(render(next.second)));
    } catch (...) {
      // Too large for the memory that is left, say: the next one may not be.
    }
    next = {};  // lets the pictures go
  }
}

}  // namespace meeting
