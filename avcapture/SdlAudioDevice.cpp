#include "avcapture/SdlAudioDevice.h"

#include <SDL2/SDL.h>
#include <SDL2/SDL_audio.h>
#include <SDL2/SDL_thread.h>
#include <alsa/asoundlib.h>

#include <algorithm>

#include "avcapture/Export.h"
#include "platform/Mutex.h"

namespace avcapture {

namespace {

// The device starts when this much waits, so that it does not run dry between two blocks.
constexpr int kStartMilliseconds = 60;
// A device that lags behind by more loses sound rather than getting ever later.
constexpr int kMostMilliseconds = 300;
constexpr std::uint16_t kDeviceFrames = 1024;
// SDL takes no more; of more, the first are heard.
constexpr int kMostDeviceChannels = 8;

// SDL counts who uses its sound, and keeps a table of devices, without a lock of its own.
platform::Mutex sdlMutex;

std::size_t bytesOf(int milliseconds, const SoundFormat& format) {
  return static_cast<std::size_t>(format.rate) * static_cast<std::size_t>(milliseconds) / 1000 *
         format.bytesPerFrame();
}

// On a machine without a sound card ALSA would write a page to standard error.
void ignoreAlsaComplaint(const char* /*file*/, int /*line*/, const char* /*function*/,
                         int /*error*/, const char* /*format*/, ...) {}

}  // namespace

SdlAudioDevice::~SdlAudioDevice() {
  const platform::Lock lock(sdlMutex);
  close();
  if (initialised_) SDL_QuitSubSystem(SDL_INIT_AUDIO);
  SDL_TLSCleanup();  // SDL keeps its last error per thread, and this thread is not SDL's
}

bool SdlAudioDevice::open(const SoundFormat& format) {
  const platform::Lock lock(sdlMutex);
  close();
  format_ = format;
  if (!initialised_) {
    SDL_SetHint(SDL_HINT_NO_SIGNAL_HANDLERS, "1");
    snd_lib_error_set_handler(&ignoreAlsaComplaint);
    initialised_ = SDL_InitSubSystem(SDL_INIT_AUDIO) == 0;
    if (!initialised_) return false;
  }
  SDL_AudioSpec wanted{};
  wanted.freq = format.rate;
  wanted.format = AUDIO_S16SYS;
  wanted.channels = static_cast<Uint8>(format.channels);
  wanted.samples = kDeviceFrames;
  device_ = SDL_OpenAudioDevice(nullptr, 0, &wanted, nullptr, 0);
  return device_ != 0;
}

void SdlAudioDevice::close() {
  if (device_ != 0) SDL_CloseAudioDevice(device_);
  device_ = 0;
  started_ = gone_ = false;
}

SoundBlock SdlAudioDevice::audible(const SoundBlock& block) {
  if (block.format.channels <= kMostDeviceChannels) return block;
  SoundBlock first{block.microseconds, {block.format.rate, kMostDeviceChannels}, {}};
  const std::size_t from = block.format.bytesPerFrame(), to = first.format.bytesPerFrame();
  first_.resize(block.frames() * to);
  for (std::size_t frame = 0; frame < block.frames(); ++frame) {
    std::copy_n(&block.bytes[frame * from], to, &first_[frame * to]);
  }
  first.bytes = first_;
  return first;
}

void SdlAudioDevice::play(const SoundBlock& whole, int volume) {
  if (failed_) return;
  const SoundBlock block = audible(whole);
  if (device_ == 0 || gone_ || !(block.format == format_)) {
    failed_ = !open(block.format);
    if (failed_) return;
  }
  if (SDL_GetQueuedAudioSize(device_) <= bytesOf(kMostMilliseconds, format_)) {
    scaled_.assign(block.bytes.size(), 0);
    SDL_MixAudioFormat(scaled_.data(), block.bytes.data(), AUDIO_S16SYS,
                       static_cast<Uint32>(scaled_.size()),
                       std::clamp(volume, 0, 100) * SDL_MIX_MAXVOLUME / 100);
    SDL_QueueAudio(device_, scaled_.data(), static_cast<Uint32>(scaled_.size()));
  }
  if (!started_ && SDL_GetQueuedAudioSize(device_) >= bytesOf(kStartMilliseconds, format_)) {
    SDL_PauseAudioDevice(device_, 0);
    started_ = true;
  }
}

void SdlAudioDevice::pause() {
  failed_ = false;
  if (device_ != 0) SDL_PauseAudioDevice(device_, 1);
  gone_ = device_ != 0 && SDL_GetAudioDeviceStatus(device_) == SDL_AUDIO_STOPPED;
  started_ = false;
}

void SdlAudioDevice::clear() {
  pause();
  if (device_ != 0) SDL_ClearQueuedAudio(device_);
}

}  // namespace avcapture

// The part's maker.
extern "C" AVCAPTURE_API avcapture::AudioDevice* makeAudioDevice() {
  return new avcapture::SdlAudioDevice;
}
