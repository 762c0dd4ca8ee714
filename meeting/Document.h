// One shared document of a meeting: what its objects share, its stream, and everybody's end of it.
// The source is the presenter's object or, in a recorded meeting, a recording. [main-thread]
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "avcapture/KTVideoPlayer.h"
#include "meeting/Action.h"
#include "meeting/Conference.h"
#include "meeting/ExitStatus.h"
#include "meeting/InProcessPlatform.h"
#include "meeting/MessageJournal.h"
#include "meeting/Options.h"
#include "meeting/Participant.h"
#include "meeting/PluginModule.h"
#include "meeting/RateMeter.h"
#include "meeting/Recording.h"
#include "meeting/Report.h"
#include "meeting/RoomModel.h"
#include "meeting/StreamRecorder.h"

namespace meeting {

class Document {
 public:
  struct Setup {
    std::string file;
    unsigned number = 1;   // in the meeting, from 1
    std::string idPrefix;  // of the participants' ids
    int attendees = 0;
    bool recording = false;
    JoinAnswer session = JoinAnswer::accept;
  };

  // All must outlive the document.
  Document(Setup setup, const PluginModule& module, MessageJournal& journal,
           std::unique_ptr<FrameMd5Writer> md5);
  ~Document();
  Document(const Document&) = delete;
  Document& operator=(const Document&) = delete;

  // Brings everybody together. What has gone wrong, if anything.
  std::optional<Failure> open();
  // Ends everybody's object.
  void close();

  const std::string& file() const { return setup_.file; }
  StreamRecorder& recorder() { return *recorder_; }
  // The player view of the source; null when there is none.
  std::shared_ptr<avcapture::KTVideoPlayer> player() const;

  // Why the source will not start, when its view says so.
  std::optional<Failure> startFailure() const;
  bool hasPlayed() const { return hasPlayed_; }
  void notePlaying() { hasPlayed_ = true; }
  bool isPlaying() const;
  // Whether nothing more comes from the source by itself: played to its end, gone, or the session
  // has been ended.
  bool isOver() const;
  // The source's user starts it, unless it is playing.
  void play();

  // Whether everybody's view fills the client's window.
  void setFullscreen(bool on);
  // Does what the action says. What is wrong with it, if anything.
  std::optional<std::string> act(const Action& action);

  // For onlookers; ids are those of participants().
  std::vector<ParticipantStatus> participants();
  std::shared_ptr<platform::View> view(const std::string& id);
  bool setWatched(const std::string& id, bool watched);
  bool listen(const std::string& id, std::shared_ptr<SoundSink> sink);

  // What has been sent and received so far.
  DocumentReport report();

 private:
  // An attendee's place; it stays when the attendee leaves.
  struct Seat {
    unsigned number = 0;
    std::string id;
    std::shared_ptr<platform::View> view;
    std::shared_ptr<Participant> participant;  // null while nobody sits there
    AttendeePort* port = nullptr;              // the participant's
    AttendeeStatistics earlier{};              // of those who sat there before
    platform::Duration delay{0};
    bool watched = false;
    std::shared_ptr<SoundSink> sink;
  };

  std::optional<Failure> openSource();
  bool openPresenter();
  bool join(Seat& seat);
  void leave(Seat& seat);
  void lose();
  void endPresenter();
  void deliverPictureAgain() const;

  std::shared_ptr<Participant> participant(unsigned number) const;
  std::optional<std::string> actOnPlayer(const Action& action);
  std::optional<std::string> actOnParticipant(const Action& action);
  std::optional<std::string> actOnSeat(const Action& action);
  std::optional<std::string> actOnMeeting(const Action& action);
  void tellSession(UCFSessionMessage message);

  ParticipantStatus sourceStatus();
  ParticipantStatus seatStatus(const Seat& seat) const;
  AttendeeStatistics statistics(const Seat& seat) const;
  Seat* seat(const std::string& id);
  std::string sourceId() const;

  const Setup setup_;
  const PluginModule& module_;
  MessageJournal& journal_;
  Conference conference_;
  std::unique_ptr<StreamRecorder> recorder_;
  std::unique_ptr<MultimediaPlatform> platform_;
  std::shared_ptr<platform::View> sourceView_;
  std::shared_ptr<Participant> presenter_;
  PresenterPort* presenterPort_ = nullptr;  // the presenter's
  std::shared_ptr<Recording> recording_;
  std::vector<Seat> seats_;
  platform::SteadyClock clock_;
  RateMeter sourceRate_{clock_.now()};
  bool hasPlayed_ = false;
  bool sessionEnded_ = false;
};

}  // namespace meeting
