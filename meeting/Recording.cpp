#include "meeting/Recording.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "avcapture/AVURLAsset.h"
#include "avcapture/Keys.h"
#include "platform/RunLoop.h"

namespace meeting {

namespace {

constexpr std::uint16_t kBitsPerSample = 16;
constexpr int kCaptureView = 1;
constexpr std::uint64_t kMillisecondsPerSecond = 1000;

tMSAUDIOFORMATEX audioFormatOf(std::uint32_t channels, std::uint64_t rate) {
  tMSAUDIOFORMATEX format{};
  format.nChannels = static_cast<std::uint16_t>(channels);
  format.nSamplesPerSec = rate;
  format.wBitsPerSample = kBitsPerSample;
  format.nBlockAlign = static_cast<std::uint16_t>(channels * kBitsPerSample / 8);
  format.nAvgBytesPerSec = rate * format.nBlockAlign;
  format.cbSize = sizeof format;
  return format;
}

tagMSVIDEOFORMATEX videoFormatOf(std::uint32_t width, std::uint32_t height, double fps) {
  tagMSVIDEOFORMATEX format{};
  format.wWidth = static_cast<std::uint16_t>(width);
  format.wHeight = static_cast<std::uint16_t>(height);
  format.wFrameRate = static_cast<float>(fps);
  return format;
}

}  // namespace

std::shared_ptr<Recording> Recording::open(const std::string& file, tagMSHead ids,
                                           std::unique_ptr<PlatformPort> port,
                                           platform::View& view) {
  auto recording = std::make_shared<Recording>(ids, std::move(port));
  return recording->play(file, view) ? recording : nullptr;
}

Recording::Recording(tagMSHead ids, std::unique_ptr<PlatformPort> port)
    : ids_(ids), port_(std::move(port)) {}

Recording::~Recording() { close(); }

bool Recording::play(const std::string& file, platform::View& view) {
  player_ = avcapture::KTVideoPlayer::newInstance();
  player_->setPlayerType(avcapture::kPlayerTypeSource);
  player_->setDelegate(this);
  player_->attachToSuperView(&view);
  if (!player_->setMovie(avcapture::AVURLAsset::assetWithFilePath(file))) return false;
  session_ = avcapture::LUMAVCaptureSession::initWithParams(
      {{avcapture::kAVStreamListenerKey, shared_from_this()},
       {avcapture::kAVCaptureSessionTypeKey, kCaptureView},
       {avcapture::kQuickTimeQTVideoPlayerKey, player_}});
  registerSource();
  return true;
}

void Recording::close() {
  if (!player_) return;
  player_->willDie();
  session_.reset();
  player_->setDelegate(nullptr);
  player_->attachToSuperView(nullptr);
  player_.reset();
  tagMSUnRegisterInfo record{};
  record.head = ids_;
  record.eChannelType = MM_MEDIASTREAMING_CHANNEL_SOURCE;
  send(MM_MEDIASTREAMING_CMD_UNREGISTER, &record);
}

tagStmMediaInfo Recording::mediaInfo() const {
  const std::int64_t most = std::numeric_limits<std::int32_t>::max();
  const std::int64_t milliseconds = player_->duration() * std::int64_t{kMillisecondsPerSecond};
  const int type = player_->mediaType();
  return {static_cast<std::int32_t>(std::min(milliseconds, most)),
          static_cast<MM_MEDIASTREAMING_MEDIACONTENENT>(type), static_cast<std::uint32_t>(type)};
}

// --- what the platform is sent ---

void Recording::send(MM_MEDIASTREAMING_COMMAND command, void* record) {
  port_->request(SVS_MSG_MS_COMMAND, static_cast<unsigned long>(command), record);
}

void Recording::registerSource() {
  const tagStmMediaInfo info = mediaInfo();
  tagMSRegisterInfo record{};
  record.head = ids_;
  record.eChannelType = MM_MEDIASTREAMING_CHANNEL_SOURCE;
  record.dwDuration = static_cast<std::uint64_t>(info.nDurationMs);
  record.eMediaContent = info.nMediaContent;
  send(MM_MEDIASTREAMING_CMD_REGISTER, &record);
}

void Recording::sendStatus(MM_MEDIASTREAMING_SOURCE_STATUS status, std::uint64_t seekMark) {
  tagMSSourceStatus record{};
  record.head = ids_;
  record.eChannelType = MM_MEDIASTREAMING_CHANNEL_SOURCE;
  record.eStatus = status;
  record.lPosition = std::llround(double{player_->currentTime()} * kMillisecondsPerSecond);
  record.dwSeekMark = seekMark;
  send(MM_MEDIASTREAMING_CMD_SOURCE_STATUS, &record);
}

void Recording::sendVideoFormat() {
  if (!player_) return;
  const std::uint32_t size = videoSize_;
  tagMSVIDEOFORMATEX format = videoFormatOf(size >> 16, size & 0xFFFFU, player_->fps());
  sendFormat(MM_MEDIASTREAMING_MEDIATYPE_VIDEO, &format, sizeof format);
}

void Recording::sendAudioFormat() {
  if (!player_) return;
  const std::uint64_t shape = audioShape_;
  tMSAUDIOFORMATEX format = audioFormatOf(shape & 0xFFFFU, shape >> 16);
  sendFormat(MM_MEDIASTREAMING_MEDIATYPE_AUDIO, &format, sizeof format);
}

void Recording::sendFormat(MM_MEDIASTREAMING_MEDIATYPE type, void* format, std::size_t bytes) {
  tagMSMediaFormat record{};
  record.head = ids_;
  record.eMediaType = type;
  record.pFormat = format;
  record.dwFormatSize = bytes;
  send(MM_MEDIASTREAMING_CMD_MEDIA_FORMAT, &record);
}

void Recording::newImageArrive(void* pixels, std::uint32_t width, std::uint32_t height,
                               std::uint32_t timestamp) {
  const std::uint32_t size = (width << 16) | height;
  if (videoSize_.exchange(size) != size) {
    platform::dispatchOnMainThread([self = shared_from_this(), this] { sendVideoFormat(); });
  }
  if (pixels == nullptr) return;
  tagMSVIDEOFORMATEX format = videoFormatOf(width, height, 0);
  tagMSDataStructure record{};
  record.sessionID = ids_.sessionID;
  record.sourceID = ids_.sourceID;
  record.dwTimestamp = timestamp;
  record.bReserved = player_->isPlaying() ? 0 : 1;
  record.pData = pixels;
  record.dwDataLength = std::uint64_t{(3 * width + 3) & ~3U} * height;
  record.nMediaType = MM_MEDIASTREAMING_MEDIATYPE_VIDEO;
  record.pFormat = &format;
  record.dwFormatLength = sizeof format;
  send(MM_MEDIASTREAMING_CMD_MEDIA_DATA, &record);
}

void Recording::newAudioFramesArrive(platform::Object* /*sender*/, avcapture::AudioBufferList* list,
                                     std::uint64_t /*frames*/,
                                     avcapture::AudioStreamBasicDescription* asbd,
                                     std::uint32_t timestamp) {
  const auto rate = static_cast<std::uint64_t>(asbd->mSampleRate);
  const std::uint64_t shape = (rate << 16) | asbd->mChannelsPerFrame;
  if (audioShape_.exchange(shape) != shape) {
    platform::dispatchOnMainThread([self = shared_from_this(), this] { sendAudioFormat(); });
  }
  if (list == nullptr) return;
  tMSAUDIOFORMATEX format = audioFormatOf(asbd->mChannelsPerFrame, rate);
  tagMSDataStructure record{};
  record.sessionID = ids_.sessionID;
  record.sourceID = ids_.sourceID;
  record.dwTimestamp = timestamp;
  record.pData = list->mBuffers[0].mData;
  record.dwDataLength = list->mBuffers[0].mDataByteSize;
  record.nMediaType = MM_MEDIASTREAMING_MEDIATYPE_AUDIO;
  record.pFormat = &format;
  record.dwFormatLength = sizeof format;
  send(MM_MEDIASTREAMING_CMD_MEDIA_DATA, &record);
}

// --- the player view's delegate ---

void Recording::renderMovie(bool /*rendered*/) {}
void Recording::volumeChange(platform::Object* /*sender*/, const platform::Value& /*volume*/) {}
void Recording::toggleFullscreen(platform::Object* /*sender*/) {}

void Recording::onPlay(platform::Object* /*sender*/) { sendStatus(MM_MEDIASTREAMING_PLAY, 0); }
void Recording::onPause(platform::Object* /*sender*/) { sendStatus(MM_MEDIASTREAMING_PAUSE, 0); }
void Recording::onStop(platform::Object* /*sender*/) { sendStatus(MM_MEDIASTREAMING_STOP, 0); }

void Recording::onSkip(platform::Object* /*sender*/) {
  if (player_->isPlaying()) {
    sendStatus(MM_MEDIASTREAMING_PLAY, MM_MEDIASTREAMING_SEEK_MARK);
  } else if (player_->pausedByUser()) {
    sendStatus(MM_MEDIASTREAMING_PAUSE, MM_MEDIASTREAMING_SEEK_MARK);
  }
}

// The view asks about a movie that it plays itself only when it has nothing to say of its own.
float Recording::fps() { return static_cast<float>(player_->fps()); }
bool Recording::isPlaying() { return player_->isPlaying(); }
bool Recording::pausedByUser() { return player_->pausedByUser(); }
float Recording::currentTime() { return player_->currentTime(); }
float Recording::duration() { return static_cast<float>(player_->duration()); }
platform::Size Recording::mediaSize() {
  const std::uint32_t size = videoSize_;
  return {static_cast<double>(size >> 16), static_cast<double>(size & 0xFFFFU)};
}
std::int32_t Recording::mediaType() { return player_->mediaType(); }
std::int64_t Recording::volume() { return player_->volume() * 255 / 100; }

}  // namespace meeting
