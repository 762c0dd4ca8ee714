#include "meeting/Meeting.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
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
// The last pictures and messages reach the attendees, and what they show follows.
constexpr platform::Duration kSettling = 300ms;
// For a visitor to come back.
constexpr platform::Duration kVisitGrace = 10s;
// Players let go of their parts a fifth of a second after they have ended.
constexpr platform::Duration kLateReleases = 300ms;

void serveMainLoopFor(platform::Duration duration) {
  auto& loop = platform::RunLoop::main();
  loop.runUntil(loop.now() + duration);
}

}  // namespace

Meeting::Meeting(Options options)
    : options_(std::move(options)),
      progress_(options_.quiet),
      scenario_(options_.scenario, [this](const TimedAction& timed) { actOnTime(timed); }) {
  report_.paced = !options_.unpaced;
}

Meeting::~Meeting() = default;

Outcome Meeting::run() {
  auto failure = prepare();
  if (!failure) {
    module_->initialize();
    window_ = ClientWindow::open([this](bool fitMode) {
      for (const auto& document : documents_) document->setFullscreen(fitMode);
    });
    failure = bringTogether();
    if (!failure) hold();
    progress_.finish();
    if (auto unwritten = takeSnapshots(); unwritten && !failure) failure = std::move(unwritten);
    room_.reset();
    disband();
    module_->cleanup();
  }
  if (auto unwritten = closeOutput(); unwritten && !failure) failure = std::move(unwritten);
  const bool shared = outcome_ && outcome_->exitStatus == static_cast<int>(ExitStatus::done);
  if (failure && (!outcome_ || shared)) outcome_ = outcomeOf(*failure);
  report_.messages = journal_.totals();
  report_.exitStatus = outcome_->exitStatus;
  return *outcome_;
}

void Meeting::interrupt(int signal) {
  // May come too late for this meeting, when the loop serves the next one.
  platform::dispatchOnMainThread([this, signal, alive = std::weak_ptr<int>(alive_)] {
    if (!alive.expired()) finish(Outcome{128 + signal, "interrupted"});
  });
}

// Everything that can go wrong before anything has been started.
std::optional<Failure> Meeting::prepare() {
  for (const std::string& file : options_.files)
    if (auto failure = checkReadable(file)) return failure;
  if (auto failure = prepareOutput()) return failure;
  auto loaded = PluginModule::load(options_.plugin);
  if (auto* failure = std::get_if<Failure>(&loaded)) return std::move(*failure);
  module_ = std::get<PluginModule>(std::move(loaded));
  avcapture::setPlaybackOptions({.paced = !options_.unpaced,
                                 .decoderThreads = options_.decoderThreads,
                                 .localSound = !options_.unpaced});
  for (unsigned number = 1; number <= options_.files.size(); ++number)
    if (auto failure = addDocument(number)) return failure;
  return openRoom();
}

std::optional<Failure> Meeting::openRoom() {
  if (!options_.room.open) return std::nullopt;
  auto opened = RoomServer::open(
      *this, journal_, {.address = options_.room.address, .port = options_.room.port, .token = {}});
  if (auto* problem = std::get_if<std::string>(&opened))
    return Failure{ExitStatus::noRoom, std::move(*problem)};
  room_ = std::get<std::unique_ptr<RoomServer>>(std::move(opened));
  std::fprintf(stderr, "Room: %s\n", room_->url().c_str());
  return std::nullopt;
}

std::optional<Failure> Meeting::prepareOutput() {
  if (auto failure = checkOutputs(
          {options_.reportFile, options_.frameMd5File, options_.recordFile, options_.messagesFile},
          options_.files))
    return failure;
  addLog(options_.recordFile, MessageLog::Form::recording);
  addLog(options_.messagesFile, MessageLog::Form::json);
  return std::nullopt;
}

void Meeting::addLog(const std::string& path, MessageLog::Form form) {
  if (path.empty()) return;
  logs_.push_back(std::make_unique<MessageLog>(path, form));
  journal_.addListener(*logs_.back());
}

