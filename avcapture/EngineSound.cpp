// The sound delivery thread of the engine.
#include <algorithm>
#include <new>

#include "avcapture/AudioDevice.h"
#include "avcapture/Engine.h"
#include "avcapture/ListenerCall.h"

namespace avcapture {

namespace {

AudioStreamBasicDescription descriptionOf(const SoundFormat& format) {
  const auto bytesPerFrame = static_cast<std::uint32_t>(format.bytesPerFrame());
  return {.mSampleRate = static_cast<double>(format.rate),
          .mFormatID = kAudioFormatLinearPCM,
          .mFormatFlags = kAudioFormatFlagIsSignedInteger | kAudioFormatFlagIsPacked,
          .mBytesPerPacket = bytesPerFrame,
          .mFramesPerPacket = 1,
          .mBytesPerFrame = bytesPerFrame,
          .mChannelsPerFrame = static_cast<std::uint32_t>(format.channels),
          .mBitsPerChannel = 16,
          .mReserved = 0};
}

// Without samples, it announces the block.
void send(AVStreamDataListener& listener, platform::Object* sender, const SoundBlock& block,
          bool samples) {
  AudioStreamBasicDescription description = descriptionOf(block.format);
  AudioBufferList list{
      .mNumberBuffers = 1,
      .mBuffers = {{.mNumberChannels = description.mChannelsPerFrame,
                    .mDataByteSize = static_cast<std::uint32_t>(block.bytes.size()),
                    .mData = block.bytes.data()}}};
  const std::int64_t milliseconds = (std::max<std::int64_t>(0, block.microseconds) + 500) / 1000;
  listener.newAudioFramesArrive(sender, samples ? &list : nullptr, samples ? block.frames() : 0,
                                &description, static_cast<std::uint32_t>(milliseconds));
}

}  // namespace

void Engine::soundLoop() {
  SoundStage stage;
  const std::unique_ptr<AudioDevice> device =
      options_.paced && options_.localSound ? openAudioDevice() : std::make_unique<AudioDevice>();
  const platform::Lock lock(mutex_);
  while (!quit_ && !soundQuit_) {
    if (stage.generation != generation_) {
      const std::int64_t target = target_;
      stage = {.generation = generation_};
      const platform::Unlocked unlocked(mutex_);
      audioDecoder_->restart(target);
      device->clear();
      continue;
    }
    soundStep(stage, *device);
  }
}

void Engine::soundStep(SoundStage& stage, AudioDevice& device) {
  if (!playing_ && device.sounding()) {
    const platform::Unlocked unlocked(mutex_);
    device.pause();
  } else if (!stage.next && !audioDecoder_->finished()) {
    decodeSound(stage);
  } else if (seekPending_ && !hasVideo_) {
    completeSeek();
  } else if (playing_ && !soundReady_) {
    announceSound(stage);
  } else if (playing_ && stage.next) {
    if (reached(soundWake_, stage.next->microseconds)) deliverSound(stage, device);
  } else if (playing_ && !soundEnded_) {
    if (!reached(soundWake_, stage.end)) return;
    endStream(soundEnded_, audioDecoder_->wasInVain() ? "no sound could be decoded" : nullptr);
  } else {
    soundWake_.wait(mutex_);
  }
}

// Takes a block out of the decoder, or feeds it, or waits for something to feed it with.
void Engine::decodeSound(SoundStage& stage) {
  {
    const platform::Unlocked unlocked(mutex_);
    stage.next = audioDecoder_->next();
  }
  if (stage.next || quit_ || soundQuit_ || stage.generation != generation_) return;
  if (audioPackets_.empty() && !audioPackets_.ended()) {
    soundWake_.wait(mutex_);
    return;
  }
  const PacketPtr packet = audioPackets_.pop();
  readOnWhenFew();
  const platform::Unlocked unlocked(mutex_);
  audioDecoder_->send(packet.get());
}

// As announcePicture.
void Engine::announceSound(const SoundStage& stage) {
  if (stage.next) {
    const ListenerCall call(*this, kSound);
    const Told told = call.tell(
        [&](AVStreamDataListener& listener) { send(listener, call.sender(), *stage.next, false); });
    if (told == Told::kNoMemory) throw std::bad_alloc();
  }
  if (stage.generation != generation_) return;
  soundReady_ = true;
  startClockWhenReady();
}

void Engine::deliverSound(SoundStage& stage, AudioDevice& device) {
  const SoundBlock block = *stage.next;
  stage.next.reset();
  stage.end = block.microseconds + av_rescale(static_cast<std::int64_t>(block.frames()),
                                              kMicrosecondsPerSecond, block.format.rate);
  advanceTo(block.microseconds);
  {
    const ListenerCall call(*this, kSound);
    // A listener that could not take this one may take the next.
    call.tell([&](AVStreamDataListener& listener) {
      ++audioBlocksDelivered_;
      send(listener, call.sender(), block, true);
    });
  }
  const platform::Unlocked unlocked(mutex_);
  device.play(block, volume_.load(std::memory_order_relaxed));
}

}  // namespace avcapture
