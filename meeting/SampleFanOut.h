// Carries the presenter's samples to the attendees that have joined, and keeps the picture that
// those who come later have to see.
//
// Threads: main thread, except video() and audio(), which the presenter's delivery threads call.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <vector>

#include "meeting/FramePool.h"
#include "meeting/MultimediaPlatform.h"

namespace meeting {

class AttendeeChannel;

class SampleFanOut {
 public:
  // [delivery-thread; a still picture on main-thread]
  void video(const VideoSample& sample);
  void audio(const AudioSample& sample);

  void setAudioFormat(const AudioFormat& format);
  // The listener is offered every sample from now on, and the current picture at once. False when
  // there is no current picture.
  bool add(AttendeeChannel& listener);
  // No offer to the listener is under way, or comes, when this has returned.
  void remove(AttendeeChannel& listener);
  void removeAll();
  // Nothing that has come belongs to what comes now.
  void forget();

  // Time of the newest sample, of pictures when there are any. [any-thread]
  std::uint64_t positionMs() const { return positionMs_; }
  void setPositionMs(std::uint64_t position) { positionMs_ = position; }
  FramePool& pool() { return pool_; }

 private:
  FramePool pool_;
  std::atomic<std::uint64_t> positionMs_{0};
  std::atomic<bool> hasListeners_{false};
  std::atomic<bool> hasPictures_{false};
  std::mutex mutex_;
  // Guarded by mutex_, which is held while the listeners take a sample:
  std::vector<AttendeeChannel*> listeners_;
  FrameRef newest_;  // empty when a newer one has passed that nobody watched
  AudioFormat audioFormat_;
};

}  // namespace meeting
