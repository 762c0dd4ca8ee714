#include "meeting/AttendeeSound.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace meeting {

namespace {
constexpr std::uint32_t kBits = 8 * sizeof(std::int16_t);
}  // namespace

void AttendeeSound::listen(std::shared_ptr<SoundSink> sink) {
  const platform::Lock lock(mutex_);
  std::swap(sink_, sink);
}

void AttendeeSound::play(const AudioFormat& format, const AudioSample& sample) {
  ++blocks_;
  const platform::Lock lock(mutex_);
  if (!sink_ || format.bits != kBits) return;
  const int volume = muted_ ? 0 : volume_.load();
  if (volume == kFullVolume) return sink_->sound(format, sample);
  scaled_.resize(sample.bytes / sizeof(std::int16_t));
  std::memcpy(scaled_.data(), sample.data, scaled_.size() * sizeof(std::int16_t));
  std::transform(scaled_.begin(), scaled_.end(), scaled_.begin(), [volume](std::int16_t value) {
    return static_cast<std::int16_t>(value * volume / kFullVolume);
  });
  AudioSample quieter = sample;
  quieter.data = reinterpret_cast<const std::uint8_t*>(scaled_.data());
  quieter.bytes = scaled_.size() * sizeof(std::int16_t);
  sink_->sound(format, quieter);
}

}  // namespace meeting
