#include "meeting/DocumentStream.h"

#include <algorithm>
#include <utility>

#include "meeting/AttendeeChannel.h"

namespace meeting {

namespace {

constexpr std::chrono::milliseconds kPositionInterval{500};
constexpr unsigned kTicksPerQuality = 2;

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

DocumentStream::DocumentStream(DocumentIds ids, StreamObserver& observer,
                               std::shared_ptr<const platform::Clock> clock)
    : ids_(ids), observer_(observer), clock_(std::move(clock)), samples_(*clock_) {}

DocumentStream::~DocumentStream() = default;

void DocumentStream::fail() {
  if (std::exchange(failed_, true)) return;
  // Members stay so until the channel is created again: they wait for samples.
  samples_.removeAll();
  const auto failed = channelStatus(MM_MEDIA_STREAMING_CHANNEL_STATUS_REGISTER_FAILED);
  postToPresenter(failed);
  postToAll(failed);
}

void DocumentStream::reconnect() {
  if (std::exchange(failed_, false) && registration_) createChannel();
}

void DocumentStream::openChannel(const std::weak_ptr<PlatformPeer>& presenter,
                                 std::uint64_t durationMs,
                                 MM_MEDIASTREAMING_MEDIACONTENENT content) {
  registration_ = Registration{presenter, durationMs, content, false};
  if (failed_)
    postToPresenter(channelStatus(MM_MEDIA_STREAMING_CHANNEL_STATUS_REGISTER_FAILED));
  else
    createChannel();
}

// The presenter, who does not register anew when a channel is created again, is in at once.
void DocumentStream::createChannel() {
  endMemberships();
  const bool isNew = !std::exchange(registration_->observed, true);
  if (isNew) observer_.onRegistered(registration_->durationMs, registration_->content);
  const auto created = channelStatus(MM_MEDIA_STREAMING_CHANNEL_STATUS_CREATE_CONFIRM);
  postToPresenter(created);
  postToPresenter(channelStatus(MM_MEDIA_STREAMING_CHANNEL_STATUS_JOIN_SUCCESS));
  postToAll(created);
  if (!isNew) return;
  platform::dispatchOnMainThread([weak = weak_from_this()] {
    if (const auto self = weak.lock()) self->observer_.onJoined();
  });
}

void DocumentStream::sourceStatus(MM_MEDIASTREAMING_SOURCE_STATUS status, std::int64_t positionMs) {
  if (const auto shown = playStatusOf(status)) {
    playStatus_ = *shown;
    statusPositionMs_ = positionMs > 0 ? static_cast<std::uint64_t>(positionMs) : 0;
    samples_.setPositionMs(statusPositionMs_);
    postToMembers(playStatus(*shown));
    postToMembers(playPosition());
    followPlaying();
  }
  observer_.onSourceStatus(status, positionMs);
}

void DocumentStream::videoFormat(const VideoFormat& format) {
  format_ = format;
  postToMembers(videoSize());
  observer_.onVideoFormat(format);
}

void DocumentStream::audioFormat(const AudioFormat& format) {
  samples_.setAudioFormat(format);
  observer_.onAudioFormat(format);
}

void DocumentStream::closeChannel() {
  if (playStatus_ && *playStatus_ != MM_MEDIA_STREAMING_PLYASTATUS_STOP)
    postToMembers(playStatus(MM_MEDIA_STREAMING_PLYASTATUS_STOP));
  endChannel();
}

void DocumentStream::loseChannel() {
  endChannel();
  postToAll(playStatus(MM_MEDIA_STREAMING_PLYASTATUS_PROVIDER_CRASH));
}

void DocumentStream::endChannel() {
  registration_.reset();
  playStatus_.reset();
  statusPositionMs_ = 0;
  format_ = {};
  endMemberships();
  followPlaying();
  samples_.forget();
}

void DocumentStream::endMemberships() {
  samples_.removeAll();
  for (AttendeeChannel* attendee : attendees_) {
    attendee->endMembership();
    attendee->restartFlow(clock_->now());
  }
}

void DocumentStream::add(AttendeeChannel& attendee) { attendees_.push_back(&attendee); }

void DocumentStream::remove(AttendeeChannel& attendee) {
  samples_.remove(attendee);
  std::erase(attendees_, &attendee);
}

void DocumentStream::join(AttendeeChannel& attendee) {
  if (!isOpen()) {
    attendee.setMembership(Membership::invited);
    attendee.post(channelStatus(MM_MEDIA_STREAMING_CHANNEL_STATUS_REGISTER_FAILED));
    return;
  }
  attendee.setMembership(Membership::member);
  attendee.restartFlow(clock_->now());
  attendee.post(channelStatus(MM_MEDIA_STREAMING_CHANNEL_STATUS_JOIN_SUCCESS));
  if (format_.width > 0) attendee.post(videoSize());
  if (playStatus_) attendee.post(playStatus(*playStatus_));
  attendee.post(playPosition());
  if (!samples_.add(attendee) && !isPlaying()) observer_.onPictureWanted();
}

void DocumentStream::leave(AttendeeChannel& attendee) {
  samples_.remove(attendee);
  attendee.setMembership(Membership::left);
}

void DocumentStream::resumeSoon(AttendeeChannel& attendee) {
  platform::dispatchOnMainThread([weak = weak_from_this(), &attendee] {
    if (const auto self = weak.lock()) self->resume(&attendee);
  });
}

// The attendee may have ended meanwhile.
void DocumentStream::resume(const AttendeeChannel* attendee) {
  const auto found = std::find(attendees_.begin(), attendees_.end(), attendee);
  if (found != attendees_.end() && (*found)->endDrought())
    (*found)->post(playStatus(MM_MEDIA_STREAMING_PLYASTATUS_PLAYING));
}

void DocumentStream::postToAll(const StatusRecord& record) const {
  for (const AttendeeChannel* attendee : attendees_)
    if (attendee->membership() != Membership::left) attendee->post(record);
}

void DocumentStream::postToMembers(const StatusRecord& record) const {
  if (failed_) return;
  for (const AttendeeChannel* attendee : attendees_)
    if (attendee->membership() == Membership::member) attendee->post(record);
}

void DocumentStream::postToPresenter(const StatusRecord& record) const {
  if (!registration_) return;
  if (const auto peer = registration_->presenter.lock()) peer->postStatus(record);
}

std::uint64_t DocumentStream::positionMs() const {
  return isPlaying() ? samples_.positionMs() : statusPositionMs_;
}

// Ticks start at the play status, so that what is told by and by keeps its place among the rest.
void DocumentStream::followPlaying() {
  const platform::TimePoint now = clock_->now();
  ticker_.reset();
  ticks_ = 0;
  measuredSince_ = now;
  for (AttendeeChannel* attendee : attendees_) attendee->restartFlow(now);
  if (isPlaying()) ticker_.emplace(kPositionInterval, [this] { tick(); });
}

void DocumentStream::tick() {
  const platform::TimePoint now = clock_->now();
  postToMembers(playPosition());
  if (++ticks_ % kTicksPerQuality == 0) reportQuality(now);
  for (AttendeeChannel* attendee : attendees_)
    if (attendee->membership() == Membership::member && attendee->beginDrought(now))
      attendee->post(playStatus(MM_MEDIA_STREAMING_PLYASTATUS_REBUFFER));
}

void DocumentStream::reportQuality(platform::TimePoint now) {
  const platform::Duration measured = now - std::exchange(measuredSince_, now);
  for (AttendeeChannel* attendee : attendees_) {
    attendee->measureRate(measured);
    if (attendee->membership() == Membership::member && !failed_)
      attendee->post(tagMSVideoQuality{head(), 0, attendee->statistics().fps});
  }
}

tagMSChannelStatus DocumentStream::channelStatus(MM_MEDIA_STREAMING_CHANNEL_STATUS status) const {
  return {head(), 0, status, 0};
}

tagMSPlayStatus DocumentStream::playStatus(MM_MEDIA_STREAMING_PLAYSTATUS status) const {
  return {head(), status, 0};
}

tagMSPlayPosition DocumentStream::playPosition() const { return {head(), positionMs()}; }

tagMSVideoInfo DocumentStream::videoSize() const {
  return {head(), MM_MEDIASTREAMING_VIDEO_INFO_SIZE, static_cast<std::uint16_t>(format_.width),
          static_cast<std::uint16_t>(format_.height)};
}

}  // namespace meeting
