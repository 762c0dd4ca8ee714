#include "meeting/MessageNames.h"

#include <algorithm>
#include <iterator>

#include "mmp/Enumerations.h"
#include "ucf/IUCFMsgRouter.h"
#include "ucf/SessionMessages.h"

namespace meeting {

namespace {

struct Entry {
  Direction direction;
  unsigned long type;
  unsigned long uMsg;
  const char* name;
};

#define COMMAND(name) \
  { Direction::toHost, SVS_MSG_MS_COMMAND, static_cast<unsigned long>(name), #name }
#define REQUEST(name) \
  { Direction::toHost, name, 0, #name }
#define SESSION(name) \
  { Direction::toObject, ROUTE_TYPE_SESSION, name, #name }
#define STATUS(name) \
  { Direction::toObject, ROUTE_TYPE_MEDIASTREAMING, name, #name }

// Media data first: it is looked up for every sample.
constexpr Entry kEntries[] = {
    COMMAND(MM_MEDIASTREAMING_CMD_MEDIA_DATA),
    COMMAND(MM_MEDIASTREAMING_CMD_REGISTER),
    COMMAND(MM_MEDIASTREAMING_CMD_UNREGISTER),
    COMMAND(MM_MEDIASTREAMING_CMD_SOURCE_STATUS),
    COMMAND(MM_MEDIASTREAMING_CMD_MEDIA_FORMAT),
    COMMAND(MM_MEDIASTREAMING_CMD_SET_RENDER),
    COMMAND(MM_MEDIASTREAMING_CMD_UPDATE_RENDER),
    COMMAND(MM_MEDIASTREAMING_CMD_MUTE_STATUS),
    COMMAND(MM_MEDIASTREAMING_CMD_VOLUME),
    COMMAND(MM_MEDIASTREAMING_CMD_QUERY),
    REQUEST(SVS_MSG_GET_IDS),
    REQUEST(SVS_MSG_GET_IDS_EMBED),
    REQUEST(SVS_MSG_START_SESSION),
    REQUEST(SVS_MSG_STOP_SESSION),
    REQUEST(SVS_MSG_STOP_ADVANCE_PAGE),
    SESSION(SESSION_MSG_JOIN_CONFIRM),
    SESSION(SESSION_MSG_JOIN_FAILED),
    SESSION(SESSION_MSG_LEFT),
    SESSION(SESSION_MSG_MAX_ATTENDEE_REACHED),
    SESSION(SESSION_MSG_STOP_FOR_BANDWIDTH),
    SESSION(SESSION_MSG_START_PLAY),
    STATUS(MM_MEDIASTREAMING_MSSTATUS_VIDEOQUALITY_INDICATE),
    STATUS(MM_MEDIASTREAMING_MSSTATUS_CURRENT_PLAY_POSITION),
    STATUS(MM_MEDIASTREAMING_MSSTATUS_CURRENT_PLAY_STATUS),
    STATUS(MM_MEDIASTREAMING_MSSTATUS_CHANNEL_STATUS),
    STATUS(MM_MEDIASTREAMING_MSSTATUS_VIDEO_INFORMATION),
};

#undef COMMAND
#undef REQUEST
#undef SESSION
#undef STATUS

constexpr std::size_t kUnknown = std::size(kEntries);
static_assert(kUnknown < MessageCounts::kMaxNames);

std::size_t indexOf(Direction direction, unsigned long type, unsigned long uMsg) {
  const auto* found =
      std::find_if(std::begin(kEntries), std::end(kEntries), [&](const Entry& entry) {
        return entry.direction == direction && entry.type == type && entry.uMsg == uMsg;
      });
  return static_cast<std::size_t>(found - std::begin(kEntries));
}

const char* nameAt(std::size_t index) {
  return index == kUnknown ? "UNKNOWN" : kEntries[index].name;
}

}  // namespace

const char* messageName(Direction direction, unsigned long type, unsigned long uMsg) {
  return nameAt(indexOf(direction, type, uMsg));
}

void MessageCounts::count(Direction direction, unsigned long type, unsigned long uMsg) {
  counts_[indexOf(direction, type, uMsg)].fetch_add(1, std::memory_order_relaxed);
}

std::map<std::string, std::uint64_t> MessageCounts::totals() const {
  std::map<std::string, std::uint64_t> totals;
  for (std::size_t index = 0; index <= kUnknown; ++index) {
    const std::uint64_t count = counts_[index].load(std::memory_order_relaxed);
    if (count > 0) totals[nameAt(index)] = count;
  }
  return totals;
}

}  // namespace meeting