std::optional<Failure> Meeting::addDocument(unsigned number) {
  std::unique_ptr<FrameMd5Writer> md5;
  if (!options_.frameMd5File.empty()) md5 = std::make_unique<FrameMd5Writer>(options_.frameMd5File);
  auto document = std::make_unique<Document>(
      Document::Setup{.file = options_.files[number - 1],
                      .number = number,
                      .idPrefix = number == 1 ? "" : std::to_string(number) + "/",
                      .attendees = options_.attendees,
                      .recording = options_.recording,
                      .session = options_.session},
      *module_, journal_, std::move(md5));
  document->recorder().setStateChanged(
      [this, raw = document.get()](StreamState state) { onStreamState(*raw, state); });
  documents_.push_back(std::move(document));
  return std::nullopt;
}

std::optional<Failure> Meeting::bringTogether() {
  if (!options_.snapshotFolder.empty()) {
    for (const ParticipantStatus& status : participants()) setWatched(status.id, true);
  }
  for (const auto& document : documents_)
    if (auto failure = document->open()) return failure;
  return std::nullopt;
}

void Meeting::hold() {
  auto& loop = platform::RunLoop::main();
  startDeadline_ = loop.now() + kStartLimit;
  watcher_.emplace(kWatchInterval, [this] { watch(); });
  while (!outcome_) loop.run();
  timeLimit_.reset();
  if (options_.attendees > 0) serveMainLoopFor(kSettling);
  watcher_.reset();
}

void Meeting::watch() {
  if (outcome_) return;
  watchStart();
  showProgress();
  endIfOver();
  for (const auto& log : logs_) log->write();
}

// Looks at the views of those who have not begun to play, as their users would.
void Meeting::watchStart() {
  const bool late = platform::RunLoop::main().now() >= startDeadline_;
  for (const auto& document : documents_) {
    if (document->hasPlayed() || document->isOver()) continue;
    if (const auto failure = document->startFailure()) return finish(*failure);
    if (late && document->recorder().state() == StreamState::starting)
      return finish(Failure{ExitStatus::noPlugin, "the plug-in did not start to play"});
  }
}

void Meeting::showProgress() {
  // The document that plays, or else the last one that did.
  Document* shown = documents_.front().get();
  for (const auto& document : documents_)
    if (document->hasPlayed()) shown = document.get();
  for (const auto& document : documents_)
    if (document->recorder().state() == StreamState::playing) shown = document.get();
  const auto player = shown->player();
  const SampleSummary samples = shown->recorder().statistics().summary();
  progress_.update(
      {.state = stateName(shown->recorder().state()),
       .positionMs = player ? static_cast<std::uint64_t>(player->currentTime() * 1000) : 0,
       .durationMs = shown->recorder().durationMs(),
       .frames = samples.frames,
       .audioBlocks = samples.audioBlocks,
       .dropped = player ? player->statistics().framesDropped : 0});
}

void Meeting::onStreamState(Document& document, StreamState state) {
  if (outcome_) return;
  switch (state) {
    case StreamState::joined:
      return playNext();
    case StreamState::playing:
      scenario_.start();  // a plug-in may play without being asked to
      document.notePlaying();
      if (options_.duration && !timeLimit_)
        timeLimit_.emplace(platform::seconds(*options_.duration), [this] { finish(Outcome{}); });
      return;
    case StreamState::stopped:
      playNext();
      return endIfOver();
    default:
      return;
  }
}

// The first document whose turn it is starts as soon as its channel is there and nothing plays.
void Meeting::playNext() {
  if (outcome_) return;
  for (const auto& document : documents_) {
    if (document->isOver()) continue;
    if (!document->hasPlayed() && document->recorder().state() == StreamState::joined) {
      scenario_.start();
      document->play();
    }
    return;
  }
}

// --- scenario and room ---

std::optional<std::string> Meeting::act(const Action& action) {
  if (outcome_) return "the meeting has ended";
  if (action.document > documents_.size())
    return "there is no document " + std::to_string(action.document);
  auto problem = documents_[action.document - 1]->act(action);
  playNext();
  endIfOver();
  return problem;
}

