// Shows pictures to one attendee on a thread of its own: takes the newest when it gets to it and
// draws it into the attendee's view while somebody looks.
//
// Threads: offer() on the presenter's delivery threads, the rest on the main thread unless marked.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>

#include "meeting/FramePool.h"
#include "platform/Clock.h"
#include "platform/View.h"

namespace meeting {

class PictureShow {
 public:
  PictureShow();
  ~PictureShow();
  PictureShow(const PictureShow&) = delete;
  PictureShow& operator=(const PictureShow&) = delete;

  // Never waits for anything that takes time: a picture not yet taken is replaced.
  void offer(const FrameRef& frame);
  // Where pictures go; null for nowhere.
  void showIn(std::shared_ptr<platform::View> view);
  void setWatched(bool watched);
  // A rest after each picture that is taken.
  void setDelay(platform::Duration perPicture);

  struct Counts {
    std::uint64_t received = 0, lost = 0;
    std::uint32_t width = 0, height = 0;  // of the newest picture taken
  };
  Counts counts() const;  // [any-thread]

 private:
  void work();
  void draw();

  std::mutex drawMutex_;  // taken before mutex_: pictures get into the view in order
  mutable std::mutex mutex_;
  std::condition_variable wake_;
  // Guarded by mutex_:
  FrameRef slot_;     // newest picture not yet taken
  FrameRef current_;  // the one that is, or would be, on show
  std::shared_ptr<platform::View> view_;
  Counts counts_;
  platform::Duration delay_{0};
  bool watched_ = false;
  bool ending_ = false;

  std::thread worker_;  // last: starts when everything else is there
};

}  // namespace meeting
