// Shares a file through the built plug-in with a multimedia platform that only notes what comes and
// when: from the opening of the file to the consumer's end of the router, as in a meeting. The host
// round it is made of the reference meeting's parts.
#include <cstdio>
#include <memory>
#include <utility>
#include <variant>

#include "avcapture/KTVideoPlayer.h"
#include "bench/Options.h"
#include "bench/Record.h"
#include "meeting/Conference.h"
#include "meeting/MessageJournal.h"
#include "meeting/Participant.h"
#include "meeting/PluginModule.h"
#include "mmp/RequestRecords.h"
#include "platform/RunLoop.h"
#include "ucf/IUCFContainerRuntime.h"

namespace {

constexpr meeting::DocumentIds kIds{.session = 1, .source = 2};

// Says yes to everything, and presses play as soon as the channel is there.
class NotingPlatform final : public meeting::PlatformPort {
 public:
  NotingPlatform(const bench::Options& options, bench::Record& record,
                 std::weak_ptr<meeting::Participant> presenter)
      : options_(options), record_(record), presenter_(std::move(presenter)) {}

  UCFResult request(unsigned long type, unsigned long uMsg, void* record) override {
    if (type != SVS_MSG_MS_COMMAND) return 1;
    switch (uMsg) {
      case MM_MEDIASTREAMING_CMD_MEDIA_DATA:
        sample(*static_cast<const tagMSDataStructure*>(record));
        return 1;
      case MM_MEDIASTREAMING_CMD_QUERY:
        return query(*static_cast<tagQuery*>(record));
      case MM_MEDIASTREAMING_CMD_REGISTER:
        join();
        return 1;
      case MM_MEDIASTREAMING_CMD_SOURCE_STATUS:
        if (static_cast<const tagMSSourceStatus*>(record)->eStatus == MM_MEDIASTREAMING_STOP) end();
        return 1;
      default:
        return 1;
    }
  }

 private:
  void sample(const tagMSDataStructure& data) {
    const auto microseconds = static_cast<std::int64_t>(data.dwTimestamp) * 1000;
    if (data.nMediaType == MM_MEDIASTREAMING_MEDIATYPE_AUDIO) return record_.sound(microseconds);
    if (data.bReserved != 0) return;
    record_.picture(microseconds);
    const bool enough =
        options_.duration > 0 && static_cast<double>(microseconds) >= options_.duration * 1'000'000;
    if (options_.first || enough) platform::dispatchOnMainThread([this] { end(); });
  }
  // The session is probed for the last time just before the file is opened.
  UCFResult query(const tagQuery& query) {
    if (query.nQueryType != MM_MEDIASTREAMING_QUERY_SESSION_PROBE) return 1;
    if (!registered_) record_.begin();
    return 0;
  }
  void join() {
    registered_ = true;
    const auto presenter = presenter_.lock();
    for (const auto status : {MM_MEDIA_STREAMING_CHANNEL_STATUS_CREATE_CONFIRM,
                              MM_MEDIA_STREAMING_CHANNEL_STATUS_JOIN_SUCCESS}) {
      tagMSChannelStatus channel{};
      channel.head = {kIds.session, kIds.source};
      channel.dwStatus = status;
      presenter->postStatus(channel);
    }
    platform::dispatchOnMainThread([weak = presenter_] {
      if (const auto joined = weak.lock()) joined->player()->onStart(nullptr);
    });
  }
  void end() {
    if (std::exchange(ended_, true)) return;
    record_.end();
    platform::RunLoop::main().stop();
  }

  const bench::Options& options_;
  bench::Record& record_;
  const std::weak_ptr<meeting::Participant> presenter_;
  bool registered_ = false;
  bool ended_ = false;
};

void share(const meeting::PluginModule& module, const bench::Options& options,
           bench::Record& record) {
  meeting::MessageJournal journal;
  meeting::Conference conference(kIds);
  const auto view = std::make_shared<platform::View>();
  view->setFrame({{0, 0}, {960, 540}});
  const auto presenter = std::make_shared<meeting::Participant>(
      meeting::Participant::Setup{
          .id = "presenter",
          .userId = meeting::Conference::kPresenterUserId,
          .filePath = options.file,
          .fileName = options.file,
          .runtime = {.role = UCF_ROLE_PRESENTER, .mode = 0, .recording = false},
          .view = view},
      conference, journal);
  presenter->connect(std::make_unique<NotingPlatform>(options, record, presenter));
  conference.add(presenter);
  if (!presenter->open(module)) return;
  conference.answerJoin(*presenter, meeting::JoinAnswer::accept);
  platform::RunLoop& loop = platform::RunLoop::main();
  loop.run();
  presenter->close();
  loop.runUntil(loop.now() + platform::seconds(0.3));  // late releases
}

}  // namespace

int main(int argc, char** argv) {
  const bench::Options options =
      bench::parseOptions(argc, argv, "Plays a movie through the plug-in.");
  avcapture::setPlaybackOptions(
      {.paced = options.paced, .decoderThreads = options.threads, .localSound = false});
  auto loaded = meeting::PluginModule::load(MOVARA_BUNDLE);
  if (const auto* failure = std::get_if<meeting::Failure>(&loaded)) {
    std::fprintf(stderr, "presenter: %s\n", failure->line.c_str());
    return 1;
  }
  const auto& module = std::get<meeting::PluginModule>(loaded);
  module.initialize();
  bench::Record record;
  share(module, options, record);
  module.cleanup();
  record.print();
  return 0;
}
