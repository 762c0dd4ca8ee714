// The multimedia platform within this process: one document, its stream, its channels.
// [main-thread]
#pragma once

#include <memory>

#include "meeting/DocumentStream.h"
#include "meeting/MultimediaPlatform.h"

namespace meeting {

class InProcessPlatform final : public MultimediaPlatform {
 public:
  // The observer must outlive the platform.
  explicit InProcessPlatform(StreamObserver& observer);

  std::unique_ptr<PlatformPort> attachPresenter(std::weak_ptr<PlatformPeer> peer) override;
  std::unique_ptr<AttendeePort> attachAttendee(std::weak_ptr<PlatformPeer> peer) override;

 private:
  std::shared_ptr<DocumentStream> stream_;
};

}  // namespace meeting
