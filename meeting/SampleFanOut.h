// Carries the presenter's samples to the attendees that have joined, and keeps the picture that
// those who come later have to see: the newest one, or while nobody watches a live one that is
// followed by others for half a second at most.
//
// Threads: main thread, except video() and audio(), which the presenter's delivery threads call.
#pragma once

#include <atomic>
#include <cstdint>
#include <optional>
#include <vector>

#include "meeting/FramePool.h"
#include "meeting/MultimediaPlatform.h"
#include "platform/Clock.h"
#include "platform/Mutex.h"

namespace meeting {

class AttendeeChannel;

class SampleFanOut {
 public:
  explicit SampleFanOut(const platform::Clock& clock) : clock_(clock) {}
  // [delivery-thread; a still picture on main-thread]
  void video(const VideoSample& sample) EXCLUDES(mutex_);
  void audio(const AudioSample& sample) EXCLUDES(mutex_);

  void setAudioFormat(const AudioFormat& format) EXCLUDES(mutex_);
  // The listener is offered every sample from now on, and the picture that is kept at once. False
  // when that is not the newest, or there is none.
  bool add(AttendeeChannel& listener) EXCLUDES(mutex_);
  // No offer to the listener is under way, or comes, when this has returned.
  void remove(AttendeeChannel& listener) EXCLUDES(mutex_);
  void removeAll() EXCLUDES(mutex_);
  // Nothing that has come belongs to what comes now.
  void forget() EXCLUDES(mutex_);

  // Time of the newest sample, of pictures when there are any. [any-thread]
  std::uint64_t positionMs() const { return positionMs_; }
  // What comes next is from there: no older picture stands for it.
  void setPositionMs(std::uint64_t position) EXCLUDES(mutex_);
  FramePool& pool() { return pool_; }

 private:
  bool isToBeKept(const VideoSample& sample) EXCLUDES(mutex_);

  const platform::Clock& clock_;
  FramePool pool_;
  std::atomic<std::uint64_t> positionMs_{0};
  std::atomic<bool> hasPictures_{false};
  platform::Mutex mutex_;  // held while the listeners take a sample
  std::vector<AttendeeChannel*> listeners_ GUARDED_BY(mutex_);
  FrameRef kept_ GUARDED_BY(mutex_);  // the newest picture that was copied
  // None: the next one is copied in any case.
  std::optional<platform::TimePoint> keptAt_ GUARDED_BY(mutex_);
  bool isOvertaken_ GUARDED_BY(mutex_) = false;  // a newer picture has passed that nobody watched
  AudioFormat audioFormat_ GUARDED_BY(mutex_);
};

}  // namespace meeting
