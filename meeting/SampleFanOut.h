// Carries the presenter's samples to the attendees that have joined, and keeps the picture that
// those who come later have to see: the newest one, or while nobody watches a live one that is
// followed by others for half a second at most.
//
// Threads: main thread, except video() and audio(), which the presenter's delivery threads call.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <optional>
#include <vector>

#include "meeting/FramePool.h"
#include "meeting/MultimediaPlatform.h"
#include "platform/Clock.h"

namespace meeting {

class AttendeeChannel;

class SampleFanOut {
 public:
  explicit SampleFanOut(const platform::Clock& clock) : clock_(clock) {}
  // [delivery-thread; a still picture on main-thread]
  void video(const VideoSample& sample);
  void audio(const AudioSample& sample);

  void setAudioFormat(const AudioFormat& format);
  // The listener is offered every sample from now on, and the picture that is kept at once. False
  // when that is not the newest, or there is none.
  bool add(AttendeeChannel& listener);
  // No offer to the listener is under way, or comes, when this has returned.
  void remove(AttendeeChannel& listener);
  void removeAll();
  // Nothing that has come belongs to what comes now.
  void forget();

  // Time of the newest sample, of pictures when there are any. [any-thread]
  std::uint64_t positionMs() const { return positionMs_; }
  // What comes next is from there: no older picture stands for it.
  void setPositionMs(std::uint64_t position);
  FramePool& pool() { return pool_; }

 private:
  bool isToBeKept(const VideoSample& sample);

  const platform::Clock& clock_;
  FramePool pool_;
  std::atomic<std::uint64_t> positionMs_{0};
  std::atomic<bool> hasPictures_{false};
  std::mutex mutex_;
  // Guarded by mutex_, which is held while the listeners take a sample:
  std::vector<AttendeeChannel*> listeners_;
  FrameRef kept_;                              // the newest picture that was copied
  std::optional<platform::TimePoint> keptAt_;  // none: the next one is copied in any case
  bool isOvertaken_ = false;                   // a newer picture has passed that nobody watched
  AudioFormat audioFormat_;
};

}  // namespace meeting
