#include "meeting/PresenterChannel.h"

#include <utility>

#include "meeting/QueryAnswers.h"
#include "meeting/RecordChecks.h"

namespace meeting {

PresenterChannel::PresenterChannel(std::shared_ptr<DocumentStream> stream,
                                   std::weak_ptr<PlatformPeer> peer)
    : stream_(std::move(stream)), peer_(std::move(peer)) {}

PresenterChannel::~PresenterChannel() { lose(); }

UCFResult PresenterChannel::request(unsigned long type, unsigned long uMsg, void* record) {
  // Samples come on other threads: all that they look at is behind the gate.
  if (type == SVS_MSG_MS_COMMAND) return record != nullptr ? command(uMsg, record) : 0;
  if (lost_) return 0;
  switch (type) {
    case SVS_MSG_STOP_SESSION:
      close();
      return 1;
    case SVS_MSG_START_SESSION:
    case SVS_MSG_STOP_ADVANCE_PAGE:
      return 1;
    default:
      return 0;
  }
}

UCFResult PresenterChannel::command(unsigned long uMsg, void* record) {
  if (uMsg == MM_MEDIASTREAMING_CMD_MEDIA_DATA)
    return mediaData(*static_cast<const tagMSDataStructure*>(record)) ? 1 : 0;
  if (lost_) return 0;
  if (uMsg == MM_MEDIASTREAMING_CMD_QUERY)
    return answerQuery(*static_cast<tagQuery*>(record), *stream_);
  const bool taken = take(uMsg, record);
  if (!taken) stream_->observer().onMalformed();
  return taken ? 1 : 0;
}

bool PresenterChannel::take(unsigned long uMsg, const void* record) {
  switch (uMsg) {
    case MM_MEDIASTREAMING_CMD_REGISTER:
      return registerSource(*static_cast<const tagMSRegisterInfo*>(record));
    case MM_MEDIASTREAMING_CMD_UNREGISTER:
      return unregister(*static_cast<const tagMSUnRegisterInfo*>(record));
    case MM_MEDIASTREAMING_CMD_SOURCE_STATUS:
      return sourceStatus(*static_cast<const tagMSSourceStatus*>(record));
    case MM_MEDIASTREAMING_CMD_MEDIA_FORMAT:
      return mediaFormat(*static_cast<const tagMSMediaFormat*>(record));
    default:
      return false;
  }
}

void PresenterChannel::lose() {
  if (std::exchange(lost_, true)) return;
  if (setRegistered(false)) stream_->loseChannel();
}

void PresenterChannel::close() {
  if (setRegistered(false)) stream_->closeChannel();
}

bool PresenterChannel::setRegistered(bool registered) {
  const platform::Lock lock(gate_);
  return std::exchange(registered_, registered) != registered;
}

bool PresenterChannel::isRegistered() {
  const platform::SharedLock lock(gate_);
  return registered_;
}

bool PresenterChannel::isOurs(const tagMSHead& head) const { return isAbout(stream_->ids(), head); }

bool PresenterChannel::registerSource(const tagMSRegisterInfo& info) {
  if (!isOurs(info.head) || info.eChannelType != MM_MEDIASTREAMING_CHANNEL_SOURCE) return false;
  setRegistered(true);
  stream_->openChannel(peer_, info.dwDuration, info.eMediaContent);
  return true;
}

bool PresenterChannel::unregister(const tagMSUnRegisterInfo& info) {
  if (!isOurs(info.head) || info.eChannelType != MM_MEDIASTREAMING_CHANNEL_SOURCE) return false;
  close();
  return true;
}

bool PresenterChannel::sourceStatus(const tagMSSourceStatus& status) {
  if (!isOurs(status.head)) return false;
  if (isRegistered()) stream_->sourceStatus(status.eStatus, status.lPosition);
  return true;
}

bool PresenterChannel::mediaFormat(const tagMSMediaFormat& record) {
  if (!isOurs(record.head)) return false;
  if (record.eMediaType == MM_MEDIASTREAMING_MEDIATYPE_VIDEO) {
    const auto format = videoFormat(record);
    if (format) stream_->videoFormat(*format);
    return format.has_value();
  }
  const auto format = audioFormat(record);
  if (format) stream_->audioFormat(*format);
  return format.has_value();
}

bool PresenterChannel::mediaData(const tagMSDataStructure& data) {
  const platform::SharedLock lock(gate_);
  if (!registered_) return false;
  const bool carried = carry(data);
  if (!carried) stream_->observer().onMalformed();
  return carried;
}

bool PresenterChannel::carry(const tagMSDataStructure& data) {
  switch (data.nMediaType) {
    case MM_MEDIASTREAMING_MEDIATYPE_VIDEO: {
      const auto sample = videoSample(stream_->ids(), data);
      if (!sample) return false;
      stream_->observer().onVideo(*sample);
      stream_->samples().video(*sample);
      return true;
    }
    case MM_MEDIASTREAMING_MEDIATYPE_AUDIO: {
      const auto sample = audioSample(stream_->ids(), data);
      if (!sample) return false;
      stream_->observer().onAudio(*sample);
      stream_->samples().audio(*sample);
      return true;
    }
    case MM_MEDIASTREAMING_MEDIATYPE_NONE:
      // A still picture that playing has overtaken: nothing to carry, nothing wrong.
      return data.dwDataLength == 0;
    default:
      return false;
  }
}

}  // namespace meeting
