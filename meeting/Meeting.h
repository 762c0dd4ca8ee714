// One meeting from start to end: loads the plug-in, brings the participants together, plays the
// presenter's file and puts together what happened. [main-thread]
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "meeting/Conference.h"
#include "meeting/ExitStatus.h"
#include "meeting/InProcessPlatform.h"
#include "meeting/MessageJournal.h"
#include "meeting/Options.h"
#include "meeting/Participant.h"
#include "meeting/PluginModule.h"
#include "meeting/Report.h"
#include "meeting/StreamRecorder.h"
#include "meeting/TerminalProgress.h"
#include "meeting/Ticker.h"

namespace meeting {

// How a meeting ended; the line is empty when there is nothing to say.
struct Outcome {
  int exitStatus = static_cast<int>(ExitStatus::shared);
  std::string line;
};

class Meeting {
 public:
  explicit Meeting(Options options);
  ~Meeting();
  Meeting(const Meeting&) = delete;
  Meeting& operator=(const Meeting&) = delete;

  // Holds the meeting; everything is released when it returns.
  Outcome run();
  // Asks for the end because of a signal. [any-thread]
  void interrupt(int signal);
  // What happened, after run().
  const Report& report() const { return report_; }

 private:
  struct Attendee {
    std::shared_ptr<Participant> participant;
    AttendeePort* port;  // the participant's
  };

  std::optional<Failure> prepare();
  std::optional<Failure> bringTogether();
  void addPresenter();
  void addAttendee(int number);
  void hold();
  void watch();
  void watchStart(int statusView);
  void onStreamState(StreamState state);
  void pressPlay();
  void finish(Outcome outcome);
  void finish(const Failure& failure);
  void takeStock();
  std::optional<Failure> takeSnapshots();
  void disband();

  const Options options_;
  TerminalProgress progress_;
  MessageJournal messages_;
  Conference conference_;
  std::optional<PluginModule> module_;
  std::unique_ptr<StreamRecorder> recorder_;
  std::unique_ptr<MultimediaPlatform> platform_;
  std::shared_ptr<Participant> presenter_;
  std::vector<Attendee> attendees_;
  std::optional<Ticker> watcher_;
  std::optional<Ticker> timeLimit_;
  platform::TimePoint startDeadline_;
  bool hasPlayed_ = false;
  std::optional<Outcome> outcome_;
  Report report_;
};

}  // namespace meeting
