#include "meeting/Document.h"

#include <cmath>
#include <filesystem>
#include <utility>

#include "meeting/ViewStates.h"
#include "mmp/ParticipantRecords.h"

namespace meeting {

namespace {

constexpr platform::Rect kViewFrame{{0, 0}, {960, 540}};
constexpr std::uint64_t kSessionId = 1001;

DocumentIds idsOf(unsigned document) { return {kSessionId, document}; }

std::optional<Failure> refusal(JoinAnswer answer) {
  switch (answer) {
    case JoinAnswer::refuse:
      return Failure{ExitStatus::refused, "the session was refused"};
    case JoinAnswer::limit:
      return Failure{ExitStatus::refused, "the session was refused: attendee limit reached"};
    default:
      return std::nullopt;
  }
}

// Nothing, where memory ran out before there was a reason to tell.
std::string inBrackets(const std::string& reason) {
  return reason.empty() ? std::string() : " (" + reason + ")";
}

std::shared_ptr<platform::View> newView() { return std::make_shared<platform::View>(kViewFrame); }

}  // namespace

Document::Document(Setup setup, const PluginModule& module, MessageJournal& journal,
                   std::unique_ptr<FrameMd5Writer> md5)
    : setup_(std::move(setup)),
      module_(module),
      journal_(journal),
      conference_(idsOf(setup_.number)),
      recorder_(std::make_unique<StreamRecorder>(std::make_shared<platform::SteadyClock>(),
                                                 std::move(md5))),
      platform_(std::make_unique<InProcessPlatform>(idsOf(setup_.number), *recorder_,
                                                    std::make_shared<platform::SteadyClock>())),
      sourceView_(newView()) {
  recorder_->setPictureWanted([this] { deliverPictureAgain(); });
  for (int i = 1; i <= setup_.attendees; ++i) {
    Seat& seat = seats_.emplace_back();
    seat.number = static_cast<unsigned>(i);
    seat.id = setup_.idPrefix + "attendee-" + std::to_string(i);
    seat.view = newView();
  }
}

Document::~Document() { close(); }

std::optional<Failure> Document::open() {
  if (auto failure = openSource()) return failure;
  for (Seat& seat : seats_)
    if (!join(seat)) return Failure{ExitStatus::noPlugin, "the plug-in did not create its object"};
  return std::nullopt;
}

std::optional<Failure> Document::openSource() {
  if (!setup_.recording) {
    if (openPresenter()) return std::nullopt;
    return Failure{ExitStatus::noPlugin, "the plug-in did not create its object"};
  }
  const DocumentIds ids = idsOf(setup_.number);
  recording_ = Recording::open(setup_.file, {ids.session, ids.source},
                               platform_->attachPresenter({}), *sourceView_);
  if (!recording_) return Failure{ExitStatus::wrongFile, "not a media file: " + setup_.file};
  const tagStmMediaInfo info = recording_->mediaInfo();
  const auto* bytes = reinterpret_cast<const unsigned char*>(&info);
  conference_.setParameterData(Conference::kPresenterUserId, STM_PARAMETER_MEDIA_INFO,
                               Bytes(bytes, bytes + sizeof info));
  return std::nullopt;
}

bool Document::openPresenter() {
  presenter_ = std::make_shared<Participant>(
      Participant::Setup{.id = sourceId(),
                         .userId = Conference::kPresenterUserId,
                         .filePath = std::filesystem::absolute(setup_.file).string(),
                         .fileName = setup_.file,
                         .runtime = {.role = UCF_ROLE_PRESENTER, .mode = 0, .recording = false},
                         .view = sourceView_},
      conference_, journal_);
  auto port = platform_->attachPresenter(presenter_);
  presenterPort_ = port.get();
  presenter_->connect(std::move(port));
  conference_.add(presenter_);
  if (!presenter_->open(module_)) {
    endPresenter();
    return false;
  }
  conference_.answerJoin(*presenter_, setup_.session);
  return true;
}

bool Document::join(Seat& seat) {
  seat.participant = std::make_shared<Participant>(
      Participant::Setup{.id = seat.id,
                         .userId = Conference::kPresenterUserId + seat.number,
                         .filePath = {},
                         .fileName = setup_.recording ? setup_.file : std::string(),
                         .runtime = {.role = UCF_ROLE_ATTENDEE,
                                     .mode = UCF_RUNTIME_MODE_LISTENER,
                                     .recording = setup_.recording},
                         .view = seat.view},
      conference_, journal_);
  auto port = setup_.recording ? platform_->attachViewer(seat.participant)
                               : platform_->attachAttendee(seat.participant);
  seat.port = port.get();
  port->setDelay(seat.delay);
  port->setWatched(seat.watched);
  port->listen(seat.sink);
  seat.participant->connect(std::move(port));
  conference_.add(seat.participant);
  if (!seat.participant->open(module_)) {
    leave(seat);
    return false;
  }
  conference_.answerJoin(*seat.participant, JoinAnswer::accept);
  return true;
}

void Document::leave(Seat& seat) {
  seat.earlier = statistics(seat);
  seat.port = nullptr;
  // Messages are served while the object ends: they find the seat empty.
  std::exchange(seat.participant, nullptr)->close();
}

// As when somebody leaves; what is served meanwhile finds no presenter.
void Document::endPresenter() {
  presenterPort_ = nullptr;
  if (const auto leaving = std::exchange(presenter_, nullptr)) leaving->close();
}

// The source goes without a word to the platform.
void Document::lose() {
  if (presenterPort_ != nullptr) presenterPort_->lose();
  endPresenter();
}

void Document::close() {
  for (Seat& seat : seats_)
    if (seat.participant) leave(seat);
  endPresenter();
  if (const auto ending = std::exchange(recording_, nullptr)) ending->close();
}

std::shared_ptr<avcapture::KTVideoPlayer> Document::player() const {
  if (recording_) return recording_->player();
  return presenter_ ? presenter_->player() : nullptr;
}

std::optional<Failure> Document::startFailure() const {
  const auto view = player();
  // A presenter without one shows nobody that it was refused.
  if (!view) return presenter_ ? refusal(setup_.session) : std::nullopt;
  switch (view->statusViewType()) {
    case kStatusViewOpenFailed:
    case kStatusViewOpenFailed2012:
      return Failure{ExitStatus::wrongFile,
                     "not a media file: " + setup_.file + inBrackets(view->failure())};
    case kStatusViewFailed:
      return refusal(JoinAnswer::refuse);
    case kStatusViewLimit:
      return refusal(JoinAnswer::limit);
    default:
      return std::nullopt;
  }
}

// Without a view to look at, while the presenter's object is hidden, the stream tells.
bool Document::isPlaying() const {
  if (!presenter_ && !recording_) return false;
  const auto view = player();
  return view ? view->isPlaying() : recorder_->state() == StreamState::playing;
}

bool Document::isOver() const {
  if (sessionEnded_ || (!presenter_ && !recording_)) return true;
  const auto view = player();
  const bool paused = view ? view->pausedByUser() : recorder_->state() == StreamState::paused;
  return hasPlayed_ && !isPlaying() && !paused;
}

void Document::play() {
  const auto view = player();
  if (!view || view->isPlaying()) return;
  if (!hasPlayed_) recorder_->statistics().playPressed();
  view->onStart(nullptr);
}

// Somebody has joined who would see nothing until the presenter plays on.
void Document::deliverPictureAgain() const {
  if (const auto view = player()) view->deliverLatestImageAgain();
}

// --- for onlookers ---

std::string Document::sourceId() const {
  return setup_.idPrefix + (setup_.recording ? "recording" : "presenter");
}

std::vector<ParticipantStatus> Document::participants() {
  std::vector<ParticipantStatus> all{sourceStatus()};
  for (const Seat& seat : seats_) all.push_back(seatStatus(seat));
  const std::string file = std::filesystem::path(setup_.file).filename().string();
  const std::string document = "document=" + std::to_string(setup_.number) + " ";
  for (ParticipantStatus& status : all) {
    status.file = file;
    status.actor.insert(0, document);
    status.duration = static_cast<double>(recorder_->durationMs()) / 1000;
    if (const auto& video = recorder_->video()) {
      status.width = video->width;
      status.height = video->height;
    }
  }
  return all;
}

ParticipantStatus Document::sourceStatus() {
  ParticipantStatus status;
  status.id = sourceId();
  status.presenter = true;
  const auto view = player();
  status.present = view != nullptr;
  status.state = view ? stateName(recorder_->state()) : "gone";
  if (!view) return status;
  const avcapture::PlaybackStatistics playback = view->statistics();
  status.statusView = view->statusViewType();
  status.position = view->currentTime();
  status.fps = static_cast<float>(sourceRate_.measure(playback.framesDelivered, clock_.now()));
  status.frames = playback.framesDelivered;
  status.dropped = playback.framesDropped;
  status.volume = view->volume() * 255 / 100;
  status.muted = status.volume == 0;
  return status;
}

ParticipantStatus Document::seatStatus(const Seat& seat) const {
  ParticipantStatus status;
  status.id = seat.id;
  status.actor = "attendee=" + std::to_string(seat.number) + " ";
  status.present = seat.participant != nullptr;
  const AttendeeStatistics received = statistics(seat);
  status.frames = received.framesReceived;
  status.dropped = received.framesLost;
  status.fps = received.fps;
  status.volume = received.volume;
  status.muted = received.muted || received.volume == 0;
  const auto view = seat.participant ? seat.participant->player() : nullptr;
  if (!view) {
    status.state = seat.participant ? "inactive" : "left";
    return status;
  }
  status.statusView = view->statusViewType();
  status.position = view->currentTime();
  status.state = attendeeState(status.statusView, view->isPlaying());
  return status;
}

AttendeeStatistics Document::statistics(const Seat& seat) const {
  AttendeeStatistics sum = seat.port != nullptr ? seat.port->statistics() : AttendeeStatistics{};
  sum.framesReceived += seat.earlier.framesReceived;
  sum.framesLost += seat.earlier.framesLost;
  sum.audioBlocksReceived += seat.earlier.audioBlocksReceived;
  return sum;
}

Document::Seat* Document::seat(const std::string& id) {
  for (Seat& seat : seats_)
    if (seat.id == id) return &seat;
  return nullptr;
}

std::shared_ptr<platform::View> Document::view(const std::string& id) {
  if (id == sourceId()) return sourceView_;
  const Seat* found = seat(id);
  return found != nullptr ? found->view : nullptr;
}

bool Document::setWatched(const std::string& id, bool watched) {
  Seat* found = seat(id);
  if (found == nullptr) return false;
  found->watched = watched;
  if (found->port != nullptr) found->port->setWatched(watched);
  return true;
}

bool Document::listen(const std::string& id, std::shared_ptr<SoundSink> sink) {
  if (id == sourceId()) {
    recorder_->listen(std::move(sink));
    return true;
  }
  Seat* found = seat(id);
  if (found == nullptr) return false;
  found->sink = std::move(sink);
  if (found->port != nullptr) found->port->listen(found->sink);
  return true;
}

DocumentReport Document::report() {
  DocumentReport report;
  report.file = setup_.file;
  report.state = stateName(recorder_->state());
  report.samples = recorder_->statistics().summary();
  report.video = recorder_->video();
  report.audio = recorder_->audio();
  report.durationMs = recorder_->durationMs();
  if (const auto view = player()) {
    report.positionMs =
        static_cast<std::uint64_t>(std::llround(double{view->currentTime()} * 1000));
    report.dropped = view->statistics().framesDropped;
    report.failure = view->failure();
  }
  for (const Seat& seat : seats_) report.attendees.push_back({seat.id, statistics(seat)});
  return report;
}

}  // namespace meeting
