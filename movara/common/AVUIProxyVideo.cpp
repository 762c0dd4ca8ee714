// Decoded frames on their way to the application, and what happens to them around pauses.
#include <chrono>
#include <new>
#include <thread>

#include "avcapture/KTVideoPlayer.h"
#include "movara/common/AVUIProxy.h"
#include "movara/common/FrameDump.h"
#include "movara/common/Trace.h"
#include "movara/player/KTAVPlayer.h"

namespace {

constexpr float kMillisecondsPerSecond = 1000.0F;

// What a format says when the player knows none.
constexpr float kUnknownFrameRate = 1.0F;

// Lets the first format overtake the first sample.
constexpr std::chrono::milliseconds kFormatHeadStart{10};

// A still frame goes out this long after the last change to it, in seconds.
constexpr float kStillFrameDelay = 0.1F;

// A log line for the first of so many samples.
constexpr std::uint32_t kSamplesPerLine = 200;

// 24-bit rows, padded to a multiple of 4 bytes.
constexpr std::uint32_t byteLength(std::uint32_t width, std::uint32_t height) {
  return 4U * height * ((24U * width + 31U) / 32U);
}
static_assert(byteLength(640, 480) == 921'600 && byteLength(641, 1) == 1'924);

// The fields that ever differ.
bool sameFormat(const tagMSVIDEOFORMATEX& a, const tagMSVIDEOFORMATEX& b) {
  return a.wWidth == b.wWidth && a.wHeight == b.wHeight && a.wFrameRate == b.wFrameRate;
}

}  // namespace

void AVUIProxy::newImageArrive(void* pixels, std::uint32_t imageWidth, std::uint32_t imageHeight,
                               std::uint32_t timestamp) {
  std::shared_ptr<platform::Object> self;  // let go after the pass, which is part of the bridge
  const SinkGate::Pass pass(myAvApp);
  if (myAvApp.sink() == nullptr) return;
  const float now = currentTime();
  if (myAvApp.sink() == nullptr) return;

  fillVideoFormat(imageWidth, imageHeight);
  if ((myFormatNotifyStatus & kVideoFormatAccepted) == 0) {
    self = shared_from_this();
    waitForVideoFormatDelivery();
  }
  if (myAvApp.sink() == nullptr || pixels == nullptr) return;
  auto sample = liveSample(pixels, imageWidth, imageHeight, timestamp);

  if (myPreviousVideoTimestamp == timestamp && isPlaying()) return;

  avcapture::KTVideoPlayer* view = nullptr;
  if (!isPlaying()) {
    MacInfoTrace2(kTraceModule, "timestampNow = %d, mediaData.dwTimestamp = %d",
                  platform::Value(now * kMillisecondsPerSecond).intValue(),
                  static_cast<int>(timestamp));
    CAVPlayer* const owner = player();
    if (owner != nullptr) view = owner->videoPlayer().get();
    if (view == nullptr) return;
  }
  if (myPausedFrameHeld && isPlaying()) forgetPausedFrame();
  if (view != nullptr && !isPlaying() && view->invalidImageBufferCount() == 1) {
    deliverPausedFrame(sample);
    return;
  }

  estimateFrameRate(timestamp);
  // Nothing is published by it; a fence would cost each frame some 4 ns (path_bench).
  myPreviousVideoTimestamp.store(timestamp, std::memory_order_relaxed);
  if (framedump::isOn()) {
    framedump::write(framedump::Kind::kLive, pixels, sample.dwDataLength, imageWidth, imageHeight,
                     timestamp);
  }
  sendLiveSample(sample);
}

void AVUIProxy::fillVideoFormat(std::uint32_t width, std::uint32_t height) {
  tagMSVIDEOFORMATEX format{};
  format.wWidth = static_cast<std::uint16_t>(width);
  format.wHeight = static_cast<std::uint16_t>(height);
  format.wFrameRate = fps() > 0.0F ? fps() : kUnknownFrameRate;
  const bool changed = !sameFormat(format, myVideoFormat);
  myVideoFormat = format;  // always: the receiver of the last sample could write to it
  if (changed) publishVideoFormat();
}

