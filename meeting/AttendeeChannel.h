// An attendee's end of the stream: takes the newest picture when it gets to it and draws it into
// the attendee's render view. However slow it is, neither the presenter nor another attendee waits.
//
// Threads: requests on the main thread; offers on the presenter's delivery threads; drawing on a
// thread of its own.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <thread>

#include "meeting/DocumentStream.h"
#include "meeting/FramePool.h"
#include "meeting/MultimediaPlatform.h"
#include "mmp/RequestRecords.h"
#include "platform/View.h"

namespace meeting {

class AttendeeChannel final : public AttendeePort {
 public:
  AttendeeChannel(std::shared_ptr<DocumentStream> stream, std::weak_ptr<PlatformPeer> peer);
  ~AttendeeChannel() override;
  AttendeeChannel(const AttendeeChannel&) = delete;
  AttendeeChannel& operator=(const AttendeeChannel&) = delete;

  // [main-thread]
  UCFResult request(unsigned long type, unsigned long uMsg, void* record) override;
  void setWatched(bool watched) override;
  // Frames taken since the last call, as a rate over `seconds`.
  float framesPerSecond(double seconds);

  // [any-thread]
  AttendeeStatistics statistics() const override;
  void post(const StatusRecord& record) const;
  // [delivery-thread] An empty reference stands for a picture for which there was no room.
  void offer(const FrameRef& frame);
  void offer(const AudioSample& sample);

 private:
  UCFResult command(unsigned long uMsg, void* record);
  UCFResult registerListener(const tagMSRegisterInfo& info);
  UCFResult setRender(const tagMSRenderInfo& info);
  UCFResult updateRender(const tagMSRenderUpdate& update);
  void showIn(std::uint64_t handle);
  void work();
  void draw();

  std::shared_ptr<DocumentStream> stream_;
  std::weak_ptr<PlatformPeer> peer_;
  std::uint64_t framesAtLastRate_ = 0;  // main thread

  std::atomic<std::uint64_t> framesReceived_{0};
  std::atomic<std::uint64_t> framesLost_{0};
  std::atomic<std::uint64_t> audioBlocks_{0};

  std::mutex drawMutex_;  // taken before mutex_: pictures get into the view in order
  std::mutex mutex_;
  std::condition_variable wake_;
  // Guarded by mutex_:
  FrameRef slot_;     // newest picture not yet taken
  FrameRef current_;  // the one that is, or would be, on show
  std::shared_ptr<platform::View> view_;
  bool watched_ = false;
  bool ending_ = false;

  std::thread worker_;  // last: starts when everything else is there
};

}  // namespace meeting
