// The meeting's multimedia platform: carries the presenter's stream to the attendees.
//
// An interface, so that implementations that reach other machines can stand beside the in-process
// one. A participant talks to the platform through its port, the platform to the participant
// through its peer; whoever runs the meeting watches the stream through an observer.
#pragma once

#include <cstdint>
#include <memory>
#include <variant>

#include "mmp/Enumerations.h"
#include "mmp/StatusRecords.h"
#include "platform/Clock.h"
#include "ucf/Types.h"

namespace meeting {

// A status message to an object: the record says which one.
using StatusRecord = std::variant<tagMSVideoQuality, tagMSPlayPosition, tagMSPlayStatus,
                                  tagMSChannelStatus, tagMSVideoInfo>;

// Names one shared document: every record about it carries both.
struct DocumentIds {
  std::uint64_t session = 0;
  std::uint64_t source = 0;
  friend bool operator==(const DocumentIds&, const DocumentIds&) = default;
};

// A participant as the platform sees it.
class PlatformPeer {
 public:
  // Queues the status to the main run loop; dropped when the participant is gone. [any-thread]
  virtual void postStatus(const StatusRecord& record) = 0;

 protected:
  ~PlatformPeer() = default;
};

// A checked picture of the presenter's stream. Pixels are valid during the call only.
struct VideoSample {
  std::uint64_t timestampMs;
  bool still;  // the picture that stands while the movie does not play
  std::uint32_t width;
  std::uint32_t height;
  std::uint32_t bytesPerRow;
  const std::uint8_t* pixels;  // 24-bit R, G, B, height * bytesPerRow bytes
};

// A checked block of the presenter's sound, interleaved 16-bit PCM.
struct AudioSample {
  std::uint64_t timestampMs;
  const std::uint8_t* data;
  std::uint64_t bytes;
};

struct VideoFormat {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  float fps = 0;
};

struct AudioFormat {
  std::uint32_t channels = 0;
  std::uint64_t rate = 0;  // Hz
  std::uint32_t bits = 0;  // per sample
};

// Takes the sound that an attendee hears.
class SoundSink {
 public:
  virtual ~SoundSink() = default;
  // 16-bit PCM at the attendee's volume, silence while it is muted. Valid during the call only.
  // Must be cheap, and must not call the platform: other attendees wait. [delivery-thread]
  virtual void sound(const AudioFormat& format, const AudioSample& sample) = 0;
};

// Watches what the presenter sends, also while the channel does not carry it. Must be cheap:
// samples are shown to it from within the presenter's delivery.
class StreamObserver {
 public:
  // [main-thread]
  virtual void onRegistered(std::uint64_t durationMs, MM_MEDIASTREAMING_MEDIACONTENENT content) = 0;
  virtual void onJoined() = 0;
  virtual void onSourceStatus(MM_MEDIASTREAMING_SOURCE_STATUS status, std::int64_t positionMs) = 0;
  virtual void onVideoFormat(const VideoFormat& format) = 0;
  virtual void onAudioFormat(const AudioFormat& format) = 0;
  // Somebody has joined while nothing plays, and the stream holds no picture to show: the presenter
  // should send its picture again.
  virtual void onPictureWanted() = 0;
  // [delivery-thread; a still picture on main-thread]
  virtual void onVideo(const VideoSample& sample) = 0;
  virtual void onAudio(const AudioSample& sample) = 0;
  // A request whose record does not hold what it says.
  virtual void onMalformed() = 0;

 protected:
  ~StreamObserver() = default;
};

// A participant's connection to the platform. Ends the participant's channel when it is destroyed.
class PlatformPort {
 public:
  virtual ~PlatformPort() = default;
  // A request routed to the platform; `record` is read, and a query's answered, during the call.
  // Nonzero for success. [main-thread; media data also delivery-thread]
  virtual UCFResult request(unsigned long type, unsigned long uMsg, void* record) = 0;
};

class PresenterPort : public PlatformPort {
 public:
  // The presenter's end disappears without a word: attendees are told of a crash, requests are
  // refused from now on, and none is under way when this returns. Another presenter may be attached
  // at once; its registration creates the channel again. [main-thread]
  virtual void lose() = 0;
};

// What an attendee has received, and how it is set.
struct AttendeeStatistics {
  std::uint64_t framesReceived = 0;
  std::uint64_t framesLost = 0;  // replaced by a newer one before this attendee took them
  std::uint64_t audioBlocksReceived = 0;
  float fps = 0;     // pictures taken per second, measured over a second of playing; else 0
  int volume = 255;  // 0 to 255
  bool muted = false;
  std::uint32_t pictureWidth = 0;  // of the newest picture taken, as it was sent; pixels
  std::uint32_t pictureHeight = 0;
  bool rebuffering = false;  // told to wait: nothing has come for two seconds of playing
};

class AttendeePort : public PlatformPort {
 public:
  virtual AttendeeStatistics statistics() const = 0;  // [any-thread]
  // Whether somebody looks at this attendee's view; pictures are drawn only then. [main-thread]
  virtual void setWatched(bool watched) = 0;
  // Makes the attendee slow: it rests this long after each picture that it takes; 0 ends the rest.
  // [main-thread]
  virtual void setDelay(platform::Duration perPicture) = 0;
  // Who hears the attendee's sound from now on, instead of who did; null for nobody. [main-thread]
  virtual void listen(std::shared_ptr<SoundSink> sink) = 0;
};

// [main-thread]
class MultimediaPlatform {
 public:
  virtual ~MultimediaPlatform() = default;
  // Connects a participant to the stream of the document. Peers are held weakly; ports end before
  // the platform. A document has one presenter at a time.
  virtual std::unique_ptr<PresenterPort> attachPresenter(std::weak_ptr<PlatformPeer> peer) = 0;
  virtual std::unique_ptr<AttendeePort> attachAttendee(std::weak_ptr<PlatformPeer> peer) = 0;
  // A viewer of a recorded meeting. It does not register: it takes part as soon as it has a view to
  // draw in.
  virtual std::unique_ptr<AttendeePort> attachViewer(std::weak_ptr<PlatformPeer> peer) = 0;

  // The channel fails: everybody is told so, samples are no longer carried, and registrations are
  // answered in the same way. Nothing when it has failed already.
  virtual void failChannel() = 0;
  // The channel is created again: everybody is told so. Attendees have to register anew, the
  // presenter is in again at once. Nothing when it has not failed.
  virtual void reconnectChannel() = 0;
};

}  // namespace meeting
