// The player's side of the model: what the platform tells it, what it reports, what it shows.
#include <algorithm>
#include <array>

#include "validator/model/Model.h"
#include "validator/model/RecordText.h"

namespace model {

namespace {

// What is shown in each state of the channel.
constexpr std::array kShownAtSource{103, 103, 4, 103, 101, 102, 103, 5, 4, 6, 7, 8, 9};
constexpr std::array kShownAtListener{203, 203, 204, 203, 1, 1, 203, 1, 204, 6, 7, 8, 9};

}  // namespace

void Model::playStatus(std::uint32_t status) {
  if (closed(2, 3) || world_.source || status > 5 || !player_) return;
  constexpr int kStatusOf[] = {4, 3, 7, 2, 8, 9};
  listenerStatus_ = kStatusOf[status];
  const bool sound = mediaType_ == 1;
  const int picture = sound ? 2 : 1;
  const int codes[] = {picture, sound ? 200 : 201, 202, picture, 205, 206};
  showLater(forRecording(codes[status]));
}

void Model::providerCrashed() {
  if (!player_) return;
  listenerStatus_ = 8;
  if (!world_.source) showLater(forRecording(205));
}

void Model::playPosition(std::uint64_t milliseconds) {
  if (closed(2, 2) || world_.source || !player_) return;
  const auto position = static_cast<float>(milliseconds);
  listenerTime_ = position >= 1000.0F * duration_ ? duration_ : position / 1000.0F;
}

void Model::videoSize(int width, int height) {
  if (!closed(2, 5)) announceSize(width, height);
}

void Model::announceSize(int width, int height) {
  if (player_) size_ = {width, height};
}

void Model::quality(float fps) {
  if (!closed(2, 0) && !world_.source && player_) fps_ = fps;
}

// The player's reports.

int Model::openResult(int result) {
  if (!player_ || state_ != 1) return -1;
  setState(result == 0 ? 3 : result == -2012 ? 5 : 4);
  return result;
}

int Model::mediaOpened() {
  if (!player_) return -1;
  const int seconds = world_.source ? kFile.seconds : static_cast<int>(duration_);
  const auto content = static_cast<std::uint32_t>(std::clamp(world_.content, 0, 3));
  std::uint32_t duration = static_cast<std::uint32_t>(seconds);
  if (state_ == 3) {
    duration *= 1000U;
    lines_.push_back("publish 0 " + hexOf({duration, content, content}));
  }
  if (!registered_) registerChannel(duration, content);
  reportActivity();
  return -1;
}

int Model::format(int type, const std::string& record) {
  if (!world_.source || (type == 1 && !player_)) return -1;
  request(kFormat, "format" + number(type) + " " + record, state_ == 7);
  return 0;
}

int Model::statusChanged() {
  if (!player_) return -1;
  status(sourceStatus(), milliseconds());
  if (playing_) lines_.push_back("session 110");
  return 0;
}

int Model::seekComplete() {
  if (!player_) return -1;
  status(sourceStatus(), milliseconds(), " seek");
  return 0;
}

int Model::volumeChanged(std::optional<int> volume) {
  if (!player_) return -1;
  if (volume) volume_ = *volume;
  if (world_.source || !ready_) return -1;
  lines_.push_back("volume" + number(static_cast<std::uint16_t>(volume_)));
  return 0;
}

int Model::playAllowed() {
  lines_.push_back("query 10000 1");
  return world_.playAllowed ? 1 : 0;
}

void Model::press(bool play, bool pausedByUser, int listenerStatus) {
  if (!player_) return;
  playing_ = play;
  paused_ = pausedByUser;
  statusChanged();
  if (!world_.source) listenerStatus_ = listenerStatus;
}

void Model::toggle() {
  playing_ = !playing_;
  paused_ = !playing_;
}

// What is shown.

int Model::forRecording(int code) const { return !showsRecording_ || code == 2 ? code : 1; }

void Model::show(int state) {
  const auto& table = world_.source ? kShownAtSource : kShownAtListener;
  int code = table.at(static_cast<std::size_t>(state));
  if (state == 7 && !world_.source && mediaType_ == 1) code = 2;
  shown_ = forRecording(code);
}

void Model::showLater(int code) { laterShown_.push_back({2, code}); }

std::optional<Look> Model::look() const {
  if (!player_) return {};
  Look look{shown_, playing_, seconds(), kFile.seconds, kFile.fps};
  look.presenter = presenter_.value_or(true);
  if (world_.source) return look;
  look.playing = listenerStatus_ == 4;
  look.duration = duration_;
  look.fps = fps_;
  look.size = size_.value_or(look.size);
  look.volume = volume_;
  return look;
}

}  // namespace model
