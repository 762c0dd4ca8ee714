// A room of a meeting that is only made up: a clock for a movie, drawn pictures, no plug-in. What a
// browser does with the page can be tried on it without a meeting's own ways.
//
// usage: room_host [PORT]      prints the room's address and runs until it is killed
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <variant>

#include "meeting/Ticker.h"
#include "meeting/room/RoomServer.h"
#include "mmp/RequestRecords.h"
#include "mmp/StatusRecords.h"
#include "platform/RunLoop.h"
#include "tests/room/FakeModel.h"
#include "ucf/IUCFMsgRouter.h"

namespace {

using namespace meeting;
using std::chrono_literals::operator""ms;

constexpr double kDuration = 60;
constexpr auto kTick = 40ms;

// A presenter whom two attendees follow.
class MadeUpMeeting final : public RoomModel {
 public:
  explicit MadeUpMeeting(MessageJournal& journal) : journal_(journal) {
    ParticipantStatus second = base_.statuses[1];
    second.id = "attendee-2";
    second.actor = "attendee=2 ";
    base_.statuses.push_back(second);
    base_.views[second.id] = std::make_shared<platform::View>(platform::Rect{{0, 0}, {480, 270}});
    for (ParticipantStatus& status : base_.statuses) {
      status.duration = kDuration;
      status.volume = 128;
      status.width = 64;
      status.height = 36;
      status.fps = 25;
    }
  }

  std::vector<ParticipantStatus> participants() override { return base_.statuses; }
  std::shared_ptr<platform::View> view(const std::string& id) override { return base_.view(id); }
  void setWatched(const std::string& id, bool watched) override { base_.setWatched(id, watched); }
  void listen(const std::string& id, std::shared_ptr<SoundSink> sink) override {
    base_.listen(id, std::move(sink));
  }

  std::optional<std::string> act(const std::string& action) override {
    const std::size_t end = action.find(' ');
    const bool forAttendee = action.rfind("attendee=", 0) == 0 && end != std::string::npos;
    const std::size_t index = forAttendee ? std::strtoul(action.c_str() + 9, nullptr, 10) : 0;
    if (index >= base_.statuses.size()) return "no such attendee: " + action;
    return actAs(base_.statuses[index], forAttendee ? action.substr(end + 1) : action);
  }

  void tick() {
    const bool plays = base_.statuses[0].state == "playing";
    if (plays) position_ = std::min(position_ + 0.04, kDuration);
    for (ParticipantStatus& status : base_.statuses) {
      status.position = position_;
      if (!plays || !status.present) continue;
      ++status.frames;
      if (base_.watched[status.id]) base_.draw(status.id, static_cast<std::uint8_t>(++grey_));
    }
    tellPosition();
    playSound();
  }

 private:
  std::optional<std::string> actAs(ParticipantStatus& status, const std::string& what) {
    const std::size_t equals = what.find('=');
    const std::string verb = what.substr(0, equals);
    const double value =
        equals == std::string::npos ? 0 : std::strtod(what.c_str() + equals + 1, nullptr);
    if (verb == "play" || verb == "pause" || verb == "stop")
      setState(verb == "play" ? "playing" : verb == "pause" ? "paused" : "stopped");
    else if (verb == "seek")
      position_ = std::clamp(value, 0.0, kDuration);
    else if (verb == "volume")
      status.volume = static_cast<int>(value);
    else if (verb == "mute" || verb == "unmute")
      status.muted = verb == "mute";
    else if (verb == "join" || verb == "leave")
      status.present = verb == "join";
    else
      return "no such action: " + what;
    return std::nullopt;
  }

  void setState(const std::string& state) {
    if (state == "stopped") position_ = 0;
    for (ParticipantStatus& status : base_.statuses) status.state = state;
  }

  void tellPosition() {
    if (++ticks_ % 12 != 0) return;
    const tagMSPlayPosition record{{1001, 1}, static_cast<std::uint64_t>(position_ * 1000)};
    for (const char* id : {"attendee-1", "attendee-2"})
      journal_.record(id, Direction::toObject, ROUTE_TYPE_MEDIASTREAMING,
                      MM_MEDIASTREAMING_MSSTATUS_CURRENT_PLAY_POSITION, &record, nullptr, 0);
    const tagMSVolumeInfo refused{{1001, 1}, MM_MEDIASTREAMING_CHANNEL_LISTENER, 80, 0};
    journal_.record("attendee-1", Direction::toHost, SVS_MSG_MS_COMMAND,
                    MM_MEDIASTREAMING_CMD_VOLUME, &refused, nullptr, ticks_ % 24 == 0 ? 1 : 0);
    const tagMSDataStructure sample{};
    journal_.record("presenter", Direction::toHost, SVS_MSG_MS_COMMAND,
                    MM_MEDIASTREAMING_CMD_MEDIA_DATA, &sample, nullptr, 1);
  }

  void playSound() {
    const std::vector<std::uint8_t> silence(48000 / 25 * 2);
    for (const auto& [id, sink] : base_.sinks)
      if (sink != nullptr) sink->sound({1, 48000, 16}, {0, silence.data(), silence.size()});
  }

  MessageJournal& journal_;
  FakeModel base_;
  double position_ = 0;
  unsigned grey_ = 0;
  unsigned ticks_ = 0;
};

}  // namespace

int main(int argc, char** argv) {
  MessageJournal journal;
  MadeUpMeeting meeting(journal);
  const auto port = static_cast<std::uint16_t>(argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 0UL);
  const auto opened = RoomServer::open(meeting, journal, {.port = port});
  if (const auto* problem = std::get_if<std::string>(&opened)) {
    std::fprintf(stderr, "%s\n", problem->c_str());
    return 1;
  }
  std::printf("%s\n", std::get<std::unique_ptr<RoomServer>>(opened)->url().c_str());
  std::fflush(stdout);
  const Ticker ticker(kTick, [&meeting] { meeting.tick(); });
  platform::RunLoop::main().run();
  return 0;
}
