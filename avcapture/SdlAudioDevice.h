// Sound output by SDL.
#pragma once

#include <cstdint>
#include <vector>

#include "avcapture/AudioDevice.h"

namespace avcapture {

class SdlAudioDevice final : public AudioDevice {
 public:
  SdlAudioDevice() = default;
  ~SdlAudioDevice() override;

  void play(const SoundBlock& whole, int volume) override;
  void pause() override;
  bool sounding() const override { return started_; }
  void clear() override;

 private:
  // What of a block the device can play, valid until the next call.
  SoundBlock audible(const SoundBlock& block);
  bool open(const SoundFormat& format);
  void close();

  SoundFormat format_;
  bool initialised_ = false;
  bool failed_ = false;  // there is no device: don't ask again before the next pause
  bool started_ = false;
  bool gone_ = false;  // has been unplugged, so another may be there now
  std::uint32_t device_ = 0;
  std::vector<std::uint8_t> first_;  // channels
  std::vector<std::uint8_t> scaled_;
};

}  // namespace avcapture
