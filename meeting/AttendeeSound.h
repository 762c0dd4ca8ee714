// What an attendee hears: the presenter's sound at the attendee's own volume.
//
// Threads: play() on the presenter's delivery threads, the rest on the main thread unless marked.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

#include "meeting/MultimediaPlatform.h"
#include "platform/Mutex.h"

namespace meeting {

class AttendeeSound {
 public:
  static constexpr int kFullVolume = 255;

  void setVolume(int volume) { volume_ = volume; }  // 0 to kFullVolume
  void setMuted(bool muted) { muted_ = muted; }
  int volume() const { return volume_; }            // [any-thread]
  bool muted() const { return muted_; }             // [any-thread]
  std::uint64_t blocks() const { return blocks_; }  // received [any-thread]

  // No call into the one who listened before is under way, or comes, when this has returned.
  void listen(std::shared_ptr<SoundSink> sink) EXCLUDES(mutex_);
  void play(const AudioFormat& format, const AudioSample& sample) EXCLUDES(mutex_);

 private:
  std::atomic<int> volume_{kFullVolume};
  std::atomic<bool> muted_{false};
  std::atomic<std::uint64_t> blocks_{0};
  platform::Mutex mutex_;
  std::shared_ptr<SoundSink> sink_ GUARDED_BY(mutex_);
  std::vector<std::int16_t> scaled_ GUARDED_BY(mutex_);
};

}  // namespace meeting
