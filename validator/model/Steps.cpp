#include "validator/model/Steps.h"

#include <array>
#include <ostream>

#include "ucf/SessionMessages.h"

namespace model {

namespace {

using avcapture::KTVideoPlayerDelegate;

// The steps' arguments number these.
constexpr std::array<std::uint64_t, 4> kPositions{0, 1234, 90'000, ~std::uint64_t{0}};
constexpr std::array<std::pair<int, int>, 3> kSizes{{{640, 360}, {1920, 1080}, {480, 360}}};
constexpr std::array<unsigned long, 5> kRefusals{
    SESSION_MSG_MAX_ATTENDEE_REACHED, SESSION_MSG_STOP_FOR_BANDWIDTH, SESSION_MSG_START_PLAY, 2, 7};
constexpr std::array<std::int32_t, 3> kCodes{SESSION_ERR_MAX_LIMIT, 0, 1};
constexpr std::array<int, 4> kOpenResults{0, 1, -2012, -1};
constexpr std::array<tagStmMediaInfo, 4> kInfos{{
    {90'700, MM_MEDIASTREAMING_MEDIACONTENT_AUDIO_VIDEO, 3},
    {60'000, MM_MEDIASTREAMING_MEDIACONTENT_AUDIO, 1},
    {-1500, MM_MEDIASTREAMING_MEDIACONTENT_NONE, 0},
    {0, MM_MEDIASTREAMING_MEDIACONTENT_AUDIO_VIDEO, 3},
}};
constexpr std::uint32_t kUser = 7;

template <class Table>
auto of(const Table& table, int argument) {
  return table.at(static_cast<std::size_t>(argument));
}

// Positions and the like have a record whose head and value the fixture fills.
template <class Record>
int report(Subject& subject, unsigned long message, Record record) {
  subject.status(message, record);
  return 0;
}

constexpr Kind kKinds[] = {
    {"show", 4, 8, [](Model& m, int a) { return static_cast<int>(m.createUI(a != 7)); },
     [](Subject& s, int a) { return static_cast<int>(s.createUI(a != 7)); }},
    {"hide", 1, 1, [](Model& m, int) { return m.destroyUI(), 0; },
     [](Subject& s, int) { return static_cast<int>(s.object->DestroyActiveUI()); }},
    {"focus", 1, 2, [](Model& m, int a) { return m.focus(a == 0), 0; },
     [](Subject& s, int a) {
       return static_cast<int>(a == 0 ? s.object->OnSetActive(1) : s.object->OnKillActive());
     }},
    {"usage", 1, 2, [](Model& m, int a) { return m.usage = 10 + a, 0; },
     [](Subject& s, int a) {
       return static_cast<int>(s.object->IsReleaseOnKillActive(static_cast<UCFUsageMode>(10 + a)));
     }},
    {"role", 1, 4, [](Model& m, int a) { return m.becomes(static_cast<std::uint32_t>(a)), 0; },
     [](Subject& s, int a) {
       s.host.role = static_cast<std::uint32_t>(a);
       return s.runtime->OnUserRoleChanged(s.host.role), 0;
     }},
    {"probe answers", 1, 4, [](Model& m, int a) { return m.probeAnswer = a, 0; },
     [](Subject& s, int a) { return s.probeAnswer = a, 0; }},
    {"time", 8, 7,
     [](Model& m, int a) {
       for (int i = 0; i <= a; ++i) m.tick(), m.later();
       return 0;
     },
     [](Subject& s, int a) {
       for (int i = 0; i <= a; ++i) s.tick(), s.later();
       return 0;
     }},
    {"join confirmed", 8, 1, [](Model& m, int) { return m.session(SESSION_MSG_JOIN_CONFIRM), 0; },
     [](Subject& s, int) { return s.session(SESSION_MSG_JOIN_CONFIRM), 0; }},
    {"join failed", 1, 3,
     [](Model& m, int a) { return m.session(SESSION_MSG_JOIN_FAILED, of(kCodes, a)), 0; },
     [](Subject& s, int a) {
       std::int32_t code = of(kCodes, a);
       return s.session(SESSION_MSG_JOIN_FAILED, &code), 0;
     }},
    {"session left", 1, 1, [](Model& m, int) { return m.session(SESSION_MSG_LEFT), 0; },
     [](Subject& s, int) { return s.session(SESSION_MSG_LEFT), 0; }},
    {"session message", 1, 5, [](Model& m, int a) { return m.session(of(kRefusals, a)), 0; },
     [](Subject& s, int a) { return s.session(of(kRefusals, a)), 0; }},
    {"channel status", 14, 5,
     [](Model& m, int a) { return m.channelStatus(static_cast<std::uint32_t>(a)), 0; },
     [](Subject& s, int a) { return s.channelStatus(static_cast<std::uint32_t>(a)), 0; }},
    {"play status", 3, 7,
     [](Model& m, int a) { return m.playStatus(static_cast<std::uint32_t>(a)), 0; },
     [](Subject& s, int a) {
       return report(s, MM_MEDIASTREAMING_MSSTATUS_CURRENT_PLAY_STATUS,
                     tagMSPlayStatus{{}, static_cast<std::uint32_t>(a), 0});
     }},
    {"play position", 2, 4, [](Model& m, int a) { return m.playPosition(of(kPositions, a)), 0; },
     [](Subject& s, int a) {
       return report(s, MM_MEDIASTREAMING_MSSTATUS_CURRENT_PLAY_POSITION,
                     tagMSPlayPosition{{}, of(kPositions, a)});
     }},
    {"video information", 1, 3,
     [](Model& m, int a) { return m.videoSize(of(kSizes, a).first, of(kSizes, a).second), 0; },
     [](Subject& s, int a) {
       const auto [width, height] = of(kSizes, a);
       return report(s, MM_MEDIASTREAMING_MSSTATUS_VIDEO_INFORMATION,
                     tagMSVideoInfo{{},
                                    MM_MEDIASTREAMING_VIDEO_INFO_SIZE,
                                    static_cast<std::uint16_t>(width),
                                    static_cast<std::uint16_t>(height)});
     }},
    {"video quality", 1, 3, [](Model& m, int a) { return m.quality(static_cast<float>(a)), 0; },
     [](Subject& s, int a) {
       return report(s, MM_MEDIASTREAMING_MSSTATUS_VIDEOQUALITY_INDICATE,
                     tagMSVideoQuality{{}, 0, static_cast<float>(a)});
     }},
    {"media info", 5, 4,
     [](Model& m, int a) {
       const tagStmMediaInfo info = of(kInfos, a);
       return m.mediaInfo(info.nDurationMs, info.nMediaContent, info.nMediaType), 0;
     },
     [](Subject& s, int a) { return s.mediaInfo(of(kInfos, a)), 0; }},
    {"provider crashed", 1, 1, [](Model& m, int) { return m.providerCrashed(), 0; },
     [](Subject& s, int) { return s.parameterData(STM_PARAMETER_PROVIDER_CRASHED), 0; }},
    {"question", 2, 1, [](Model& m, int) { return m.questionFrom(kUser), 0; },
     [](Subject& s, int) {
       return s.command({16, SVS_QUERY_JOINSEESION_FAILED_CMD, kUser, 0}), 0;
     }},
    {"join failed elsewhere", 1, 1, [](Model& m, int) { return m.joinFailedElsewhere(), 0; },
     [](Subject& s, int) {
       return s.command({8, SVS_JOINSESSION_FAILED_CMD}), 0;
     }},
    {"open result", 1, 4, [](Model& m, int a) { return m.openResult(of(kOpenResults, a)); },
     [](Subject& s, int a) {
       return s.notify(1, static_cast<unsigned long>(std::int64_t{of(kOpenResults, a)}));
     }},
    {"media opened", 1, 1, [](Model& m, int) { return m.mediaOpened(); },
     [](Subject& s, int) { return s.notify(8); }},
    {"audio format", 3, 3,
     [](Model& m, int a) {
       const std::string& bytes = Subject::formatBytes(0, a);
       return m.format(0, contract::hex(bytes.data(), bytes.size()));
     },
     [](Subject& s, int a) { return s.format(0, a); }},
    {"video format", 3, 3,
     [](Model& m, int a) {
       const std::string& bytes = Subject::formatBytes(1, a);
       return m.format(1, contract::hex(bytes.data(), bytes.size()));
     },
     [](Subject& s, int a) { return s.format(1, a); }},
    {"sample", 4, 1, [](Model& m, int) { return m.sample(); },
     [](Subject& s, int) { return s.sample(); }},
    {"play", 3, 1, [](Model& m, int) { return m.press(true, false, 4), 0; },
     [](Subject& s, int) { return s.press(true, false, &KTVideoPlayerDelegate::onPlay), 0; }},
    {"pause", 2, 1, [](Model& m, int) { return m.press(false, true, 3), 0; },
     [](Subject& s, int) { return s.press(false, true, &KTVideoPlayerDelegate::onPause), 0; }},
    {"stop", 2, 1, [](Model& m, int) { return m.press(false, false, 2), 0; },
     [](Subject& s, int) { return s.press(false, false, &KTVideoPlayerDelegate::onStop), 0; }},
    {"skip", 2, 1, [](Model& m, int) { return m.seekComplete(); },
     [](Subject& s, int) { return s.notify(9); }},
    {"volume", 2, 2, [](Model& m, int a) { return m.volumeChanged(100 * a), 0; },
     [](Subject& s, int a) { return s.volumeChange(100 * a), 0; }},
    {"volume changed", 1, 1, [](Model& m, int) { return m.volumeChanged({}); },
     [](Subject& s, int) { return s.notify(10); }},
    {"may play", 1, 1, [](Model& m, int) { return m.playAllowed(); },
     [](Subject& s, int) { return s.playAllowed(); }},
    {"size announced", 1, 3,
     [](Model& m, int a) { return m.announceSize(of(kSizes, a).first, of(kSizes, a).second), 0; },
     [](Subject& s, int a) {
       return s.announceVideoSize(of(kSizes, a).first, of(kSizes, a).second), 0;
     }},
};

}  // namespace

std::span<const Kind> kinds() { return kKinds; }

std::ostream& operator<<(std::ostream& out, const Step& step) {
  return out << '{' << kKinds[step.kind].name << ' ' << step.argument << '}';
}

std::ostream& operator<<(std::ostream& out, const World& world) {
  out << (world.source ? "source" : "listener");
  const auto say = [&out](bool is, const char* what) {
    if (is) out << ", " << what;
  };
  say(!world.embedded, "outside");
  say(world.recording, "of a recording");
  say(world.agenda, "in the agenda");
  say(world.soundOnly, "sound only");
  say(!world.canSend, "cannot send");
  say(!world.opens, "file refused");
  say(!world.playAllowed, "play forbidden");
  say(world.refused, "was refused to play");
  if (world.channel) out << ", channel is " << *world.channel;
  return out << ", content " << world.content;
}

std::ostream& operator<<(std::ostream& out, const Look& look) {
  out << "shows " << look.shown << (look.playing ? ", playing" : "") << " at " << look.position
      << " of " << look.duration << ", " << look.fps << " fps, " << look.size.first << " x "
      << look.size.second << ", volume " << look.volume;
  return out << (look.presenter ? ", presenter" : "");
}

}  // namespace model
