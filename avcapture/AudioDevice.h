// The machine's sound output, when it has one. Sound that it can't take is left out; nothing here
// waits for it. One thread at a time; any number of devices in as many threads.
#pragma once

#include <memory>

#include "avcapture/AudioDecoder.h"

namespace avcapture {

// One that is always silent.
class AudioDevice {
 public:
  AudioDevice() = default;
  virtual ~AudioDevice() = default;
  AudioDevice(const AudioDevice&) = delete;
  AudioDevice& operator=(const AudioDevice&) = delete;

  // Plays the block, at a volume of 0 to 100.
  virtual void play(const SoundBlock& /*block*/, int /*volume*/) {}
  // Falls silent; what has not been heard yet goes before the next block.
  virtual void pause() {}
  virtual bool sounding() const { return false; }
  // Falls silent and forgets what has not been heard yet.
  virtual void clear() {}
};

// The machine's.
std::unique_ptr<AudioDevice> openAudioDevice();

}  // namespace avcapture
