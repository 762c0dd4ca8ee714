#include "meeting/MessageValues.h"

#include <array>
#include <charconv>
#include <cmath>
#include <string_view>
#include <type_traits>
#include <utility>

#include "mmp/Enumerations.h"
#include "mmp/ParticipantRecords.h"
#include "mmp/RequestRecords.h"
#include "ucf/IUCFMsgRouter.h"
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
constexpr Named kUsers[] = {NAMED(SVS_USER_EVERYBODY)};
constexpr Named kRouteTypes[] = {NAMED(ROUTE_TYPE_SESSION), NAMED(ROUTE_TYPE_NB),
                                 NAMED(ROUTE_TYPE_MEDIASTREAMING)};
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
constexpr Named kSeekMarks[] = {NAMED(MM_MEDIASTREAMING_SEEK_MARK)};
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

Value named(std::span<const Named> names, std::integral auto value) {
  for (const Named& entry : names)
    if (entry.value == static_cast<std::int64_t>(value)) return word(entry.name);
  return number(value);
}

std::string digitsOf(double value) {
  std::array<char, 32> text{};
  return {text.data(), std::to_chars(text.data(), text.data() + text.size(), value).ptr};
}

}  // namespace

std::string Value::text() const {
  const std::string text = std::visit(
      [](const auto& is) -> std::string {
        using Is = std::decay_t<decltype(is)>;
        if constexpr (std::is_same_v<Is, std::string>)
          return is;
        else if constexpr (std::is_same_v<Is, double>)
          return digitsOf(is);
        else
          return std::to_string(is);
      },
      value);
  return *unit == '\0' ? text : text + ' ' + unit;
}

Value number(float value) { return {std::round(static_cast<double>(value) * 1000) / 1000}; }
Value word(std::string text) { return {std::move(text)}; }
Value handle(std::uint64_t value) {
  std::array<char, 16> text{};
  const auto end = std::to_chars(text.data(), text.data() + text.size(), value, 16).ptr;
  return word("0x" + std::string(text.data(), end));
}
std::string hexadecimal(std::span<const std::byte> bytes) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string text;
  for (const std::byte each : bytes) {
    text += kDigits[std::to_integer<std::size_t>(each) >> 4U];
    text += kDigits[std::to_integer<std::size_t>(each) & 0xFU];
  }
  return text;
}

Value moduleText(std::uint32_t value) { return named(kModules, value); }
Value userText(std::uint32_t value) { return named(kUsers, value); }
Value routeTypeText(unsigned long value) { return named(kRouteTypes, value); }
Value channelTypeText(std::uint32_t value) { return named(kChannelTypes, value); }
Value sourceStatusText(std::uint32_t value) { return named(kSourceStatuses, value); }
Value mediaTypeText(std::uint32_t value) { return named(kMediaTypes, value); }
Value mediaContentText(std::uint32_t value) { return named(kMediaContents, value); }
Value renderTypeText(std::uint32_t value) { return named(kRenderTypes, value); }
Value seekMarkText(std::uint64_t value) { return named(kSeekMarks, value); }
Value queryTypeText(std::int32_t value) { return named(kQueryTypes, value); }
Value channelStatusText(std::uint32_t value) { return named(kChannelStatuses, value); }
Value playStatusText(std::uint32_t value) { return named(kPlayStatuses, value); }
Value videoInfoKindText(std::uint32_t value) { return named(kVideoInfoKinds, value); }
Value joinFailureText(std::int32_t value) { return named(kJoinFailures, value); }

}  // namespace meeting
