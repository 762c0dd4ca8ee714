// What a room shows of a meeting and what its visitors can do in it. [main-thread]
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "meeting/MultimediaPlatform.h"
#include "platform/View.h"

namespace meeting {

// One participant's end of one shared document.
struct ParticipantStatus {
  std::string id;     // "presenter", "attendee-1"; "2/presenter" in the second document
  std::string actor;  // how an action begins that is meant for this one: "attendee=1 "
  std::string file;   // name of the shared file, without folders
  bool presenter = false;
  bool present = true;  // false: has left, and may join again
  std::string state;    // "starting", "waiting", "playing", "paused", "stopped", "rebuffering", ...
  int statusView = 0;   // code of the status view, 0 when none is shown
  double position = 0;  // seconds
  double duration = 0;  // seconds, 0 when it is not known
  float fps = 0;        // pictures a second, measured
  std::uint64_t frames = 0;   // pictures sent or received
  std::uint64_t dropped = 0;  // pictures passed over
  int volume = 0;             // 0 to 255
  bool muted = false;
  std::uint32_t width = 0;  // of the picture as it was sent
  std::uint32_t height = 0;
};

class RoomModel {
 public:
  virtual std::vector<ParticipantStatus> participants() = 0;
  // Does what a line of a scenario says ("pause", "attendee=2 volume=80"), as that participant's
  // user would. Answers what is wrong with it, or nothing.
  virtual std::optional<std::string> act(const std::string& action) = 0;
  // The view that the participant looks at; null for an unknown id.
  virtual std::shared_ptr<platform::View> view(const std::string& id) = 0;
  // Whether somebody looks at the participant's view; pictures are drawn only then.
  virtual void setWatched(const std::string& id, bool watched) = 0;
  // Sends what the participant hears to `sink`, mixed to its volume; null ends it.
  virtual void listen(const std::string& id, std::shared_ptr<SoundSink> sink) = 0;

 protected:
  ~RoomModel() = default;
};

}  // namespace meeting
