#include "meeting/MessageValues.h"

#include <array>
#include <charconv>
#include <cmath>
#include <span>

#include "mmp/Enumerations.h"
#include "ucf/SessionMessages.h"
#include "ucf/Types.h"

namespace meeting {

namespace {

struct Named {
  std::int64_t value;
  const char* name;
};

#define NAMED(constant) \
  { static_cast<std::int64_t>(constant), #constant }

constexpr Named kModules[] = {NAMED(MODULE_TYPE_SVS), NAMED(MODULE_TYPE_MMP),
                              NAMED(MODULE_TYPE_CONF)};
constexpr Named kChannelTypes[] = {NAMED(MM_MEDIASTREAMING_CHANNEL_SOURCE),
                                   NAMED(MM_MEDIASTREAMING_CHANNEL_LISTENER)};
constexpr Named kSourceStatuses[] = {
    NAMED(MM_MEDIASTREAMING_PLAY), NAMED(MM_MEDIASTREAMING_STOP), NAMED(MM_MEDIASTREAMING_PAUSE),
    NAMED(MM_MEDIASTREAMING_PD_ACTIVE), NAMED(MM_MEDIASTREAMING_PD_INACTIVE)};
constexpr Named kMediaTypes[] = {NAMED(MM_MEDIASTREAMING_MEDIATYPE_AUDIO),
                                 NAMED(MM_MEDIASTREAMING_MEDIATYPE_VIDEO),
                                 NAMED(MM_MEDIASTREAMING_MEDIATYPE_NONE)};
constexpr Named kMediaContents[] = {
    NAMED(MM_MEDIASTREAMING_MEDIACONTENT_NONE), NAMED(MM_MEDIASTREAMING_MEDIACONTENT_AUDIO),
    NAMED(MM_MEDIASTREAMING_MEDIACONTENT_VIDEO), NAMED(MM_MEDIASTREAMING_MEDIACONTENT_AUDIO_VIDEO)};
constexpr Named kRenderTypes[] = {NAMED(MM_MEDIASTREAMING_RENDER_DETACH),
                                  NAMED(MM_MEDIASTREAMING_RENDER_ATTACH)};
constexpr Named kQueryTypes[] = {NAMED(MM_MEDIASTREAMING_QUERY_CHANNEL_STATUS),
                                 NAMED(MM_MEDIASTREAMING_QUERY_SESSION_PROBE),
                                 NAMED(MM_MEDIASTREAMING_QUERY_PLAY_ALLOWED)};
constexpr Named kChannelStatuses[] = {NAMED(MM_MEDIA_STREAMING_CHANNEL_STATUS_CREATE_CONFIRM),
                                      NAMED(MM_MEDIA_STREAMING_CHANNEL_STATUS_JOIN_SUCCESS),
                                      NAMED(MM_MEDIA_STREAMING_CHANNEL_STATUS_REGISTER_FAILED)};
constexpr Named kPlayStatuses[] = {
    NAMED(MM_MEDIA_STREAMING_PLYASTATUS_PLAYING),        NAMED(MM_MEDIA_STREAMING_PLYASTATUS_PAUSE),
    NAMED(MM_MEDIA_STREAMING_PLYASTATUS_REBUFFER),       NAMED(MM_MEDIA_STREAMING_PLYASTATUS_STOP),
    NAMED(MM_MEDIA_STREAMING_PLYASTATUS_PROVIDER_CRASH), NAMED(SVS_REST_MOVIE_INVALID)};
constexpr Named kVideoInfoKinds[] = {NAMED(MM_MEDIASTREAMING_VIDEO_INFO_SIZE)};
constexpr Named kJoinFailures[] = {NAMED(SESSION_ERR_MAX_LIMIT)};

#undef NAMED

std::string named(std::span<const Named> names, std::int64_t value) {
  for (const Named& entry : names)
    if (entry.value == value) return entry.name;
  return std::to_string(value);
}

}  // namespace

std::string number(float value) {
  const double rounded = std::round(static_cast<double>(value) * 1000) / 1000;
  std::array<char, 32> text{};
  return {text.data(), std::to_chars(text.data(), text.data() + text.size(), rounded).ptr};
}
std::string handle(std::uint64_t value) {
  std::array<char, 16> text{};
  const auto end = std::to_chars(text.data(), text.data() + text.size(), value, 16).ptr;
  return "0x" + std::string(text.data(), end);
}

std::string moduleText(std::uint32_t value) { return named(kModules, value); }
std::string channelTypeText(std::uint32_t value) { return named(kChannelTypes, value); }
std::string sourceStatusText(std::uint32_t value) { return named(kSourceStatuses, value); }
std::string mediaTypeText(std::uint32_t value) { return named(kMediaTypes, value); }
std::string mediaContentText(std::uint32_t value) { return named(kMediaContents, value); }
std::string renderTypeText(std::uint32_t value) { return named(kRenderTypes, value); }
std::string queryTypeText(std::int32_t value) { return named(kQueryTypes, value); }
std::string channelStatusText(std::uint32_t value) { return named(kChannelStatuses, value); }
std::string playStatusText(std::uint32_t value) { return named(kPlayStatuses, value); }
std::string videoInfoKindText(std::uint32_t value) { return named(kVideoInfoKinds, value); }
std::string joinFailureText(std::int32_t value) { return named(kJoinFailures, value); }

}  // namespace meeting
