#include "meeting/Meeting.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <utility>

#include "avcapture/KTVideoPlayer.h"
#include "meeting/MediaFile.h"
#include "meeting/Snapshot.h"
#include "platform/RunLoop.h"

namespace meeting {

namespace {

using std::chrono_literals::operator""ms;
using std::chrono_literals::operator""s;

constexpr platform::Duration kWatchInterval = 50ms;
// From the views' creation to the first play; an ordinary start takes under a second.
constexpr platform::Duration kStartLimit = 20s;
// The last pictures and messages reach the attendees.
constexpr platform::Duration kSettling = 100ms;
// Players let go of their parts a fifth of a second after they have ended.
constexpr platform::Duration kLateReleases = 300ms;

// Status views of a presenter that will not start.
constexpr int kStatusViewRefused = 4;
constexpr int kStatusViewLimit = 7;
constexpr int kStatusViewOpenFailed = 101;
constexpr int kStatusViewOpenFailed2012 = 102;

void serveMainLoopFor(platform::Duration duration) {
  auto& loop = platform::RunLoop::main();
  loop.runUntil(loop.now() + duration);
}

std::optional<Failure> checkWritable(const std::string& path, const std::string& media) {
  if (path.empty()) return std::nullopt;
  std::error_code none;
  if (std::filesystem::equivalent(path, media, none))
    return Failure{ExitStatus::usage, "would overwrite the shared file: " + path};
  if (std::ofstream(path, std::ios::app)) return std::nullopt;
  return Failure{ExitStatus::outputFailed, "cannot write " + path};
}

}  // namespace

Meeting::Meeting(Options options) : options_(std::move(options)), progress_(options_.quiet) {
  report_.file = options_.file;
  report_.paced = !options_.unpaced;
}

Meeting::~Meeting() = default;

Outcome Meeting::run() {
  auto failure = prepare();
  if (!failure) {
    module_->initialize();
    failure = bringTogether();
    if (!failure) hold();
    progress_.finish();
    takeStock();
    if (auto unwritten = takeSnapshots(); unwritten && !failure) failure = std::move(unwritten);
    disband();
    if (!recorder_->closeMd5())
      failure = Failure{ExitStatus::outputFailed, "cannot write " + options_.frameMd5File};
    module_->cleanup();
  }
  const bool shared = outcome_ && outcome_->exitStatus == static_cast<int>(ExitStatus::shared);
  if (failure && (!outcome_ || shared))
    outcome_ = Outcome{static_cast<int>(failure->status), failure->line};
  report_.messages = messages_.totals();
  report_.exitStatus = outcome_->exitStatus;
  return *outcome_;
}

void Meeting::interrupt(int signal) {
  platform::dispatchOnMainThread([this, signal] { finish(Outcome{128 + signal, "interrupted"}); });
}

// Everything that can go wrong before anything has been started.
std::optional<Failure> Meeting::prepare() {
  if (auto failure = checkMediaFile(options_.file)) return failure;
  if (auto failure = checkWritable(options_.reportFile, options_.file)) return failure;
  if (auto failure = checkWritable(options_.frameMd5File, options_.file)) return failure;
  auto loaded = PluginModule::load(options_.plugin);
  if (auto* failure = std::get_if<Failure>(&loaded)) return std::move(*failure);
  module_ = std::get<PluginModule>(std::move(loaded));
  avcapture::setPlaybackOptions({.paced = !options_.unpaced,
                                 .decoderThreads = options_.decoderThreads,
                                 .localSound = !options_.unpaced});
  std::unique_ptr<FrameMd5Writer> md5;
  if (!options_.frameMd5File.empty()) {
    md5 = FrameMd5Writer::create(options_.frameMd5File);
    if (!md5) return Failure{ExitStatus::outputFailed, "cannot write " + options_.frameMd5File};
  }
  recorder_ =
      std::make_unique<StreamRecorder>(std::make_shared<platform::SteadyClock>(), std::move(md5));
  recorder_->setStateChanged([this](StreamState state) { onStreamState(state); });
  platform_ = std::make_unique<InProcessPlatform>(
      DocumentIds{Conference::kSessionId, Conference::kSourceId}, *recorder_,
      std::make_shared<platform::SteadyClock>());
  return std::nullopt;
}

std::optional<Failure> Meeting::bringTogether() {
  addPresenter();
  for (int number = 1; number <= options_.attendees; ++number) addAttendee(number);
  const Failure failure{ExitStatus::noPlugin, "the plug-in did not create its object"};
  if (!presenter_->open(*module_)) return failure;
  for (const Attendee& attendee : attendees_)
    if (!attendee.participant->open(*module_)) return failure;
  conference_.answerJoin(*presenter_, options_.session);
  for (const Attendee& attendee : attendees_)
    conference_.answerJoin(*attendee.participant, JoinAnswer::accept);
  return std::nullopt;
}

void Meeting::addPresenter() {
  const std::string path = std::filesystem::absolute(options_.file).string();
  presenter_ = std::make_shared<Participant>(
      Participant::Setup{.name = "presenter",
                         .userId = Conference::kPresenterUserId,
                         .filePath = path,
                         .runtime = {.role = UCF_ROLE_PRESENTER, .mode = 0}},
      conference_, messages_);
  presenter_->connect(platform_->attachPresenter(presenter_));
  conference_.add(presenter_);
}

void Meeting::addAttendee(int number) {
  auto participant = std::make_shared<Participant>(
      Participant::Setup{
          .name = "attendee-" + std::to_string(number),
          .userId = Conference::kPresenterUserId + static_cast<std::uint32_t>(number),
          .filePath = {},
          .runtime = {.role = UCF_ROLE_ATTENDEE, .mode = UCF_RUNTIME_MODE_LISTENER}},
      conference_, messages_);
  auto port = platform_->attachAttendee(participant);
  port->setWatched(!options_.snapshotFolder.empty());
  attendees_.push_back({participant, port.get()});
  participant->connect(std::move(port));
  conference_.add(participant);
}

void Meeting::hold() {
  auto& loop = platform::RunLoop::main();
  startDeadline_ = loop.now() + kStartLimit;
  watcher_.emplace(kWatchInterval, [this] { watch(); });
  while (!outcome_) loop.run();
  watcher_.reset();
  timeLimit_.reset();
  if (!attendees_.empty()) serveMainLoopFor(kSettling);
}

// Looks at the presenter's view as its user would.
void Meeting::watch() {
  const auto player = presenter_->player();
  if (!hasPlayed_) watchStart(player ? player->statusViewType() : 0);
  const SampleSummary samples = recorder_->statistics().summary();
  progress_.update(
      {.state = stateName(recorder_->state()),
       .positionMs = player ? static_cast<std::uint64_t>(player->currentTime() * 1000) : 0,
       .durationMs = recorder_->durationMs(),
       .frames = samples.frames,
       .audioBlocks = samples.audioBlocks,
       .dropped = player ? player->statistics().framesDropped : 0});
}

void Meeting::watchStart(int statusView) {
  switch (statusView) {
    case kStatusViewOpenFailed:
    case kStatusViewOpenFailed2012:
      return finish(Failure{ExitStatus::notMedia, "not a media file: " + options_.file});
    case kStatusViewRefused:
      return finish(Failure{ExitStatus::refused, "the session was refused"});
    case kStatusViewLimit:
      return finish(
          Failure{ExitStatus::refused, "the session was refused: attendee limit reached"});
    default:
      break;
  }
  if (platform::RunLoop::main().now() >= startDeadline_)
    finish(Failure{ExitStatus::noPlugin, "the plug-in did not start to play"});
}

void Meeting::onStreamState(StreamState state) {
  switch (state) {
    case StreamState::joined:
      return pressPlay();
    case StreamState::playing:
      hasPlayed_ = true;
      if (options_.duration && !timeLimit_)
        timeLimit_.emplace(platform::seconds(*options_.duration), [this] { finish(Outcome{}); });
      return;
    case StreamState::stopped:
      if (hasPlayed_) finish(Outcome{});
      return;
    default:
      return;
  }
}

void Meeting::pressPlay() {
  const auto player = presenter_->player();
  if (!player || player->isPlaying()) return;
  recorder_->statistics().playPressed();
  player->onStart(nullptr);
}

void Meeting::finish(Outcome outcome) {
  if (outcome_) return;
  outcome_ = std::move(outcome);
  platform::RunLoop::main().stop();
}

void Meeting::finish(const Failure& failure) {
  finish(Outcome{static_cast<int>(failure.status), failure.line});
}

// What can be asked only while the participants are there.
void Meeting::takeStock() {
  report_.state = stateName(recorder_->state());
  report_.video = recorder_->video();
  report_.audio = recorder_->audio();
  report_.durationMs = recorder_->durationMs();
  if (const auto player = presenter_->player()) {
    report_.positionMs = static_cast<std::uint64_t>(player->currentTime() * 1000);
    report_.dropped = player->statistics().framesDropped;
  }
  for (const Attendee& attendee : attendees_)
    report_.attendees.push_back({attendee.participant->name(), attendee.port->statistics()});
}

std::optional<Failure> Meeting::takeSnapshots() {
  if (options_.snapshotFolder.empty()) return std::nullopt;
  const std::filesystem::path folder = options_.snapshotFolder;
  std::error_code error;
  std::filesystem::create_directories(folder, error);
  const auto write = [&folder](Participant& participant) -> std::optional<Failure> {
    const std::string path = folder / (participant.name() + ".png");
    if (writePng(compose(participant.view()), path)) return std::nullopt;
    return Failure{ExitStatus::outputFailed, "cannot write " + path};
  };
  auto failure = write(*presenter_);
  for (const Attendee& attendee : attendees_)
    if (!failure) failure = write(*attendee.participant);
  return failure;
}

void Meeting::disband() {
  for (const Attendee& attendee : attendees_) attendee.participant->close();
  presenter_->close();
  report_.samples = recorder_->statistics().summary();
  serveMainLoopFor(kLateReleases);
  attendees_.clear();
  presenter_.reset();
  platform_.reset();
}

}  // namespace meeting
