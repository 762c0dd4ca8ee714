#include "meeting/SampleFanOut.h"

#include <algorithm>
#include <chrono>

#include "meeting/AttendeeChannel.h"

namespace meeting {

namespace {
// While nobody watches, copies are for those who may come: a few of them will do.
constexpr std::chrono::milliseconds kUnwatchedInterval{500};
}  // namespace

void SampleFanOut::video(const VideoSample& sample) {
  positionMs_ = sample.timestampMs;
  hasPictures_ = true;
  if (!isToBeKept(sample)) return;
  const FrameRef frame = pool_.copyOf(sample);
  const platform::Lock lock(mutex_);
  kept_ = frame;
  keptAt_ = clock_.now();
  isOvertaken_ = false;
  for (AttendeeChannel* listener : listeners_) listener->offer(frame);
}

// The sender drops a still that is the same as its last one, so that it comes once only.
bool SampleFanOut::isToBeKept(const VideoSample& sample) {
  const platform::Lock lock(mutex_);
  if (sample.still || !listeners_.empty() || !keptAt_) return true;
  if (clock_.now() - *keptAt_ >= kUnwatchedInterval) return true;
  isOvertaken_ = true;
  return false;
}

void SampleFanOut::audio(const AudioSample& sample) {
  if (!hasPictures_) positionMs_ = sample.timestampMs;
  const platform::Lock lock(mutex_);
  for (AttendeeChannel* listener : listeners_) listener->offer(audioFormat_, sample);
}

void SampleFanOut::setAudioFormat(const AudioFormat& format) {
  const platform::Lock lock(mutex_);
  audioFormat_ = format;
}

bool SampleFanOut::add(AttendeeChannel& listener) {
  const platform::Lock lock(mutex_);
  if (std::find(listeners_.begin(), listeners_.end(), &listener) == listeners_.end())
    listeners_.push_back(&listener);
  if (!kept_) return false;
  listener.offer(kept_);
  return !isOvertaken_;
}

void SampleFanOut::remove(AttendeeChannel& listener) {
  const platform::Lock lock(mutex_);
  std::erase(listeners_, &listener);
}

void SampleFanOut::removeAll() {
  const platform::Lock lock(mutex_);
  listeners_.clear();
}

void SampleFanOut::setPositionMs(std::uint64_t position) {
  positionMs_ = position;
  const platform::Lock lock(mutex_);
  keptAt_.reset();
}

void SampleFanOut::forget() {
  positionMs_ = 0;
  hasPictures_ = false;
  const platform::Lock lock(mutex_);
  kept_ = FrameRef();
  keptAt_.reset();
  isOvertaken_ = false;
  audioFormat_ = {};
}

}  // namespace meeting
