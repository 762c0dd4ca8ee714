// The machine's sound output, when it has one. Sound that it can't take is left out; nothing here
// waits for it. One thread at a time; any number of devices in as many threads.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "avcapture/AudioDecoder.h"

namespace avcapture {

class AudioDevice {
 public:
  AudioDevice() = default;
  ~AudioDevice();
  AudioDevice(const AudioDevice&) = delete;
  AudioDevice& operator=(const AudioDevice&) = delete;

  // Plays the block, at a volume of 0 to 100.
  void play(const SoundBlock& block, int volume);
  // Falls silent; what has not been heard yet goes before the next block.
  void pause();
  bool sounding() const { return started_; }
  // Falls silent and forgets what has not been heard yet.
  void clear();

 private:
  bool open(const SoundFormat& format);
  void close();

  SoundFormat format_;
  bool initialised_ = false;
  bool failed_ = false;  // there is no device: don't ask again before the next pause
  bool started_ = false;
  std::uint32_t device_ = 0;
  std::vector<std::uint8_t> scaled_;
};

}  // namespace avcapture
