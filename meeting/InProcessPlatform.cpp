#include "meeting/InProcessPlatform.h"

#include <utility>

#include "meeting/AttendeeChannel.h"
#include "meeting/PresenterChannel.h"

namespace meeting {

InProcessPlatform::InProcessPlatform(DocumentIds ids, StreamObserver& observer,
                                     std::shared_ptr<const platform::Clock> clock)
    : stream_(std::make_shared<DocumentStream>(ids, observer, std::move(clock))) {}

std::unique_ptr<PresenterPort> InProcessPlatform::attachPresenter(
    std::weak_ptr<PlatformPeer> peer) {
  return std::make_unique<PresenterChannel>(stream_, std::move(peer));
}

std::unique_ptr<AttendeePort> InProcessPlatform::attachAttendee(std::weak_ptr<PlatformPeer> peer) {
  return std::make_unique<AttendeeChannel>(stream_, std::move(peer),
                                           AttendeeChannel::Entry::byRegistration);
}

std::unique_ptr<AttendeePort> InProcessPlatform::attachViewer(std::weak_ptr<PlatformPeer> peer) {
  return std::make_unique<AttendeeChannel>(stream_, std::move(peer),
                                           AttendeeChannel::Entry::byView);
}

void InProcessPlatform::failChannel() { stream_->fail(); }

void InProcessPlatform::reconnectChannel() { stream_->reconnect(); }

FramePoolStatistics InProcessPlatform::pictures() const {
  return stream_->samples().pool().statistics();
}

}  // namespace meeting
