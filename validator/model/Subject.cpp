#include "validator/model/Subject.h"

#include <array>

#include "platform/NotificationCenter.h"

namespace model {

using avcapture::KTVideoPlayerDelegate;

Subject::Subject(const World& world) : world_(world) {
  host.role = world.source ? UCF_ROLE_PRESENTER : UCF_ROLE_ATTENDEE;
  host.runtimeMode = world.source ? 0 : UCF_RUNTIME_MODE_LISTENER;
  host.ownDocument = !world.agenda;
  host.liveMeeting = !world.recording;
  host.canSend = world.canSend;
  host.answerQuery = [this](tagQuery& query) { return answer(query); };
  create(world.embedded ? contract::kEmbedded : contract::kOutside,
         world.soundOnly ? "talk.mp3" : "talk.mov");
}

UCFResult Subject::answer(tagQuery& query) const {
  switch (query.nQueryType) {
    case MM_MEDIASTREAMING_QUERY_SESSION_PROBE:
      if (probeAnswer >= 2) query.dwResult = 1;
      return probeAnswer == 1 || probeAnswer == 2 ? 1 : 0;
    case MM_MEDIASTREAMING_QUERY_CHANNEL_STATUS:
      query.dwChannelStatus = world_.channel.value_or(0);
      return world_.channel ? 1 : 0;
    default:
      if (!world_.playAllowed) query.dwResult = query.dwStatus = 0;
      return 1;
  }
}

// What ticks begins half a step after the rest, so that nothing is due at the same time.
std::uint32_t Subject::createUI(bool complete) {
  const bool fresh = view() == nullptr;
  const UCFResult result = object->CreateActiveUI(parent.get(), complete ? &rect : nullptr);
  if (!fresh || !view()) return result;
  view()->whileOpening = [] { view()->delegate->renderMovie(view()->accepts); };
  view()->accepts = world_.opens;
  view()->type = world_.content;
  view()->refusedToPlay = world_.refused;
  later();
  return result;
}

void Subject::tick() { advance(0.05); }
void Subject::later() { advance(0.05); }

void Subject::press(bool play, bool pausedByUser,
                    void (KTVideoPlayerDelegate::*report)(platform::Object*)) {
  if (!view()) return;
  view()->playing = play;
  view()->paused = pausedByUser;
  (view()->delegate->*report)(nullptr);
}

void Subject::volumeChange(int volume) {
  if (view()) view()->delegate->volumeChange(nullptr, volume);
}

void Subject::announceVideoSize(int width, int height) {
  const platform::Dictionary info{
      {"MSVideoRenderSourceID", static_cast<int>(contract::RecordingHost::kSourceID)},
      {"MSVideoRenderWidth", width},
      {"MSVideoRenderHeight", height}};
  platform::NotificationCenter::defaultCenter().post("MSVideoRenderSizeChanged", nullptr, &info);
}

void Subject::parameterData(unsigned int id) { runtime->OnParameterData(id, nullptr, 0); }

void Subject::command(std::initializer_list<std::uint32_t> words) {
  std::vector<std::uint32_t> record(words);
  runtime->OnCommandData(reinterpret_cast<unsigned char*>(record.data()), record.front(), 0, 0);
}

const std::string& Subject::formatBytes(int type, int number) {
  static const auto make = [](std::size_t size) {
    std::array<std::string, 3> formats;
    for (std::size_t i = 0; i < formats.size(); ++i)
      (formats[i] = std::string(size, '\0'))[8] = static_cast<char>('a' + i);
    return formats;
  };
  static const std::array<std::array<std::string, 3>, 2> formats{
      {make(sizeof(tMSAUDIOFORMATEX)), make(sizeof(tagMSVIDEOFORMATEX))}};
  return formats.at(static_cast<std::size_t>(type)).at(static_cast<std::size_t>(number));
}

int Subject::format(int type, int number) {
  const unsigned code = type == 0 ? 5 : 6;
  return notify(code, reinterpret_cast<unsigned long>(formatBytes(type, number).data()));
}

int Subject::sample() {
  tagMSDataStructure sample{};
  const int before = host.samples;
  const int answer = notify(7, reinterpret_cast<unsigned long>(&sample));
  EXPECT_EQ(host.samples - before, answer == 0 ? 1 : 0);
  return answer;
}

int Subject::playAllowed() {
  std::int32_t allowed = -1;
  notify(15, reinterpret_cast<unsigned long>(&allowed));
  return allowed;
}

std::optional<Look> Subject::look() {
  if (!view()) return {};
  KTVideoPlayerDelegate& asked = *view()->delegate;
  const platform::Size size = asked.mediaSize();
  return Look{shown(),
              asked.isPlaying(),
              asked.currentTime(),
              asked.duration(),
              asked.fps(),
              {static_cast<int>(size.width), static_cast<int>(size.height)},
              asked.volume(),
              asked.isPresenter()};
}

void Subject::end() {
  release();
  advance(1.0);
}

}  // namespace model
