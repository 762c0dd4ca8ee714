// An attendee's end of the stream: its requests, its membership, and what it is shown and hears.
// However slow it is, neither the presenter nor another attendee waits.
//
// Threads: main thread, except offers (the presenter's delivery threads) and what is marked.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "meeting/AttendeeSound.h"
#include "meeting/DocumentStream.h"
#include "meeting/FramePool.h"
#include "meeting/MultimediaPlatform.h"
#include "meeting/PictureShow.h"
#include "meeting/SampleFlow.h"
#include "mmp/RequestRecords.h"

namespace meeting {

enum class Membership : std::uint8_t { invited, member, left };

class AttendeeChannel final : public AttendeePort {
 public:
  // Becomes a member of the channel by its registration or, in a recorded meeting, where nobody
  // registers, as soon as it has a view to draw in.
  enum class Entry : std::uint8_t { byRegistration, byView };
  AttendeeChannel(std::shared_ptr<DocumentStream> stream, std::weak_ptr<PlatformPeer> peer,
                  Entry entry);
  ~AttendeeChannel() override;
  AttendeeChannel(const AttendeeChannel&) = delete;
  AttendeeChannel& operator=(const AttendeeChannel&) = delete;

  UCFResult request(unsigned long type, unsigned long uMsg, void* record) override;
  void setWatched(bool watched) override { show_.setWatched(watched); }
  void setDelay(platform::Duration perPicture) override { show_.setDelay(perPicture); }
  void listen(std::shared_ptr<SoundSink> sink) override { sound_.listen(std::move(sink)); }
  AttendeeStatistics statistics() const override;  // [any-thread]

  // For the stream.
  void post(const StatusRecord& record) const;  // [any-thread]
  Membership membership() const { return membership_; }
  void setMembership(Membership membership) { membership_ = membership; }
  // A member has to register for the channel that comes next.
  void endMembership() {
    if (membership_ == Membership::member) membership_ = Membership::invited;
  }
  // Playing begins or ends: nothing measured until now counts.
  void restartFlow(platform::TimePoint now);
  // Takes what has been received since the last call as a rate.
  void measureRate(platform::Duration measured);
  bool beginDrought(platform::TimePoint now) { return flow_.beginDrought(now); }
  bool endDrought() { return flow_.endDrought(); }
  void offer(const FrameRef& frame);
  void offer(const AudioFormat& format, const AudioSample& sample);

 private:
  UCFResult command(unsigned long uMsg, void* record);
  UCFResult registerListener(const tagMSRegisterInfo& info);
  UCFResult unregister(const tagMSUnRegisterInfo& info);
  UCFResult setRender(const tagMSRenderInfo& info);
  UCFResult updateRender(const tagMSRenderUpdate& update);
  UCFResult setVolume(const tagMSVolumeInfo& info);
  UCFResult setMuted(const tagMSMuteInfo& info);
  void showIn(std::uint64_t handle);
  bool isOurs(const tagMSHead& head) const;
  void noteSample();

  const std::shared_ptr<DocumentStream> stream_;
  const std::weak_ptr<PlatformPeer> peer_;
  const Entry entry_;
  Membership membership_ = Membership::invited;
  std::uint64_t framesMeasured_ = 0;
  std::atomic<float> fps_{0};
  SampleFlow flow_;
  AttendeeSound sound_;
  PictureShow show_;
};

}  // namespace meeting
