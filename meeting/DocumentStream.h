// The stream of one document: the state of its channel, what the presenter says about it, and what
// the attendees are told. Held by the platform and by every port, so that it ends last.
// [main-thread]
//
// An attendee is invited to a channel when that is created, a member from its registration until
// the channel ends or fails or the attendee leaves. What happens to the channel is told to
// everybody but those who left, what happens in it to the members.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "meeting/MultimediaPlatform.h"
#include "meeting/SampleFanOut.h"
#include "meeting/Ticker.h"

namespace meeting {

class AttendeeChannel;

class DocumentStream : public std::enable_shared_from_this<DocumentStream> {
 public:
  DocumentStream(DocumentIds ids, StreamObserver& observer,
                 std::shared_ptr<const platform::Clock> clock);
  ~DocumentStream();

  const DocumentIds& ids() const { return ids_; }           // [any-thread]
  StreamObserver& observer() const { return observer_; }    // [any-thread]
  const platform::Clock& clock() const { return *clock_; }  // [any-thread]
  SampleFanOut& samples() { return samples_; }              // [any-thread]

  // The channel.
  bool isOpen() const { return registration_ && !failed_; }
  bool hasFailed() const { return failed_; }
  void fail();
  void reconnect();

  // The presenter's side.
  void openChannel(const std::weak_ptr<PlatformPeer>& presenter, std::uint64_t durationMs,
                   MM_MEDIASTREAMING_MEDIACONTENENT content);
  void sourceStatus(MM_MEDIASTREAMING_SOURCE_STATUS status, std::int64_t positionMs);
  void videoFormat(const VideoFormat& format);
  void audioFormat(const AudioFormat& format);
  void closeChannel();  // the presenter said so
  void loseChannel();   // it went away without a word

  // The attendees' side.
  void add(AttendeeChannel& attendee);
  void remove(AttendeeChannel& attendee);
  // Makes it a member and tells it how the stream stands, or that there is no channel to join.
  void join(AttendeeChannel& attendee);
  void leave(AttendeeChannel& attendee);
  // Samples have come again for one that was told that there are none. [any-thread]
  void resumeSoon(AttendeeChannel& attendee);

 private:
  struct Registration {
    std::weak_ptr<PlatformPeer> presenter;
    std::uint64_t durationMs;
    MM_MEDIASTREAMING_MEDIACONTENENT content;
    bool observed;  // the observer has been told
  };

  void createChannel();
  void endChannel();
  void endMemberships();
  void postToAll(const StatusRecord& record) const;
  void postToMembers(const StatusRecord& record) const;
  void postToPresenter(const StatusRecord& record) const;
  bool isPlaying() const { return playStatus_ == MM_MEDIA_STREAMING_PLYASTATUS_PLAYING; }
  std::uint64_t positionMs() const;
  void followPlaying();
  void tick();
  void reportQuality(platform::TimePoint now);
  void resume(const AttendeeChannel* attendee);

  tagMSHead head() const { return {ids_.session, ids_.source}; }
  tagMSChannelStatus channelStatus(MM_MEDIA_STREAMING_CHANNEL_STATUS status) const;
  tagMSPlayStatus playStatus(MM_MEDIA_STREAMING_PLAYSTATUS status) const;
  tagMSPlayPosition playPosition() const;
  tagMSVideoInfo videoSize() const;

  const DocumentIds ids_;
  StreamObserver& observer_;
  const std::shared_ptr<const platform::Clock> clock_;
  SampleFanOut samples_;
  std::vector<AttendeeChannel*> attendees_;
  std::optional<Registration> registration_;
  bool failed_ = false;
  // What the presenter says:
  std::optional<MM_MEDIA_STREAMING_PLAYSTATUS> playStatus_;
  std::uint64_t statusPositionMs_ = 0;  // at the latest play status
  VideoFormat format_;
  // While the presenter plays:
  std::optional<Ticker> ticker_;
  unsigned ticks_ = 0;
  platform::TimePoint measuredSince_;
};

}  // namespace meeting
