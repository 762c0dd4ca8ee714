// What a meeting is asked to be.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "meeting/Scenario.h"

namespace meeting {

// What the conference answers to the presenter's join.
enum class JoinAnswer : int { accept, refuse, limit };

// The room: a page in which the meeting can be watched and steered.
struct RoomOptions {
  bool open = false;
  std::uint16_t port = 0;  // 0: any that is free
  std::string address = "127.0.0.1";
};

struct Options {
  std::vector<std::string> files;  // shared at once, each as a document of its own
  int attendees = 0;
  std::optional<double> duration;  // seconds of playing after which the meeting ends
  bool unpaced = false;
  bool recording = false;  // the files are recorded meetings, played back to the attendees
  bool stay = false;       // only an interrupt ends the meeting
  std::string reportFile;
  std::string frameMd5File;
  std::string recordFile;
  std::string messagesFile;
  std::string snapshotFolder;
  bool quiet = false;
  std::string plugin;      // empty: the one in the program's plug-ins folder
  int decoderThreads = 0;  // 0 lets the player choose
  JoinAnswer session = JoinAnswer::accept;
  Scenario scenario;
  RoomOptions room;
};

}  // namespace meeting
