// The sound delivery thread of the engine.
#include <algorithm>

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

void send(AVStreamDataListener& listener, platform::Object* sender, const SoundBlock& block) {
  AudioStreamBasicDescription description = descriptionOf(block.format);
  AudioBufferList list{
      .mNumberBuffers = 1,
      .mBuffers = {{.mNumberChannels = description.mChannelsPerFrame,
                    .mDataByteSize = static_cast<std::uint32_t>(block.bytes.size()),
                    .mData = block.bytes.data()}}};
  const std::int64_t milliseconds = (std::max<std::int64_t>(0, block.microseconds) + 500) / 1000;
  listener.newAudioFramesArrive(sender, &list, block.frames(), &description,
                                static_cast<std::uint32_t>(milliseconds));
}

}  // namespace

void Engine::soundLoop() {
  SoundStage stage;
  AudioDevice device;
  Lock lock(mutex_);
  while (!quit_ && !soundQuit_) {
    if (stage.generation != generation_) {
      const std::int64_t target = target_;
      stage = {.generation = generation_};
      lock.unlock();
      audioDecoder_->restart(target);
      device.clear();
      lock.lock();
      continue;
    }
    soundStep(lock, stage, device);
  }
}

void Engine::soundStep(Lock& lock, SoundStage& stage, AudioDevice& device) {
  if (!playing_ && device.sounding()) {
    lock.unlock();
    device.pause();
    lock.lock();
  } else if (!stage.next && !audioDecoder_->finished()) {
    decodeSound(lock, stage);
  } else if (!soundReady_) {
    soundReady_ = true;
    startClockWhenReady();
  } else if (seekPending_ && !hasVideo_) {
    completeSeek(lock);
  } else if (playing_ && stage.next) {
    if (reached(lock, soundWake_, stage.next->microseconds)) deliverSound(lock, stage, device);
  } else if (playing_ && !soundEnded_) {
    if (reached(lock, soundWake_, stage.end)) endStream(lock, soundEnded_);
  } else {
    soundWake_.wait(lock);
  }
}

// Takes a block out of the decoder, or feeds it, or waits for something to feed it with.
void Engine::decodeSound(Lock& lock, SoundStage& stage) {
  lock.unlock();
  stage.next = audioDecoder_->next();
  lock.lock();
  if (stage.next || quit_ || soundQuit_ || stage.generation != generation_) return;
  if (audioPackets_.empty() && !audioPackets_.ended()) {
    soundWake_.wait(lock);
    return;
  }
  const PacketPtr packet = audioPackets_.pop();
  demuxWake_.notify_one();
  lock.unlock();
  audioDecoder_->send(packet.get());
  lock.lock();
}

void Engine::deliverSound(Lock& lock, SoundStage& stage, AudioDevice& device) {
  const SoundBlock block = *stage.next;
  stage.next.reset();
  stage.end = block.microseconds + av_rescale(static_cast<std::int64_t>(block.frames()),
                                              kMicrosecondsPerSecond, block.format.rate);
  advanceTo(block.microseconds);
  std::optional<ListenerCall> call(std::in_place, *this, kSound);
  lock.unlock();
  if (call->listener() != nullptr) {
    ++audioBlocksDelivered_;
    send(*call->listener(), call->sender(), block);
  }
  call.reset();
  if (options_.paced && options_.localSound) {
    device.play(block, volume_.load(std::memory_order_relaxed));
  }
  lock.lock();
}

}  // namespace avcapture
