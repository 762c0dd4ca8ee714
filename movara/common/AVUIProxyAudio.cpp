// Decoded sound on its way to the application.
#include <cmath>
#include <limits>
#include <new>

#include "movara/common/AVUIProxy.h"
#include "movara/common/Trace.h"

namespace {

constexpr double kBytesPerSample = 2.0;

// Drops the fraction; what does not fit becomes the nearest that does.
std::uint64_t wholeNumber(double value) {
  constexpr double kTooLarge = 18446744073709551616.0;  // 2^64
  if (!(value > 0.0)) return 0;
  if (value >= kTooLarge) return std::numeric_limits<std::uint64_t>::max();
  return static_cast<std::uint64_t>(value);
}

}  // namespace

void AVUIProxy::newAudioFramesArrive(platform::Object* /*sender*/,
                                     avcapture::AudioBufferList* audioBufferList,
                                     std::uint64_t /*frameAcount*/,
                                     avcapture::AudioStreamBasicDescription* asbd,
                                     std::uint32_t timestamp) {
  const SinkGate::Pass pass(myAvApp);
  if (myAvApp.sink() == nullptr) return;

  if (asbd != nullptr) {
    const bool changed = isAudioFormatChanged(asbd);
    fillAudioFormat(*asbd);
    try {
      if (changed) waitForAudioFormatDelivery();
    } catch (const std::bad_alloc&) {
      myAudioFormat = {};  // not told: the next block tries again
      throw;
    }
  }

  ISVSPlayerNotifySink* const sink = myAvApp.sink();
  if (audioBufferList == nullptr || sink == nullptr) return;
  tagMSDataStructure sample{};
  sample.dwTimestamp = timestamp;
  sample.pData = audioBufferList->mBuffers[0].mData;
  sample.dwDataLength = audioBufferList->mBuffers[0].mDataByteSize;
  sample.nMediaType = MM_MEDIASTREAMING_MEDIATYPE_AUDIO;
  if (asbd != nullptr) {
    sample.pFormat = &myAudioFormat;
    sample.dwFormatLength = sizeof(myAudioFormat);
  }
  sink->OnNotify(PLAYER_NOTIFY_MEDIA_SAMPLE, reinterpret_cast<unsigned long>(&sample), 0);
}

bool AVUIProxy::isAudioFormatChanged(const avcapture::AudioStreamBasicDescription* asbd) const {
  if (asbd == nullptr) return false;
  return static_cast<double>(myAudioFormat.nSamplesPerSec) != std::floor(asbd->mSampleRate) ||
         myAudioFormat.nChannels != asbd->mChannelsPerFrame ||
         myAudioFormat.wBitsPerSample != asbd->mBitsPerChannel;
}

void AVUIProxy::fillAudioFormat(const avcapture::AudioStreamBasicDescription& asbd) {
  myAudioFormat.wFormatTag = 0;
  myAudioFormat.nChannels = static_cast<std::uint16_t>(asbd.mChannelsPerFrame);
  myAudioFormat.nSamplesPerSec = wholeNumber(asbd.mSampleRate);
  myAudioFormat.nAvgBytesPerSec =
      wholeNumber(asbd.mChannelsPerFrame * asbd.mSampleRate * kBytesPerSample);
  myAudioFormat.nBlockAlign = static_cast<std::uint16_t>(asbd.mBytesPerPacket);
  myAudioFormat.wBitsPerSample = static_cast<std::uint16_t>(asbd.mBitsPerChannel);
  myAudioFormat.cbSize = sizeof(myAudioFormat);
}

// The wait is the bridge's own, so that setSink can end it: the application may be released from
// within the very message that is being waited for.
void AVUIProxy::waitForAudioFormatDelivery() {
  {
    const platform::Lock guard(myLock);
    myPublishedAudioFormat = myAudioFormat;
    myAudioFormatUnderWay = true;
  }
  if (platform::isMainThread()) {
    deliverAudioFormatOnMainThreadDirectly();
    return;
  }
  platform::performOnMainThread(shared_from_this(),
                                &AVUIProxy::deliverAudioFormatOnMainThreadDirectly, {}, false);
  const platform::Lock guard(myLock);
  while (myAudioFormatUnderWay) myAudioFormatArrived.wait(myLock);
}

void AVUIProxy::endAudioFormatDelivery() {
  const platform::Lock guard(myLock);
  myAudioFormatUnderWay = false;
  myAudioFormatArrived.notifyAll();
}

void AVUIProxy::deliverAudioFormatOnMainThreadDirectly() {
  // On every way out: an exception is the run loop's, not the audio thread's.
  const auto end = [](AVUIProxy* bridge) { bridge->endAudioFormatDelivery(); };
  const std::unique_ptr<AVUIProxy, decltype(end)> ended(this, end);
  MacWarnTrace2(kTraceModule, "deliverAudioFormatOnMainThreadDirectly when audio format changed.");
  ISVSPlayerNotifySink* const sink = myAvApp.sink();
  if (sink == nullptr) return;
  {
    const platform::Lock guard(myLock);
    myDeliveredAudioFormat = myPublishedAudioFormat;
  }
  sink->OnNotify(PLAYER_NOTIFY_AUDIO_FORMAT,
                 reinterpret_cast<unsigned long>(&myDeliveredAudioFormat), 0);
}
