// What an object of the plug-in does, on one page: the channel's state, the requests that wait for
// it, and what the player shows and answers. Knows nothing of the module's code; a random run of
// steps on both must lead to the same lines.
//
// The lines are those that contract::RecordingHost keeps.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace model {

using Lines = std::vector<std::string>;

// What the host, the meeting and the file are like; constant while an object lives.
struct World {
  bool source = true;      // shares the file itself
  bool embedded = true;    // draws into a view of its own
  bool recording = false;  // of a meeting that is played back
  bool agenda = false;     // the object belongs to the agenda document; only with a listener
  bool soundOnly = false;  // the recorded file's name says so
  bool canSend = true;
  bool opens = true;                     // the player view takes the file
  int content = 3;                       // of the file: 0 none, 1 sound, 3 both
  bool playAllowed = true;               // by the platform
  bool refused = false;                  // the view remembers that it was not allowed to play
  std::optional<std::uint32_t> channel;  // the platform's answer about the channel
};

// Of the file, as the view tells that stands for the framework's.
constexpr struct { int seconds, volume, fps; } kFile{90, 40, 25};

// What a player shows and answers its view.
struct Look {
  int shown = 0;
  bool playing = false;
  float position = 0, duration = 0, fps = 0;  // seconds, pictures a second
  std::pair<int, int> size{480, 360};         // pixels
  long volume = 0;
  bool presenter = true;
  bool operator==(const Look&) const = default;
};

class Model {
 public:
  explicit Model(const World& world);

  // What the host does.
  std::uint32_t createUI(bool complete);  // the answer
  void destroyUI();
  void focus(bool gained);
  void release();
  void tick();   // the first half of a tenth of a second
  void later();  // the second half
  void session(unsigned long message, std::optional<std::int32_t> code = {});
  void channelStatus(std::uint32_t status);
  void playStatus(std::uint32_t status);
  void playPosition(std::uint64_t milliseconds);
  void videoSize(int width, int height);
  void announceSize(int width, int height);
  void quality(float fps);
  void mediaInfo(std::int32_t milliseconds, std::uint32_t content, std::uint32_t type);
  void providerCrashed();
  void questionFrom(std::uint32_t user);
  void joinFailedElsewhere();
  void becomes(std::uint32_t newRole);

  // What the player's side reports; the answers.
  int openResult(int result);
  int mediaOpened();
  int format(int type, const std::string& record);
  int sample() const { return ready_ ? 0 : -1; }
  int statusChanged();
  int seekComplete();
  int volumeChanged(std::optional<int> volume);
  int playAllowed();

  // The user at the player view, which reports it.
  void press(bool play, bool pausedByUser, int listenerStatus);

  Lines takeLines() { return std::exchange(lines_, {}); }
  std::optional<Look> look() const;  // nothing without a player
  int state() const { return state_; }

  // Set by steps on both sides.
  int probeAnswer = 0;  // 0 no, 1 yes, 2 yes with a result, 3 no with a result
  std::uint32_t role;
  int usage = 10;

 private:
  // Commands of the platform that may have to wait, and two of the states that a report gives.
  static constexpr int kRegister = 0, kStatus = 2, kFormat = 3, kRender = 4;
  static constexpr int kActive = 3, kInactive = 4;

  struct Held {
    int command;
    std::string line;
    bool activity;
  };

  void setState(int state);
  void show(int state);
  void showLater(int code);
  int forRecording(int code) const;
  void flush(int command);
  void flushAll();
  bool request(int command, const std::string& line, bool now, bool activity = false);
  void registerChannel(std::int64_t duration, std::uint32_t content);
  void status(int status, long position, const char* seek = "");
  void reportActivity() { status(active_ ? kActive : kInactive, 0); }
  void attachRender();
  void detachRender();
  void updateRender();
  bool probe(bool& withResult);
  void purge();
  void items(std::initializer_list<int> items, int state);
  void open();
  bool closed(unsigned long type, unsigned long message) const;
  bool channelIsStream() const { return state_ == 6 || state_ == 7; }

  // The player as its questioners know it.
  int playerStatus() const { return playing_ ? 4 : paused_ ? 3 : 2; }
  int sourceStatus() const { return playing_ ? 0 : paused_ ? 2 : 1; }
  float seconds() const { return world_.source ? position_ : listenerTime_; }
  long milliseconds() const { return static_cast<long>(seconds() * 1000.0F); }
  void toggle();

  const World world_;
  Lines lines_;

  // Channel and buffer.
  int state_ = 0;
  bool ready_ = false;
  bool registered_ = false;
  bool renderOut_ = false;
  bool deaf_ = false;
  bool firstActive_ = true;
  int countdown_ = 0;
  std::vector<Held> held_;

  // Player.
  bool player_ = false;
  bool active_ = false;
  bool playing_ = false;
  bool paused_ = false;
  bool showsRecording_ = false;
  std::optional<bool> presenter_;
  int shown_ = 0;
  struct Later {
    int turns;
    int code;
  };
  std::vector<Later> laterShown_;
  float position_ = 0;  // of the source's view, which no step moves
  float listenerTime_ = 0, duration_ = 0, fps_ = 0;
  int listenerStatus_ = 0, mediaType_ = 0;
  long volume_ = 0;
  std::optional<std::pair<int, int>> size_;
};

}  // namespace model
