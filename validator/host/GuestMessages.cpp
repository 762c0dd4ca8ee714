// What a guest does about messages: comes into the session, opens its channel, plays its movie.
#include <algorithm>
#include <string>
#include <utility>

#include "mmp/StatusRecords.h"
#include "platform/RunLoop.h"
#include "ucf/SessionMessages.h"
#include "validator/host/Guest.h"
#include "validator/host/StatusChecks.h"

namespace hostcheck {

namespace {

void noteOrder(bool holds, const std::string& reason) {
  Findings::shared().note(Check::channelOrder, holds, reason);
}

// What a presenter that has come to a stage goes on with, in their order.
constexpr const char* kAwaited[] = {
    "S 0, join confirmed (SESSION_MSG_JOIN_CONFIRM)",
    "the main thread to run its loop",
    "its session probe (query 1) to be answered by 0",
    "M 4 (0), channel created",
    "M 4 (2), channel joined",
    "the main thread to run its loop",
    "S 102, playing is allowed: query 10000 was answered by no",
};

}  // namespace

UCFResult Guest::RouteMessage(enumMODULE_TYPE /*from*/, enumMODULE_TYPE /*to*/, unsigned long type,
                              unsigned long uMsg, void* wParam, void* /*lParam*/) {
  if (!enter(Check::messagesOnMainThread) || !checkMessage(type, uMsg, wParam)) return 0;
  Findings::shared().note(Check::ownDocument, container_.ownDocument(),
                          "RequestParameterData(-2) is 0, with which messages are dropped");
  if (type == ROUTE_TYPE_SESSION) onSession(uMsg);
  if (type != ROUTE_TYPE_MEDIASTREAMING) return 0;
  // Another document's status is passed over.
  if (static_cast<const tagMSHead*>(wParam)->sourceID != router_->ids().sourceID) return 0;
  if (uMsg == MM_MEDIASTREAMING_MSSTATUS_CHANNEL_STATUS)
    onChannelStatus(static_cast<const tagMSChannelStatus*>(wParam)->dwStatus);
  else if (live_)
    checkOrderOfStatus(uMsg, wParam);
  watch_.told(uMsg, wParam);
  return 0;
}

void Guest::onSession(unsigned long message) {
  switch (message) {
    case SESSION_MSG_JOIN_CONFIRM:
      reach(Stage::confirmed);
      return later(&Guest::startSharing);
    case SESSION_MSG_START_PLAY:
      return later(&Guest::play);
    default:  // refused, left, or the stream is to stop
      router_->expectRefusals();
      endedBy_ = message;
      return later(&Guest::endPlaying);
  }
}

// On a later turn of the run loop, unless the object has been released by then.
void Guest::later(void (Guest::*work)()) {
  platform::dispatchOnMainThread([weak = weak_from_this(), work] {
    const auto self = weak.lock();
    if (self && !self->released_) (self.get()->*work)();
  });
}

void Guest::startSharing() {
  if (!live_ || !presents_ || registered_) return;
  reach(Stage::probed);
  if (!router_->askToOpenFile()) return;
  container_.publish({.nDurationMs = kMovieMs,
                      .nMediaContent = MM_MEDIASTREAMING_MEDIACONTENT_AUDIO_VIDEO,
                      .nMediaType = MM_MEDIASTREAMING_MEDIACONTENT_AUDIO_VIDEO});
  registered_ = true;
  reach(Stage::registered);
  router_->registerChannel(channel(), kMovieMs);
}

// --- the channel ---

void Guest::onChannelStatus(std::uint32_t status) {
  switch (status) {
    case MM_MEDIA_STREAMING_CHANNEL_STATUS_CREATE_CONFIRM:
      return onChannelCreated();
    case MM_MEDIA_STREAMING_CHANNEL_STATUS_JOIN_SUCCESS:
      return onChannelJoined();
    case MM_MEDIA_STREAMING_CHANNEL_STATUS_REGISTER_FAILED:
      return onChannelLost();
    default:
      return;
  }
}

// The answer to a listener's question: the messages that led there have come before it was there.
void Guest::onChannelAnswered(std::optional<std::uint32_t> status) {
  if (status == MM_MEDIA_STREAMING_CHANNEL_STATUS_CREATE_CONFIRM) created_ = true;
  if (status == MM_MEDIA_STREAMING_CHANNEL_STATUS_JOIN_SUCCESS)
    created_ = joined_ = registered_ = true;
  registerListener();
}

void Guest::onChannelCreated() {
  watch_.end();  // of the channel before
  if (presents_)
    noteOrder(registered_, "the presenter's channel was created before it was registered");
  else if (joined_)
    registered_ = mediaKnown_ = false;  // created again
  created_ = true;
  joined_ = false;
  reach(Stage::channelCreated);
  if (presents_ || !live_) return;
  awaitsMediaInfo_ = true;  // the presenter publishes it before its channel opens
  container_.requestMediaInfo();
  registerListener();
}

// Once for each channel, when it has been created and what is shared is known.
void Guest::registerListener() {
  if (presents_ || !live_ || registered_ || !created_ || !mediaKnown_) return;
  registered_ = true;
  router_->registerChannel(channel(), kMovieMs / 1000);
  router_->sourceStatus(channel(), MM_MEDIASTREAMING_PD_ACTIVE);
  if (active_) attachRender();
}

void Guest::onChannelJoined() {
  // A recording has no channel to wait for.
  if (live_)
    noteOrder(created_ && registered_,
              "a channel was joined that had not been created and registered");
  joined_ = true;
  reach(Stage::channelJoined);
  if (presents_) {
    router_->sourceStatus(channel(), MM_MEDIASTREAMING_PD_ACTIVE);
    return later(&Guest::play);
  }
  if (rendered_) {
    router_->updateRender(reinterpret_cast<std::uint64_t>(render_.get()));
    watch_.begin();
  }
  router_->volume(255);
}

void Guest::onChannelLost() {
  created_ = joined_ = false;
  if (!presents_) registered_ = mediaKnown_ = false;
  watch_.end();
  router_->expectRefusals();
}

// That the presenter's machine has crashed may be said at any time.
void Guest::checkOrderOfStatus(unsigned long uMsg, const void* record) const {
  if (uMsg == MM_MEDIASTREAMING_MSSTATUS_CURRENT_PLAY_STATUS &&
      static_cast<const tagMSPlayStatus*>(record)->dwPlayStatus ==
          MM_MEDIA_STREAMING_PLYASTATUS_PROVIDER_CRASH)
    return;
  noteOrder(created_, "status " + std::to_string(uMsg) + " came before the channel was created");
}

// --- how far a presenter comes ---

void Guest::reach(Stage stage) { stage_ = std::max(stage_, stage); }

void Guest::explainProgress() const {
  if (!presents_ || stage_ == Stage::played) return;
  std::string why = "nothing was played: the presenter's object waited for ";
  why += live_ ? kAwaited[static_cast<std::size_t>(stage_)]
               : "a live meeting (RequestParameterData(-4) was 0)";
  if (endedBy_) why += ", when S " + std::to_string(*endedBy_) + " came";
  Findings::shared().explain(Check::moviePlayed, why);
}

// --- playing ---

void Guest::play() {
  if (!presents_ || !joined_ || stage_ == Stage::played) return;
  reach(Stage::askedToPlay);
  if (!router_->askPlayAllowed()) return;
  reach(Stage::played);
  Findings::shared().note(Check::moviePlayed, true, "");
  router_->sourceStatus(channel(), MM_MEDIASTREAMING_PLAY);
  router_->tell(SVS_MSG_STOP_ADVANCE_PAGE);
  auto video = TestStream::videoFormat();
  auto audio = TestStream::audioFormat();
  router_->mediaFormat(MM_MEDIASTREAMING_MEDIATYPE_VIDEO, &video, sizeof video);
  router_->mediaFormat(MM_MEDIASTREAMING_MEDIATYPE_AUDIO, &audio, sizeof audio);
  stream_ = std::make_unique<TestStream>(router_, [weak = weak_from_this()] {
    const auto self = weak.lock();
    if (!self || self->released_ || !self->stream_) return;
    self->sharedToEnd_ = std::chrono::steady_clock::now();
    self->endPlaying();
  });
}

void Guest::endPlaying() {
  if (!stream_) return;
  stream_.reset();
  router_->sourceStatus(channel(), MM_MEDIASTREAMING_STOP, kMovieMs);
}

}  // namespace hostcheck
