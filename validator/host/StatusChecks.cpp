#include "validator/host/StatusChecks.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <string>

#include "mmp/ParticipantRecords.h"
#include "mmp/StatusRecords.h"
#include "ucf/IUCFMsgRouter.h"
#include "ucf/SessionMessages.h"
#include "validator/host/Checks.h"
#include "validator/host/JoinQuestion.h"

namespace hostcheck {

namespace {

bool note(Check check, bool holds, const std::string& reason) {
  return Findings::shared().note(check, holds, reason);
}

bool isSessionMessage(unsigned long uMsg) {
  switch (uMsg) {
    case SESSION_MSG_JOIN_CONFIRM:
    case SESSION_MSG_JOIN_FAILED:
    case SESSION_MSG_LEFT:
    case SESSION_MSG_MAX_ATTENDEE_REACHED:
    case SESSION_MSG_STOP_FOR_BANDWIDTH:
    case SESSION_MSG_START_PLAY:
      return true;
    default:
      return false;
  }
}

constexpr unsigned long kStatusOfNobody = 1;

bool isKnown(unsigned long type, unsigned long uMsg) {
  switch (type) {
    case ROUTE_TYPE_SESSION:
      return isSessionMessage(uMsg);
    case ROUTE_TYPE_NB:
      return true;
    case ROUTE_TYPE_MEDIASTREAMING:
      return uMsg <= MM_MEDIASTREAMING_MSSTATUS_VIDEO_INFORMATION;
    default:
      return false;
  }
}

bool isChannelStatus(std::uint32_t status) {
  return status == MM_MEDIA_STREAMING_CHANNEL_STATUS_CREATE_CONFIRM ||
         status == MM_MEDIA_STREAMING_CHANNEL_STATUS_JOIN_SUCCESS ||
         status == MM_MEDIA_STREAMING_CHANNEL_STATUS_REGISTER_FAILED;
}

// What is not listed changes nothing.
bool isListed(unsigned long uMsg, const void* record) {
  switch (uMsg) {
    case MM_MEDIASTREAMING_MSSTATUS_CURRENT_PLAY_STATUS:
      return static_cast<const tagMSPlayStatus*>(record)->dwPlayStatus <= SVS_REST_MOVIE_INVALID;
    case MM_MEDIASTREAMING_MSSTATUS_CHANNEL_STATUS:
      return isChannelStatus(static_cast<const tagMSChannelStatus*>(record)->dwStatus);
    case MM_MEDIASTREAMING_MSSTATUS_VIDEO_INFORMATION:
      return static_cast<const tagMSVideoInfo*>(record)->dwInfoKind ==
             MM_MEDIASTREAMING_VIDEO_INFO_SIZE;
    default:
      return true;
  }
}

bool hasMeaning(unsigned long uMsg, const void* record) {
  switch (uMsg) {
    case MM_MEDIASTREAMING_MSSTATUS_VIDEOQUALITY_INDICATE: {
      const float fps = static_cast<const tagMSVideoQuality*>(record)->fFps;
      return std::isfinite(fps) && fps >= 0;
    }
    case MM_MEDIASTREAMING_MSSTATUS_VIDEO_INFORMATION: {
      const auto& info = *static_cast<const tagMSVideoInfo*>(record);
      return info.wWidth > 0 && info.wHeight > 0;
    }
    default:
      return true;  // any position, and what is listed
  }
}

}  // namespace

bool checkMessage(unsigned long type, unsigned long uMsg, const void* wParam) {
  if (!note(Check::knownMessages, isKnown(type, uMsg),
            "no such message: type " + std::to_string(type) + ", " + std::to_string(uMsg)))
    return false;
  if (type != ROUTE_TYPE_MEDIASTREAMING) return true;
  if (uMsg == kStatusOfNobody) return false;
  if (!note(Check::statusFields, wParam != nullptr,
            "status " + std::to_string(uMsg) + " came without a record"))
    return false;
  if (!isListed(uMsg, wParam)) return false;
  return note(Check::statusFields, hasMeaning(uMsg, wParam),
              "status " + std::to_string(uMsg) + " holds a value that means nothing");
}

std::optional<Question> checkCommand(const unsigned char* data, unsigned int length) {
  JoinQuestion command;
  command.head = {};
  if (data != nullptr) std::memcpy(&command, data, std::min<std::size_t>(length, sizeof command));
  if (!note(Check::commandData, command.head.dwLength == length && length >= sizeof command.head,
            "a command of " + std::to_string(length) + " bytes says that it has " +
                std::to_string(command.head.dwLength)) ||
      command.head.dwCommand != SVS_QUERY_JOINSEESION_FAILED_CMD)
    return std::nullopt;
  if (!note(Check::commandData, length >= offsetof(JoinQuestion, ids),
            "command 2 came without its sender's 8-byte identity"))
    return std::nullopt;
  Question question{command.identity[0], std::nullopt};
  if (length == sizeof command) question.whole = command;
  return question;
}

void checkParameterData(unsigned int id, const unsigned char* data, unsigned int length) {
  if (id != STM_PARAMETER_MEDIA_INFO) return;
  const bool whole = data != nullptr && length == sizeof(tagStmMediaInfo);
  note(Check::parameterData, whole,
       "parameter data 0 has " + std::to_string(length) + " bytes instead of 12");
  if (!whole) return;
  tagStmMediaInfo info{};
  std::memcpy(&info, data, sizeof info);
  note(Check::parameterData,
       info.nDurationMs >= 0 && info.nMediaContent <= MM_MEDIASTREAMING_MEDIACONTENT_AUDIO_VIDEO,
       "parameter data 0 does not hold what the presenter published");
}

}  // namespace hostcheck