// For the main thread, which must not look at myVideoFormat. A format that the application holds on
// to, because its request is waiting for the channel, follows.
void AVUIProxy::publishVideoFormat() {
  {
    const platform::Lock guard(myLock);
    myPublishedVideoFormat = myVideoFormat;
  }
  if ((myFormatNotifyStatus & kVideoFormatAccepted) != 0) {
    platform::performOnMainThread(shared_from_this(), &AVUIProxy::refreshDeliveredVideoFormat, {},
                                  false);
  }
}

void AVUIProxy::refreshDeliveredVideoFormat() {
  const platform::Lock guard(myLock);
  myDeliveredVideoFormat = myPublishedVideoFormat;
}

void AVUIProxy::waitForVideoFormatDelivery() {
  platform::performOnMainThread(shared_from_this(), &AVUIProxy::deliverVideoFormatOnMainThread, {},
                                false);
  std::this_thread::sleep_for(kFormatHeadStart);
}

tagMSDataStructure AVUIProxy::liveSample(void* pixels, std::uint32_t width, std::uint32_t height,
                                         std::uint32_t timestamp) {
  tagMSDataStructure sample{};
  sample.dwTimestamp = timestamp;
  sample.pData = pixels;
  sample.dwDataLength = byteLength(width, height);
  sample.nMediaType = MM_MEDIASTREAMING_MEDIATYPE_VIDEO;
  sample.pFormat = &myVideoFormat;
  sample.dwFormatLength = sizeof(myVideoFormat);
  return sample;
}

void AVUIProxy::forgetPausedFrame() {
  const platform::Lock guard(myLock);
  if (myVideoPausedVideo) myVideoPausedVideo->clear();
  myPausedFrameHeld = false;
}

bool AVUIProxy::redrawsPausedFrame(const tagMSDataStructure& sample) {
  const platform::Lock guard(myLock);
  return myVideoPausedVideo && myVideoPausedVideo->redraw(sample);
}

bool AVUIProxy::keepPausedFrame(const tagMSDataStructure& sample) {
  const platform::Lock guard(myLock);
  if (!myVideoPausedVideo || !myVideoPausedVideo->store(sample)) return false;
  myPausedFrameHeld = true;
  return true;
}

// Nothing is sent now: the main thread does it when the picture has stopped changing.
void AVUIProxy::deliverPausedFrame(const tagMSDataStructure& sample) {
  if (redrawsPausedFrame(sample)) {
    MacInfoTrace2(kTraceModule, "same data[mediaData.dwTimestamp = %d], ingore this!",
                  static_cast<int>(sample.dwTimestamp));
    return;
  }
  if (!keepPausedFrame(sample)) return;
  try {
    platform::performOnMainThread(shared_from_this(), &AVUIProxy::_deliverLatestImageOnMainThread,
                                  kStillFrameDelay, false);
  } catch (const std::bad_alloc&) {
    forgetPausedFrame();  // it will not go out: the same one that comes again is another
    throw;
  }
}

// For a movie that does not say how many frames a second it has: once, from the gap between two.
void AVUIProxy::estimateFrameRate(std::uint32_t timestamp) {
  if (myVideoFormat.wFrameRate != kUnknownFrameRate) return;  // spares asking again for each frame
  if (fps() != 0.0F) return;
  const std::uint32_t previous = myPreviousVideoTimestamp;
  if (previous == kNoTimestamp || myFPS != 0.0F || !isPlaying() || previous >= timestamp ||
      !isPlaying()) {
    return;
  }
  myFPS = 1.0F / (static_cast<float>(timestamp - previous) / kMillisecondsPerSecond);
  myVideoFormat.wFrameRate = myFPS;
  publishVideoFormat();
  MacWarnTrace2(kTraceModule, "fps = 0, reset myVideoFormat.wFrameRate = %d",
                static_cast<int>(myFPS));
  platform::performOnMainThread(shared_from_this(), &AVUIProxy::deliverVideoFormatOnMainThread, {},
                                false);
}

