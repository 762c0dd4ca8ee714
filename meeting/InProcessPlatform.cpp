#include "meeting/InProcessPlatform.h"

#include <utility>

#include "meeting/AttendeeChannel.h"
#include "meeting/PresenterChannel.h"

namespace meeting {

InProcessPlatform::InProcessPlatform(StreamObserver& observer)
    : stream_(std::make_shared<DocumentStream>(observer)) {}

std::unique_ptr<PlatformPort> InProcessPlatform::attachPresenter(std::weak_ptr<PlatformPeer> peer) {
  return std::make_unique<PresenterChannel>(stream_, std::move(peer));
}

std::unique_ptr<AttendeePort> InProcessPlatform::attachAttendee(std::weak_ptr<PlatformPeer> peer) {
  return std::make_unique<AttendeeChannel>(stream_, std::move(peer));
}

}  // namespace meeting
