#include "meeting/AttendeeChannel.h"

#include <chrono>
#include <utility>

#include "meeting/QueryAnswers.h"
#include "meeting/RecordChecks.h"

namespace meeting {

AttendeeChannel::AttendeeChannel(std::shared_ptr<DocumentStream> stream,
                                 std::weak_ptr<PlatformPeer> peer, Entry entry)
    : stream_(std::move(stream)), peer_(std::move(peer)), entry_(entry) {
  stream_->add(*this);
}

AttendeeChannel::~AttendeeChannel() { stream_->remove(*this); }

UCFResult AttendeeChannel::request(unsigned long type, unsigned long uMsg, void* record) {
  switch (type) {
    case SVS_MSG_MS_COMMAND:
      return record != nullptr ? command(uMsg, record) : 0;
    case SVS_MSG_START_SESSION:
    case SVS_MSG_STOP_SESSION:
      return 1;
    default:
      return 0;
  }
}

UCFResult AttendeeChannel::command(unsigned long uMsg, void* record) {
  switch (uMsg) {
    case MM_MEDIASTREAMING_CMD_QUERY:
      return answerQuery(*static_cast<tagQuery*>(record), *stream_);
    case MM_MEDIASTREAMING_CMD_REGISTER:
      return registerListener(*static_cast<const tagMSRegisterInfo*>(record));
    case MM_MEDIASTREAMING_CMD_UNREGISTER:
      return unregister(*static_cast<const tagMSUnRegisterInfo*>(record));
    case MM_MEDIASTREAMING_CMD_SET_RENDER:
      return setRender(*static_cast<const tagMSRenderInfo*>(record));
    case MM_MEDIASTREAMING_CMD_UPDATE_RENDER:
      return updateRender(*static_cast<const tagMSRenderUpdate*>(record));
    case MM_MEDIASTREAMING_CMD_VOLUME:
      return setVolume(*static_cast<const tagMSVolumeInfo*>(record));
    case MM_MEDIASTREAMING_CMD_MUTE_STATUS:
      return setMuted(*static_cast<const tagMSMuteInfo*>(record));
    case MM_MEDIASTREAMING_CMD_SOURCE_STATUS:
      return isOurs(*static_cast<const tagMSHead*>(record)) ? 1 : 0;
    default:
      return 0;
  }
}

UCFResult AttendeeChannel::registerListener(const tagMSRegisterInfo& info) {
  if (!isOurs(info.head) || info.eChannelType != MM_MEDIASTREAMING_CHANNEL_LISTENER) return 0;
  stream_->join(*this);
  return 1;
}

UCFResult AttendeeChannel::unregister(const tagMSUnRegisterInfo& info) {
  if (!isOurs(info.head) || info.eChannelType != MM_MEDIASTREAMING_CHANNEL_LISTENER) return 0;
  stream_->leave(*this);
  show_.clear();
  return 1;
}

UCFResult AttendeeChannel::setRender(const tagMSRenderInfo& info) {
  if (!isOurs(info.head)) return 0;
  switch (info.eRenderType) {
    case MM_MEDIASTREAMING_RENDER_ATTACH:
      showIn(info.hRender);
      if (entry_ == Entry::byView) stream_->join(*this);
      return 1;
    case MM_MEDIASTREAMING_RENDER_DETACH:
      showIn(0);
      return 1;
    default:
      return 0;
  }
}

UCFResult AttendeeChannel::updateRender(const tagMSRenderUpdate& update) {
  if (!isOurs(update.head) || update.dwUpdateKind != MM_MEDIASTREAMING_UPDATE_VIEW ||
      update.pUpdateParam == nullptr)
    return 0;
  const auto& view = *static_cast<const tagMSRenderView*>(update.pUpdateParam);
  if (view.nViewKind != MM_MEDIASTREAMING_VIEW_KIND) return 0;
  showIn(view.hRenderView);
  return 1;
}

UCFResult AttendeeChannel::setVolume(const tagMSVolumeInfo& info) {
  if (!isOurs(info.head) || info.wVolumeLevel > AttendeeSound::kFullVolume) return 0;
  sound_.setVolume(info.wVolumeLevel);
  return 1;
}

// 0 lets the sound be heard, everything else mutes it.
UCFResult AttendeeChannel::setMuted(const tagMSMuteInfo& info) {
  if (!isOurs(info.head)) return 0;
  sound_.setMuted(info.eMuteStatus != MM_MEDIASTREAMING_MUTESTATUS{});
  return 1;
}

// The handle is the address of a view that the sender keeps alive until it detaches it; from here
// on it is retained as long as it is drawn into.
void AttendeeChannel::showIn(std::uint64_t handle) {
  std::shared_ptr<platform::View> view;
  if (handle != 0) {
    auto* address = reinterpret_cast<platform::View*>(handle);  // NOLINT(performance-no-int-to-ptr)
    view = std::static_pointer_cast<platform::View>(address->shared_from_this());
  }
  show_.showIn(std::move(view));
}

bool AttendeeChannel::isOurs(const tagMSHead& head) const { return isAbout(stream_->ids(), head); }

void AttendeeChannel::restartFlow(platform::TimePoint now) {
  flow_.restart(now);
  framesMeasured_ = show_.counts().received;
  fps_ = 0;
}

void AttendeeChannel::measureRate(platform::Duration measured) {
  const std::uint64_t received = show_.counts().received;
  const auto taken = static_cast<double>(received - std::exchange(framesMeasured_, received));
  fps_ = static_cast<float>(taken / std::chrono::duration<double>(measured).count());
}

AttendeeStatistics AttendeeChannel::statistics() const {
  const PictureShow::Counts pictures = show_.counts();
  return {.framesReceived = pictures.received,
          .framesLost = pictures.lost,
          .audioBlocksReceived = sound_.blocks(),
          .fps = fps_,
          .volume = sound_.volume(),
          .muted = sound_.muted(),
          .pictureWidth = pictures.size.width,
          .pictureHeight = pictures.size.height,
          .rebuffering = flow_.isDry()};
}

void AttendeeChannel::post(const StatusRecord& record) const {
  if (const auto peer = peer_.lock()) peer->postStatus(record);
}

void AttendeeChannel::offer(const FrameRef& frame) {
  show_.offer(frame);
  noteSample();
}

void AttendeeChannel::offer(const AudioFormat& format, const AudioSample& sample) {
  sound_.play(format, sample);
  noteSample();
}

void AttendeeChannel::noteSample() {
  if (flow_.note(stream_->clock().now())) stream_->resumeSoon(*this);
}

}  // namespace meeting
