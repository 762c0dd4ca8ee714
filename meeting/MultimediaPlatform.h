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
#include "ucf/Types.h"

namespace meeting {

// A status message to an object: the record says which one.
using StatusRecord = std::variant<tagMSVideoQuality, tagMSPlayPosition, tagMSPlayStatus,
                                  tagMSChannelStatus, tagMSVideoInfo>;

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

// Watches what the presenter's channel receives. Must be cheap: samples are shown to it from within
// the presenter's delivery.
class StreamObserver {
 public:
  // [main-thread]
  virtual void onRegistered(std::uint64_t durationMs, MM_MEDIASTREAMING_MEDIACONTENENT content) = 0;
  virtual void onJoined() = 0;
  virtual void onSourceStatus(MM_MEDIASTREAMING_SOURCE_STATUS status, std::int64_t positionMs) = 0;
  virtual void onVideoFormat(const VideoFormat& format) = 0;
  virtual void onAudioFormat(const AudioFormat& format) = 0;
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

// What an attendee has received.
struct AttendeeStatistics {
  std::uint64_t framesReceived = 0;
  std::uint64_t framesLost = 0;  // replaced by a newer one before this attendee took them
  std::uint64_t audioBlocksReceived = 0;
};

class AttendeePort : public PlatformPort {
 public:
  virtual AttendeeStatistics statistics() const = 0;  // [any-thread]
  // Whether somebody looks at this attendee's view; pictures are drawn only then. [main-thread]
  virtual void setWatched(bool watched) = 0;
};

// [main-thread]
class MultimediaPlatform {
 public:
  virtual ~MultimediaPlatform() = default;
  // Connects a participant to the stream of the document. Peers are held weakly; ports end before
  // the platform. A document has one presenter at a time.
  virtual std::unique_ptr<PlatformPort> attachPresenter(std::weak_ptr<PlatformPeer> peer) = 0;
  virtual std::unique_ptr<AttendeePort> attachAttendee(std::weak_ptr<PlatformPeer> peer) = 0;
};

}  // namespace meeting
