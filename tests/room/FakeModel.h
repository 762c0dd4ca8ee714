// A meeting that does nothing but remember what was asked of it.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "meeting/RoomModel.h"

namespace meeting {

class FakeModel final : public RoomModel {
 public:
  FakeModel() {
    for (const char* id : {"presenter", "attendee-1"}) {
      ParticipantStatus status;
      status.id = id;
      status.actor = status.id == "presenter" ? "" : "attendee=1 ";
      status.presenter = status.actor.empty();
      status.file = "film.mp4";
      status.state = "playing";
      status.duration = 10;
      statuses.push_back(status);
      views[id] = std::make_shared<platform::View>(platform::Rect{{0, 0}, {64, 36}});
    }
  }

  std::vector<ParticipantStatus> participants() override { return statuses; }
  std::optional<std::string> act(const std::string& action) override {
    actions.push_back(action);
    return problem;
  }
  std::shared_ptr<platform::View> view(const std::string& id) override {
    const auto found = views.find(id);
    return found == views.end() ? nullptr : found->second;
  }
  void setWatched(const std::string& id, bool isWatched) override { watched[id] = isWatched; }
  void listen(const std::string& id, std::shared_ptr<SoundSink> sink) override {
    sinks[id] = std::move(sink);
  }

  // Puts a new picture of one grey into the view.
  void draw(const std::string& id, std::uint8_t grey) {
    auto pixels = std::make_shared<std::vector<std::uint8_t>>(std::size_t{64} * 36 * 3, grey);
    views.at(id)->setContents(
        std::make_shared<platform::Image>(platform::Image{64, 36, 64 * 3, pixels->data(), pixels}));
  }

  std::vector<ParticipantStatus> statuses;
  std::map<std::string, std::shared_ptr<platform::View>> views;
  std::optional<std::string> problem;
  std::vector<std::string> actions;
  std::map<std::string, bool> watched;
  std::map<std::string, std::shared_ptr<SoundSink>> sinks;
};

}  // namespace meeting