void Meeting::actOnTime(const TimedAction& timed) {
  if (outcome_) return;
  const auto problem = act(timed.action);
  if (!problem) return;
  progress_.finish();
  const double seconds = std::chrono::duration<double>(timed.at).count();
  std::fprintf(stderr, "movara-meeting: at %g s: %s\n", seconds, problem->c_str());
}

std::vector<ParticipantStatus> Meeting::participants() {
  std::vector<ParticipantStatus> all;
  for (const auto& document : documents_) {
    auto some = document->participants();
    std::move(some.begin(), some.end(), std::back_inserter(all));
  }
  return all;
}

std::optional<std::string> Meeting::act(const std::string& action) {
  const auto parsed = parseAction(action);
  if (const auto* wrong = std::get_if<std::string>(&parsed)) return *wrong;
  return act(std::get<Action>(parsed));
}

std::shared_ptr<platform::View> Meeting::view(const std::string& id) {
  for (const auto& document : documents_)
    if (auto found = document->view(id)) return found;
  return nullptr;
}

void Meeting::setWatched(const std::string& id, bool watched) {
  for (const auto& document : documents_)
    if (document->setWatched(id, watched || !options_.snapshotFolder.empty())) return;
}

void Meeting::listen(const std::string& id, std::shared_ptr<SoundSink> sink) {
  for (const auto& document : documents_)
    if (document->listen(id, sink)) return;
}

// --- the end ---

// Nothing plays, nothing is left to play, and nobody has asked for more.
void Meeting::endIfOver() {
  const bool visited = isVisited();
  if (outcome_ || visited || options_.stay || !scenario_.finished()) return;
  const auto playing = [](const auto& document) { return document->isPlaying(); };
  const auto done = [](const auto& document) {
    return document->isOver() || document->hasPlayed();
  };
  // One that has paused can be played on only by a visitor.
  const auto over = [this](const auto& document) {
    return document->isOver() || (!room_ && document->hasPlayed() && !document->isPlaying());
  };
  if (std::any_of(documents_.begin(), documents_.end(), over) &&
      std::all_of(documents_.begin(), documents_.end(), done) &&
      std::none_of(documents_.begin(), documents_.end(), playing))
    finish(Outcome{});
}

// A visitor whose page is loaded again is gone for a moment only.
bool Meeting::isVisited() {
  if (!room_) return false;
  const platform::TimePoint now = platform::RunLoop::main().now();
  if (room_->visitors() > 0) lastVisit_ = now;
  return lastVisit_ && now - *lastVisit_ < kVisitGrace;
}

void Meeting::finish(Outcome outcome) {
  if (outcome_) return;
  outcome_ = std::move(outcome);
  platform::RunLoop::main().stop();
}

void Meeting::finish(const Failure& failure) { finish(outcomeOf(failure)); }

std::optional<Failure> Meeting::takeSnapshots() {
  if (options_.snapshotFolder.empty()) return std::nullopt;
  const std::filesystem::path folder = options_.snapshotFolder;
  std::error_code error;
  std::filesystem::create_directories(folder, error);
  for (const ParticipantStatus& status : participants()) {
    std::string name = status.id;
    std::replace(name.begin(), name.end(), '/', '-');
    const std::string path = folder / (name + ".png");
    if (const int problem = writePng(compose(*view(status.id)), path))
      return cannotWrite(path, problem);
  }
  return std::nullopt;
}

void Meeting::disband() {
  for (const auto& document : documents_) {
    report_.documents.push_back(document->report());
    document->close();
    // What the delivery threads have sent until they ended.
    report_.documents.back().samples = document->recorder().statistics().summary();
  }
  serveMainLoopFor(kLateReleases);
  window_.reset();
}

std::optional<Failure> Meeting::closeOutput() {
  std::optional<Failure> failure;
  for (const auto& document : documents_)
    if (const int error = document->recorder().closeMd5())
      failure = cannotWrite(options_.frameMd5File, error);
  for (const auto& log : logs_)
    if (const int error = log->close()) failure = cannotWrite(log->path(), error);
  documents_.clear();
  return failure;
}

}  // namespace meeting
