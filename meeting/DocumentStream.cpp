#include "meeting/DocumentStream.h"

#include <algorithm>
#include <chrono>

#include "meeting/AttendeeChannel.h"
#include "meeting/Conference.h"

namespace meeting {

namespace {

constexpr tagMSHead kHead{Conference::kSessionId, Conference::kSourceId};

// Frames that an attendee can hold on to: in its slot, taken, on show before, looked at.
constexpr std::size_t kFramesPerAttendee = 4;
// One that is being copied.
constexpr std::size_t kFramesOfPresenter = 1;

constexpr std::chrono::milliseconds kPositionInterval{500};
constexpr unsigned kTicksPerQuality = 2;

tagMSPlayPosition playPosition(std::uint64_t positionMs) { return {kHead, positionMs}; }

tagMSVideoInfo videoSize(const VideoFormat& format) {
  return {kHead, MM_MEDIASTREAMING_VIDEO_INFO_SIZE, static_cast<std::uint16_t>(format.width),
          static_cast<std::uint16_t>(format.height)};
}

// What attendees see of a source status; nothing for the window's activity.
std::optional<MM_MEDIA_STREAMING_PLAYSTATUS> playStatusOf(MM_MEDIASTREAMING_SOURCE_STATUS status) {
  switch (status) {
    case MM_MEDIASTREAMING_PLAY:
      return MM_MEDIA_STREAMING_PLYASTATUS_PLAYING;
    case MM_MEDIASTREAMING_PAUSE:
      return MM_MEDIA_STREAMING_PLYASTATUS_PAUSE;
    case MM_MEDIASTREAMING_STOP:
      return MM_MEDIA_STREAMING_PLYASTATUS_STOP;
    default:
      return std::nullopt;
  }
}

}  // namespace

tagMSChannelStatus channelStatus(MM_MEDIA_STREAMING_CHANNEL_STATUS status) {
  return {kHead, 0, status, 0};
}

tagMSPlayStatus playStatus(MM_MEDIA_STREAMING_PLAYSTATUS status) { return {kHead, status, 0}; }

DocumentStream::DocumentStream(StreamObserver& observer)
    : observer_(observer), pool_(kFramesOfPresenter) {}

DocumentStream::~DocumentStream() = default;

void DocumentStream::openChannel(const std::weak_ptr<PlatformPeer>& presenter,
                                 std::uint64_t durationMs,
                                 MM_MEDIASTREAMING_MEDIACONTENENT content) {
  open_ = true;
  observer_.onRegistered(durationMs, content);
  const auto created = channelStatus(MM_MEDIA_STREAMING_CHANNEL_STATUS_CREATE_CONFIRM);
  if (const auto peer = presenter.lock()) {
    peer->postStatus(created);
    peer->postStatus(channelStatus(MM_MEDIA_STREAMING_CHANNEL_STATUS_JOIN_SUCCESS));
  }
  postToAll(created);
  platform::dispatchOnMainThread([weak = weak_from_this()] {
    if (const auto self = weak.lock()) self->observer_.onJoined();
  });
  if (!ticker_) ticker_.emplace(kPositionInterval, [this] { tick(); });
}

void DocumentStream::sourceStatus(MM_MEDIASTREAMING_SOURCE_STATUS status, std::int64_t positionMs) {
  const auto shown = playStatusOf(status);
  if (shown) {
    playStatus_ = *shown;
    positionMs_ = positionMs > 0 ? static_cast<std::uint64_t>(positionMs) : 0;
    postToAll(playStatus(*shown));
    postToAll(playPosition(positionMs_));
  }
  observer_.onSourceStatus(status, positionMs);
}

void DocumentStream::videoFormat(const VideoFormat& format) {
  format_ = format;
  postToAll(videoSize(format));
  observer_.onVideoFormat(format);
}

void DocumentStream::closeChannel() {
  if (!open_) return;
  open_ = false;
  ticker_.reset();
  if (playStatus_ && *playStatus_ != MM_MEDIA_STREAMING_PLYASTATUS_STOP)
    postToAll(playStatus(MM_MEDIA_STREAMING_PLYASTATUS_STOP));
  playStatus_.reset();
}

void DocumentStream::loseChannel() {
  if (!open_) return;
  open_ = false;
  ticker_.reset();
  playStatus_.reset();
  postToAll(playStatus(MM_MEDIA_STREAMING_PLYASTATUS_PROVIDER_CRASH));
}

void DocumentStream::video(const VideoSample& sample) {
  positionMs_ = sample.timestampMs;
  observer_.onVideo(sample);
  if (!hasListeners_) return;
  const FrameRef frame = pool_.copyOf(sample);
  const std::lock_guard lock(listenersMutex_);
  for (AttendeeChannel* listener : listeners_) listener->offer(frame);
}

void DocumentStream::audio(const AudioSample& sample) {
  observer_.onAudio(sample);
  if (!hasListeners_) return;
  const std::lock_guard lock(listenersMutex_);
  for (AttendeeChannel* listener : listeners_) listener->offer(sample);
}

void DocumentStream::add(AttendeeChannel& channel) {
  attendees_.push_back(&channel);
  pool_.setCapacity(kFramesOfPresenter + kFramesPerAttendee * attendees_.size());
}

void DocumentStream::remove(AttendeeChannel& channel) {
  {
    const std::lock_guard lock(listenersMutex_);
    std::erase(listeners_, &channel);
    hasListeners_ = !listeners_.empty();
  }
  std::erase(attendees_, &channel);
  pool_.setCapacity(kFramesOfPresenter + kFramesPerAttendee * attendees_.size());
}

void DocumentStream::join(AttendeeChannel& channel) {
  channel.post(channelStatus(MM_MEDIA_STREAMING_CHANNEL_STATUS_JOIN_SUCCESS));
  if (format_.width > 0) channel.post(videoSize(format_));
  if (playStatus_) channel.post(playStatus(*playStatus_));
  channel.post(playPosition(positionMs_));
  const std::lock_guard lock(listenersMutex_);
  if (std::find(listeners_.begin(), listeners_.end(), &channel) == listeners_.end())
    listeners_.push_back(&channel);
  hasListeners_ = true;
}

void DocumentStream::postToAll(const StatusRecord& record) {
  for (const AttendeeChannel* attendee : attendees_) attendee->post(record);
}

void DocumentStream::tick() {
  ++ticks_;
  if (playStatus_ != MM_MEDIA_STREAMING_PLYASTATUS_PLAYING) return;
  postToAll(playPosition(positionMs_));
  if (ticks_ % kTicksPerQuality != 0) return;
  const double interval =
      std::chrono::duration<double>(kPositionInterval * kTicksPerQuality).count();
  for (AttendeeChannel* attendee : attendees_)
    attendee->post(tagMSVideoQuality{kHead, 0, attendee->framesPerSecond(interval)});
}

}  // namespace meeting
