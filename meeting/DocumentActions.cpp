// What scenarios and visitors of the room do to a document.
#include <cmath>
#include <string>

#include "meeting/Document.h"

namespace meeting {

namespace {

using Problem = std::optional<std::string>;

constexpr double kFullVolume = 255;
constexpr double kPlayerFullVolume = 100;

std::string nameOf(unsigned participant) {
  return participant == 0 ? "the presenter" : "attendee " + std::to_string(participant);
}

}  // namespace

Problem Document::act(const Action& action) {
  switch (action.verb) {
    case Verb::play:
    case Verb::pause:
    case Verb::stop:
    case Verb::seek:
    case Verb::volume:
    case Verb::mute:
    case Verb::unmute:
    case Verb::fullscreen:
    case Verb::controls:
      return actOnPlayer(action);
    case Verb::activate:
    case Verb::deactivate:
    case Verb::resize:
    case Verb::role:
      return actOnParticipant(action);
    case Verb::join:
    case Verb::leave:
    case Verb::delay:
      return actOnSeat(action);
    case Verb::crash:
    case Verb::comeBack:
    case Verb::session:
    case Verb::channelFail:
    case Verb::channelReconnect:
      return actOnMeeting(action);
  }
  return "no such action";
}

std::shared_ptr<Participant> Document::participant(unsigned number) const {
  if (number == 0) return presenter_;
  return number <= seats_.size() ? seats_[number - 1].participant : nullptr;
}

// As the user of the participant's player view would.
Problem Document::actOnPlayer(const Action& action) {
  const auto who = participant(action.participant);
  const auto view = action.participant == 0 ? player() : (who ? who->player() : nullptr);
  if (!view) return nameOf(action.participant) + " has no player to be seen";
  switch (action.verb) {
    case Verb::play:
      play();
      break;
    case Verb::pause:
      if (view->isPlaying()) view->onStart(nullptr);
      break;
    case Verb::stop:
      view->onStop(nullptr);
      break;
    case Verb::seek:
      view->seek(static_cast<float>(action.number));
      break;
    case Verb::volume:
      view->onChangeVolume(
          static_cast<int>(std::lround(action.number * kPlayerFullVolume / kFullVolume)));
      break;
    case Verb::mute:
      view->onChangeVolume(0);
      break;
    case Verb::unmute:
      view->onUnMute({});
      break;
    case Verb::controls:
      view->showEmbedControlbar(action.number != 0);
      break;
    default:
      view->onToggleFullscreen(nullptr);
      break;
  }
  return std::nullopt;
}

void Document::setFullscreen(bool on) {
  for (unsigned number = 0; number <= seats_.size(); ++number) {
    const auto who = participant(number);
    if (const auto view = who ? who->player() : nullptr) view->setFullscreen(on);
  }
}

// As the client of the participant would.
Problem Document::actOnParticipant(const Action& action) {
  const auto who = participant(action.participant);
  if (!who) return nameOf(action.participant) + " is not there";
  switch (action.verb) {
    case Verb::activate:
      who->activate();
      break;
    case Verb::deactivate:
      who->deactivate();
      break;
    case Verb::resize:
      who->resize(action.width, action.height);
      break;
    default:
      who->changeRole(action.bits);
      break;
  }
  return std::nullopt;
}

Problem Document::actOnSeat(const Action& action) {
  if (action.participant > seats_.size()) return nameOf(action.participant) + " has no seat";
  Seat& seat = seats_[action.participant - 1];
  const std::string who = nameOf(action.participant);
  switch (action.verb) {
    case Verb::join:
      if (seat.participant) return who + " is there already";
      if (!join(seat)) return "the plug-in did not create its object";
      break;
    case Verb::leave:
      if (!seat.participant) return who + " has left already";
      leave(seat);
      break;
    default:
      seat.delay = platform::seconds(action.number / 1000);
      if (seat.port != nullptr) seat.port->setDelay(seat.delay);
      break;
  }
  return std::nullopt;
}

Problem Document::actOnMeeting(const Action& action) {
  switch (action.verb) {
    case Verb::session:
      tellSession(static_cast<UCFSessionMessage>(action.bits));
      break;
    case Verb::channelFail:
      platform_->failChannel();
      break;
    case Verb::channelReconnect:
      platform_->reconnectChannel();
      break;
    case Verb::crash:
      if (!presenter_) return "the presenter is not there";
      lose();
      break;
    default:
      if (setup_.recording) return "a recording has no presenter";
      if (presenter_) return "the presenter is there already";
      if (!openPresenter()) return "the plug-in did not create its object";
      hasPlayed_ = false;
      sessionEnded_ = false;
      break;
  }
  return std::nullopt;
}

void Document::tellSession(UCFSessionMessage message) {
  sessionEnded_ = sessionEnded_ || message != SESSION_MSG_START_PLAY;
  if (presenter_) presenter_->postSession(message, std::nullopt);
  for (const Seat& seat : seats_)
    if (seat.participant) seat.participant->postSession(message, std::nullopt);
}

}  // namespace meeting