void AVUIProxy::sendLiveSample(tagMSDataStructure& sample) {
  ISVSPlayerNotifySink* const sink = myAvApp.sink();
  if (sink == nullptr) return;
  sink->OnNotify(PLAYER_NOTIFY_MEDIA_SAMPLE, reinterpret_cast<unsigned long>(&sample), 0);
  const std::uint32_t count = ++myTotalVideoSended;
  if (count % kSamplesPerLine == 1) {
    MacInfoTrace2(kTraceModule, "Total send %d video current video is palying",
                  static_cast<int>(count));
  }
}

void AVUIProxy::deliverVideoFormatOnMainThread() {
  refreshDeliveredVideoFormat();
  if ((myFormatNotifyStatus & kVideoFormatAccepted) != 0) {
    MacWarnTrace2(kTraceModule, "deliverVideoFormatOnMainThread already send out video format");
    return;
  }
  ISVSPlayerNotifySink* const sink = myAvApp.sink();
  if (sink == nullptr) return;
  if (sink->OnNotify(PLAYER_NOTIFY_VIDEO_FORMAT,
                     reinterpret_cast<unsigned long>(&myDeliveredVideoFormat), 0) == 0) {
    myFormatNotifyStatus |= kVideoFormatAccepted;
  }
}

// A debounce: however many changed frames arrive, the last of them goes out, once.
void AVUIProxy::_deliverLatestImageOnMainThread(const platform::Value& delay) {
  platform::cancelPerform(*this, &AVUIProxy::_deliverLatestImage, {});
  platform::performAfterDelay(
      shared_from_this(), &AVUIProxy::_deliverLatestImage, {},
      platform::seconds(delay.doubleValue()),
      {platform::kDefaultRunLoopMode, platform::kConnectionReplyMode,
       platform::kModalPanelRunLoopMode, platform::kEventTrackingRunLoopMode});
}

void AVUIProxy::_deliverLatestImage() {
  PausedFrame::Pin pin;
  const auto dropPin = [this](PausedFrame::Pin* held) {
    const platform::Lock guard(myLock);
    held->buffer = nullptr;
  };
  const std::unique_ptr<PausedFrame::Pin, decltype(dropPin)> pinGuard(&pin, dropPin);
  {
    const platform::Lock guard(myLock);
    if (!myVideoPausedVideo || !myVideoPausedVideo->hasBuffer()) return;
    pin = myVideoPausedVideo->pin();
    // The size is that of its pixels, whatever has arrived since; the rate is the movie's.
    pin.format.wFrameRate = myPublishedVideoFormat.wFrameRate;
  }
  ISVSPlayerNotifySink* const sink = myAvApp.sink();
  if (sink == nullptr) return;
  // The sample refers to the frame that is showing, not to one that arrives during the call.
  if (pin.record.pFormat != nullptr) pin.record.pFormat = &pin.format;

  const auto timestamp = static_cast<std::uint32_t>(pin.record.dwTimestamp);
  myPreviousVideoTimestamp = timestamp;
  sink->OnNotify(PLAYER_NOTIFY_MEDIA_SAMPLE, reinterpret_cast<unsigned long>(&pin.record), 0);
  MacInfoTrace2(kTraceModule, "_deliverLatestImage, mediaData.dwTimestamp = %d",
                static_cast<int>(timestamp));
  const std::uint32_t count = ++myTotalVideoSended;
  if (count % kSamplesPerLine == 1) {
    MacInfoTrace2(kTraceModule, "Total send %d video current video is paused",
                  static_cast<int>(count));
  }
  if (framedump::isOn()) {
    framedump::write(framedump::Kind::kPaused, pin.record.pData, pin.buffer->capacity,
                     pin.format.wWidth, pin.format.wHeight, timestamp);
  }
}

void AVUIProxy::prepareDeliverLastestImageAgain() { myPreviousVideoTimestamp = kNoTimestamp; }

void AVUIProxy::resetFormatSendStatus() { myFormatNotifyStatus = 0; }
