#include "validator/model/Model.h"

#include <algorithm>
#include <utility>

#include "validator/model/RecordText.h"

namespace model {

Model::Model(const World& world) : role(world.source ? 1 : 2), world_(world) {
  lines_.push_back("ids" + number(world.embedded ? 107 : 100));
  lines_.push_back("session 101");
  if (world.source && world.embedded) lines_.push_back("property 8");
}

// Channel and buffer.

void Model::setState(int state) {
  state_ = state;
  if (state == (world_.source ? 3 : 1)) flush(kRegister);
  if (state == 6 && !world_.source)
    for (const int command : {kRegister, kStatus, kRender}) flush(command);
  ready_ = state == 7;
  if (ready_) flushAll();
  if (player_) show(state);
}

void Model::flush(int command) {
  const auto oldest =
      std::ranges::find_if(held_, [&](const Held& held) { return held.command == command; });
  if (oldest == held_.end()) return;
  lines_.push_back(oldest->line);
  held_.erase(oldest);
}

void Model::flushAll() {
  for (const Held& held : std::exchange(held_, {})) lines_.push_back(held.line);
}

bool Model::request(int command, const std::string& line, bool now, bool activity) {
  if (now)
    lines_.push_back(line);
  else
    held_.push_back({command, line, activity});
  return true;
}

void Model::registerChannel(std::int64_t duration, std::uint32_t content) {
  registered_ = true;
  request(kRegister, "register" + number(duration) + number(content),
          state_ == (world_.source ? 3 : 6));
}

void Model::status(int status, long position, const char* seek) {
  request(kStatus, "status" + number(status) + number(position) + seek,
          channelIsStream() || status == kInactive, status == kActive || status == kInactive);
}

void Model::purge() {
  std::erase_if(held_, [](const Held& held) { return held.activity; });
}

void Model::attachRender() {
  if (world_.source || !player_ || std::exchange(renderOut_, true)) return;
  request(kRender, "render 130 view", channelIsStream());
}

void Model::detachRender() {
  if (world_.source) return;
  renderOut_ = false;
  lines_.push_back("render 128 none");
}

void Model::updateRender() {
  if (ready_ && !world_.source && world_.embedded && player_)
    lines_.push_back("update render 4 2 view");
}

bool Model::probe(bool& withResult) {
  lines_.push_back("query 1 0");
  withResult = probeAnswer >= 2;
  return probeAnswer == 1 || probeAnswer == 2;
}

// Activation.

void Model::items(std::initializer_list<int> items, int state) {
  for (const int item : items)
    lines_.push_back("item" + number(item) + "=" + std::to_string(state));
}

std::uint32_t Model::createUI(bool complete) {
  bool withResult = false;
  const bool first = std::exchange(firstActive_, false);
  if (world_.recording) setState(7);
  if (first && !world_.recording) {
    const bool answered = probe(withResult);
    setState(0);
    if (answered && !withResult) countdown_ = 5;
    if (!world_.source) {
      lines_.push_back("query 0 42");
      if (world_.channel) channelStatus(*world_.channel);
    }
  } else if (!first) {
    attachRender();
  }
  if (!complete) return 0x80000008U;

  items({800}, 0);
  purge();
  const bool fresh = !std::exchange(player_, true);
  if (fresh) show(state_);
  if (world_.source) {
    if (state_ == 1) {
      setState(0);
      countdown_ = 5;
    }
  } else if (fresh) {
    lines_.insert(lines_.end(), {"request 0", "request 1"});
    if (world_.canSend) lines_.push_back("to 9 " + hexOf({16, 2, 5, 0x0d0c0b0aU}));
    if (world_.recording) mediaType_ = world_.soundOnly ? 1 : 3;
  }
  active_ = true;
  status(kActive, 0);
  if (world_.recording && first) {
    showsRecording_ = true;
    channelStatus(2);
    attachRender();
  }
  updateRender();
  probe(withResult);
  presenter_ = (role & 1U) != 0;
  return 0;
}

void Model::destroyUI() {
  active_ = false;
  if (usage != 11) items({800, 801, 802, 803}, 0);
  purge();
  status(kInactive, 0);
  detachRender();
  if (!player_) return;
  const long volume = world_.source ? kFile.volume : volume_;
  const auto keep = [&](int key, int type, long value) {
    lines_.push_back("shared" + number(key) + " type" + number(type) + number(value));
  };
  keep(0x422, 6, milliseconds());
  keep(0x426, 6, volume);
  keep(0x420, 6, playerStatus());
  keep(0x427, 1, volume == 0 ? 1 : 0);
  keep(0x421, 1, 0);
}

void Model::focus(bool gained) {
  if (gained)
    items({801}, 0);
  else if (usage != 11)
    items({800, 801}, 1);
}

void Model::release() {
  destroyUI();
  if (ready_) lines_.push_back("unregister");
  lines_.push_back("session 102");
}

void Model::becomes(std::uint32_t newRole) {
  role = newRole;
  if (player_) presenter_ = (role & 1U) != 0;
}

// Messages.

bool Model::closed(unsigned long type, unsigned long message) const {
  return world_.agenda || (deaf_ && (type != 0 || (message != 1 && message != 3)));
}

void Model::session(unsigned long message, std::optional<std::int32_t> code) {
  if (closed(0, message)) return;
  switch (message) {
    case 0:
      if (state_ != 0) return;
      setState(1);
      if (!world_.source) return;
      if (countdown_ == 0) {
        setState(0);
        countdown_ = 5;
      } else if (countdown_ == 1) {
        open();
      }
      return;
    case 1:
    case 3:
      if (message == 3 && playing_) toggle();
      setState(message == 3 ? 12 : 2);
      deaf_ = true;
      if (world_.source && world_.canSend) lines_.push_back("to all " + hexOf({8, 3}));
      if (message == 1 && code == 0xFE02 && !world_.recording) setState(10);
      return;
    case 100:
      return setState(10);
    case 101:
      return setState(11);
    case 102:
      if (player_ && world_.refused) toggle();
      return;
    default:
      return;
  }
}

// Once in an object's life: no message leads from a state after opening to the one before it.
void Model::open() {
  show(state_);
  openResult(!world_.opens ? 1 : world_.content == 0 ? -1 : 0);
  openResult(0);
  mediaOpened();
}

void Model::tick() {
  if (!player_ || !active_) return;
  bool withResult = false;
  if (countdown_ == 1 && !probe(withResult) && !withResult) session(0);
  if (countdown_ > 0) --countdown_;
}

void Model::later() {
  for (Later& later : laterShown_)
    if (--later.turns == 0) shown_ = later.code;
  std::erase_if(laterShown_, [](const Later& later) { return later.turns == 0; });
}

void Model::channelStatus(std::uint32_t status) {
  if (closed(2, 4) || state_ == 2) return;
  if (status == 0) {
    if ((state_ == 7 || state_ == 8) && !world_.source) {
      registered_ = false;
      lines_.push_back("request 0");
    }
    setState(6);
  } else if (status == 2 && state_ != 7) {
    setState(7);
    updateRender();
  } else if (status == 3 && state_ != 7) {
    setState(8);
  }
}

void Model::mediaInfo(std::int32_t milliseconds, std::uint32_t content, std::uint32_t type) {
  if (registered_ || world_.source) return;
  const std::int32_t seconds = milliseconds / 1000;
  registerChannel(seconds, content);
  if (!player_) return;
  reportActivity();
  if (active_) attachRender();
  duration_ = static_cast<float>(seconds);
  mediaType_ = static_cast<int>(type);
}

void Model::questionFrom(std::uint32_t user) {
  if ((role & 1U) != 0 && state_ == 2 && world_.source && world_.canSend)
    lines_.push_back("to" + number(user) + " " + hexOf({8, 3}));
}

void Model::joinFailedElsewhere() {
  if ((role & 2U) != 0) session(1);
}

}  // namespace model
