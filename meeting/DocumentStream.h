// The stream of one document in one process: what the presenter's channel and the attendees'
// channels share. Held by the platform and by every port, so that it ends last.
//
// Threads: main thread, except video() and audio(), which the presenter's delivery threads call.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "meeting/FramePool.h"
#include "meeting/MultimediaPlatform.h"
#include "meeting/Ticker.h"

namespace meeting {

class AttendeeChannel;

class DocumentStream : public std::enable_shared_from_this<DocumentStream> {
 public:
  explicit DocumentStream(StreamObserver& observer);
  ~DocumentStream();

  StreamObserver& observer() const { return observer_; }

  // The presenter's side.
  void openChannel(const std::weak_ptr<PlatformPeer>& presenter, std::uint64_t durationMs,
                   MM_MEDIASTREAMING_MEDIACONTENENT content);
  void sourceStatus(MM_MEDIASTREAMING_SOURCE_STATUS status, std::int64_t positionMs);
  void videoFormat(const VideoFormat& format);
  void closeChannel();  // the presenter said so
  void loseChannel();   // it went away without a word; nothing when it had closed the channel
  // [delivery-thread; a still picture on main-thread]
  void video(const VideoSample& sample);
  void audio(const AudioSample& sample);

  // The attendees' side.
  bool isOpen() const { return open_; }
  void add(AttendeeChannel& channel);
  void remove(AttendeeChannel& channel);
  // The channel takes samples from now on; it is told how the stream stands.
  void join(AttendeeChannel& channel);

 private:
  void postToAll(const StatusRecord& record);
  void tick();

  StreamObserver& observer_;
  FramePool pool_;
  // Main thread:
  std::vector<AttendeeChannel*> attendees_;
  bool open_ = false;
  std::optional<MM_MEDIA_STREAMING_PLAYSTATUS> playStatus_;
  VideoFormat format_;
  std::optional<Ticker> ticker_;
  unsigned ticks_ = 0;
  // Any thread:
  std::atomic<std::uint64_t> positionMs_{0};
  std::atomic<bool> hasListeners_{false};
  std::mutex listenersMutex_;
  std::vector<AttendeeChannel*> listeners_;  // those that have joined; guarded by listenersMutex_
};

// Records about the document with their head filled.
tagMSChannelStatus channelStatus(MM_MEDIA_STREAMING_CHANNEL_STATUS status);
tagMSPlayStatus playStatus(MM_MEDIA_STREAMING_PLAYSTATUS status);

}  // namespace meeting
