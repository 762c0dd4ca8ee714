#include "meeting/SampleFanOut.h"

#include <algorithm>

#include "meeting/AttendeeChannel.h"

namespace meeting {

void SampleFanOut::video(const VideoSample& sample) {
  positionMs_ = sample.timestampMs;
  hasPictures_ = true;
  // The sender drops a still that is the same as its last one, so that it comes once only.
  const FrameRef frame = sample.still || hasListeners_ ? pool_.copyOf(sample) : FrameRef();
  const std::lock_guard lock(mutex_);
  newest_ = frame;
  if (!frame) return;
  for (AttendeeChannel* listener : listeners_) listener->offer(frame);
}

void SampleFanOut::audio(const AudioSample& sample) {
  if (!hasPictures_) positionMs_ = sample.timestampMs;
  if (!hasListeners_) return;
  const std::lock_guard lock(mutex_);
  for (AttendeeChannel* listener : listeners_) listener->offer(audioFormat_, sample);
}

void SampleFanOut::setAudioFormat(const AudioFormat& format) {
  const std::lock_guard lock(mutex_);
  audioFormat_ = format;
}

bool SampleFanOut::add(AttendeeChannel& listener) {
  const std::lock_guard lock(mutex_);
  if (std::find(listeners_.begin(), listeners_.end(), &listener) == listeners_.end())
    listeners_.push_back(&listener);
  hasListeners_ = true;
  if (!newest_) return false;
  listener.offer(newest_);
  return true;
}

void SampleFanOut::remove(AttendeeChannel& listener) {
  const std::lock_guard lock(mutex_);
  std::erase(listeners_, &listener);
  hasListeners_ = !listeners_.empty();
}

void SampleFanOut::removeAll() {
  const std::lock_guard lock(mutex_);
  listeners_.clear();
  hasListeners_ = false;
}

void SampleFanOut::forget() {
  positionMs_ = 0;
  hasPictures_ = false;
  const std::lock_guard lock(mutex_);
  newest_ = FrameRef();
  audioFormat_ = {};
}

}  // namespace meeting
