// A meeting: brings the participants together round the documents, presses play, carries a
// scenario out, waits for the end, releases everything. [main-thread]
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "meeting/ClientWindow.h"
#include "meeting/Document.h"
#include "meeting/ExitStatus.h"
#include "meeting/MessageJournal.h"
#include "meeting/MessageLog.h"
#include "meeting/Options.h"
#include "meeting/PluginModule.h"
#include "meeting/Report.h"
#include "meeting/RoomModel.h"
#include "meeting/ScenarioPlayer.h"
#include "meeting/TerminalProgress.h"
#include "meeting/Ticker.h"
#include "meeting/room/RoomServer.h"

namespace meeting {

class Meeting final : public RoomModel {
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

  // What can be seen and done while it is held.
  std::vector<ParticipantStatus> participants() override;
  std::optional<std::string> act(const std::string& action) override;
  std::shared_ptr<platform::View> view(const std::string& id) override;
  void setWatched(const std::string& id, bool watched) override;
  void listen(const std::string& id, std::shared_ptr<SoundSink> sink) override;

 private:
  std::optional<Failure> prepare();
  std::optional<Failure> prepareOutput();
  void addLog(const std::string& path, MessageLog::Form form);
  std::optional<Failure> addDocument(unsigned number);
  std::optional<Failure> openRoom();
  std::optional<Failure> bringTogether();
  void hold();
  void watch();
  void watchStart();
  void onStreamState(Document& document, StreamState state);
  void playNext();
  std::optional<std::string> act(const Action& action);
  void actOnTime(const TimedAction& timed);
  void endIfOver();
  bool isVisited();
  void finish(Outcome outcome);
  void finish(const Failure& failure);
  void showProgress();
  std::optional<Failure> takeSnapshots();
  std::optional<Failure> closeOutput();
  void disband();

  const std::shared_ptr<int> alive_ = std::make_shared<int>();  // expires with the meeting
  const Options options_;
  TerminalProgress progress_;
  MessageJournal journal_;
  std::vector<std::unique_ptr<MessageLog>> logs_;
  std::optional<PluginModule> module_;
  std::shared_ptr<ClientWindow> window_;
  std::vector<std::unique_ptr<Document>> documents_;
  ScenarioPlayer scenario_;
  std::unique_ptr<RoomServer> room_;
  std::optional<Ticker> watcher_;
  std::optional<Ticker> timeLimit_;
  platform::TimePoint startDeadline_;
  std::optional<platform::TimePoint> lastVisit_;
  std::optional<Outcome> outcome_;
  Report report_;
};

}  // namespace meeting
