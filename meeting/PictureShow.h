// Shows pictures to one attendee on a thread of its own: takes the newest when it gets to it,
// scales it and draws it into the attendee's view while somebody looks.
//
// Threads: offer() on the presenter's delivery threads, the rest on the main thread unless marked.
// Neither waits for a picture that is being scaled.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>

#include "meeting/FramePool.h"
#include "meeting/PictureScaler.h"
#include "meeting/RenderTarget.h"
#include "platform/Clock.h"
#include "platform/View.h"

namespace meeting {

class PictureShow {
 public:
  PictureShow();
  ~PictureShow();
  PictureShow(const PictureShow&) = delete;
  PictureShow& operator=(const PictureShow&) = delete;

  // A picture not yet taken is replaced.
  void offer(const FrameRef& frame);
  // Where pictures go, now and whenever the view's size changes; null for nowhere. Nothing is drawn
  // into the view before any more when this has returned.
  void showIn(std::shared_ptr<platform::View> view);
  void setWatched(bool watched);
  // A rest after each picture that is taken.
  void setDelay(platform::Duration perPicture);
  // Lets go of the pictures.
  void clear();

  struct Counts {
    std::uint64_t received = 0, lost = 0;
    PixelSize size;  // of the newest picture taken
  };
  Counts counts() const;  // [any-thread]

 private:
  using Lock = std::unique_lock<std::mutex>;
  void redraw(Lock lock);
  bool isResting() const;
  bool waitForWork(Lock& lock);
  void tryDraw(Lock& lock);
  void work();
  void draw(Lock& lock);

  PictureScaler scaler_;  // the worker's
  mutable std::mutex mutex_;
  std::condition_variable wake_;
  // Guarded by mutex_:
  FrameRef slot_;     // newest picture not yet taken
  FrameRef current_;  // the one that is, or would be, on show
  std::unique_ptr<RenderTarget> target_;
  PixelSize targetSize_;
  Counts counts_;
  platform::Duration delay_{0};
  std::chrono::steady_clock::time_point takenAt_ = std::chrono::steady_clock::time_point::min();
  bool watched_ = false;
  bool outdated_ = false;  // what is on show, because of something else than a new picture
  bool ending_ = false;

  std::thread worker_;  // last: starts when everything else is there
};

}  // namespace meeting
