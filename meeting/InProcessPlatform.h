// The multimedia platform within this process: one document, its stream, its channels.
// [main-thread]
#pragma once

#include <memory>

#include "meeting/DocumentStream.h"
#include "meeting/MultimediaPlatform.h"

namespace meeting {

class InProcessPlatform final : public MultimediaPlatform {
 public:
  // The observer must outlive the platform. What is measured is measured on the clock; reports come
  // on the main run loop's.
  InProcessPlatform(DocumentIds ids, StreamObserver& observer,
                    std::shared_ptr<const platform::Clock> clock);

  std::unique_ptr<PresenterPort> attachPresenter(std::weak_ptr<PlatformPeer> peer) override;
  std::unique_ptr<AttendeePort> attachAttendee(std::weak_ptr<PlatformPeer> peer) override;
  std::unique_ptr<AttendeePort> attachViewer(std::weak_ptr<PlatformPeer> peer) override;
  void failChannel() override;
  void reconnectChannel() override;
  // Pictures of the presenter that are held, by the stream and by whoever shows them. [any-thread]
  FramePoolStatistics pictures() const;

 private:
  std::shared_ptr<DocumentStream> stream_;
};

}  // namespace meeting
