#include "meeting/PresenterChannel.h"

#include <utility>

#include "meeting/QueryAnswers.h"
#include "meeting/RecordChecks.h"

namespace meeting {

PresenterChannel::PresenterChannel(std::shared_ptr<DocumentStream> stream,
                                   std::weak_ptr<PlatformPeer> peer)
    : stream_(std::move(stream)), peer_(std::move(peer)) {}

PresenterChannel::~PresenterChannel() { stream_->loseChannel(); }

UCFResult PresenterChannel::request(unsigned long type, unsigned long uMsg, void* record) {
  switch (type) {
    case SVS_MSG_MS_COMMAND:
      return record != nullptr ? command(uMsg, record) : 0;
    case SVS_MSG_STOP_SESSION:
      stream_->closeChannel();
      return 1;
    case SVS_MSG_START_SESSION:
    case SVS_MSG_STOP_ADVANCE_PAGE:
      return 1;
    default:
      return 0;
  }
}

UCFResult PresenterChannel::command(unsigned long uMsg, void* record) {
  bool taken = false;
  switch (uMsg) {
    case MM_MEDIASTREAMING_CMD_MEDIA_DATA:
      taken = mediaData(*static_cast<const tagMSDataStructure*>(record));
      break;
    case MM_MEDIASTREAMING_CMD_QUERY:
      return answerQuery(*static_cast<tagQuery*>(record), *stream_);
    case MM_MEDIASTREAMING_CMD_REGISTER:
      taken = registerSource(*static_cast<const tagMSRegisterInfo*>(record));
      break;
    case MM_MEDIASTREAMING_CMD_UNREGISTER:
      taken = unregister(*static_cast<const tagMSUnRegisterInfo*>(record));
      break;
    case MM_MEDIASTREAMING_CMD_SOURCE_STATUS:
      taken = sourceStatus(*static_cast<const tagMSSourceStatus*>(record));
      break;
    case MM_MEDIASTREAMING_CMD_MEDIA_FORMAT:
      taken = mediaFormat(*static_cast<const tagMSMediaFormat*>(record));
      break;
    default:
      break;
  }
  if (!taken) stream_->observer().onMalformed();
  return taken ? 1 : 0;
}

bool PresenterChannel::registerSource(const tagMSRegisterInfo& info) {
  if (!isOurs(info.head) || info.eChannelType != MM_MEDIASTREAMING_CHANNEL_SOURCE) return false;
  stream_->openChannel(peer_, info.dwDuration, info.eMediaContent);
  return true;
}

bool PresenterChannel::unregister(const tagMSUnRegisterInfo& info) {
  if (!isOurs(info.head)) return false;
  stream_->closeChannel();
  return true;
}

bool PresenterChannel::sourceStatus(const tagMSSourceStatus& status) {
  if (!isOurs(status.head)) return false;
  stream_->sourceStatus(status.eStatus, status.lPosition);
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
  if (format) stream_->observer().onAudioFormat(*format);
  return format.has_value();
}

bool PresenterChannel::mediaData(const tagMSDataStructure& data) {
  switch (data.nMediaType) {
    case MM_MEDIASTREAMING_MEDIATYPE_VIDEO: {
      const auto sample = videoSample(data);
      if (sample) stream_->video(*sample);
      return sample.has_value();
    }
    case MM_MEDIASTREAMING_MEDIATYPE_AUDIO: {
      const auto sample = audioSample(data);
      if (sample) stream_->audio(*sample);
      return sample.has_value();
    }
    case MM_MEDIASTREAMING_MEDIATYPE_NONE:
      // A still picture that playing has overtaken: nothing to carry, nothing wrong.
      return data.dwDataLength == 0;
    default:
      return false;
  }
}

}  // namespace meeting
