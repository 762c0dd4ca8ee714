// Shows pictures to one attendee on a thread of its own while somebody looks: takes the newest when
// it gets to it, scales it and draws it into the attendee's view. While nobody does, takes each as
// it comes.
//
// Threads: offer() on the presenter's delivery threads, the rest on the main thread unless marked.
// offer() waits for no picture that is being scaled or put into the view.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <thread>

#include "meeting/FramePool.h"
#include "meeting/PictureScaler.h"
#include "meeting/RenderTarget.h"
#include "platform/Clock.h"
#include "platform/Mutex.h"
#include "platform/View.h"

namespace meeting {

class PictureShow {
 public:
  PictureShow();
  ~PictureShow();
  PictureShow(const PictureShow&) = delete;
  PictureShow& operator=(const PictureShow&) = delete;

  // A picture not yet taken is replaced.
  void offer(const FrameRef& frame) EXCLUDES(mutex_);
  // Where pictures go, now and whenever the view's size changes; null for nowhere. Nothing is drawn
  // into the view before any more when this has returned.
  void showIn(std::shared_ptr<platform::View> view) EXCLUDES(showing_, mutex_);
  void setWatched(bool watched) EXCLUDES(mutex_);
  // A rest after each picture that is taken.
  void setDelay(platform::Duration perPicture) EXCLUDES(mutex_);
  // Lets go of the pictures.
  void clear() EXCLUDES(mutex_);

  struct Counts {
    std::uint64_t received = 0, lost = 0;
    PixelSize size;  // of the newest picture taken
  };
  Counts counts() const EXCLUDES(mutex_);  // [any-thread]

 private:
  void redraw() REQUIRES(mutex_);
  bool isDrawn() const REQUIRES(mutex_);
  bool isResting() const REQUIRES(mutex_);
  void take() REQUIRES(mutex_);
  bool waitForWork() REQUIRES(mutex_);
  void tryDraw() REQUIRES(mutex_);
  void work() EXCLUDES(mutex_);
  void draw() REQUIRES(mutex_);
  bool isTarget(const RenderTarget* target) const EXCLUDES(mutex_);

  PictureScaler scaler_;  // the worker's
  platform::CondVar wake_;
  // Taken first. Held while a picture is put into the view, and while the view is changed: apart
  // from the other, which the presenter's threads take and the worker, that yields to them, must
  // not keep.
  platform::Mutex showing_;
  mutable platform::Mutex mutex_;
  FrameRef slot_ GUARDED_BY(mutex_);     // newest picture not yet taken
  FrameRef current_ GUARDED_BY(mutex_);  // the one that is, or would be, on show
  std::unique_ptr<RenderTarget> target_ GUARDED_BY(mutex_);
  PixelSize targetSize_ GUARDED_BY(mutex_);
  Counts counts_ GUARDED_BY(mutex_);
  platform::Duration delay_ GUARDED_BY(mutex_){0};
  platform::TimePoint takenAt_ GUARDED_BY(mutex_) = platform::TimePoint::min();
  bool watched_ GUARDED_BY(mutex_) = false;
  bool outdated_ GUARDED_BY(mutex_) = false;  // what is on show, not because of a new picture
  bool ending_ GUARDED_BY(mutex_) = false;

  std::thread worker_;  // last: starts when everything else is there
};

}  // namespace meeting
