#include "movara/common/AVUIProxy.h"

#include <new>

#include "movara/common/Trace.h"
#include "platform/Exception.h"

using platform::NotificationCenter;

namespace {

constexpr double kTickSeconds = 0.1;

constexpr const char* kSharingViewModeDidChange = "PDDidChangeSharingViewModeNotification";
constexpr const char* kWillChangeFitMode = "PDWillChangeFitModeNotification";
constexpr const char* kSetVolume = "LUMNBRSetVloumeNotification";
constexpr const char* kSetMuted = "LUMNBRSetMutedNotification";
constexpr const char* kSyncSharingViewMode = "PDSyncSharingViewModeNotification";

}  // namespace

std::shared_ptr<AVUIProxy> AVUIProxy::initWithPlayer(ISVSPlayerNotifySink* sink, int chanelType) {
  std::shared_ptr<AVUIProxy> self(new AVUIProxy(sink, chanelType));
  try {
    self->begin(self);
  } catch (...) {
    self->cleanUp();  // its timer would keep it
    throw;
  }
  return self;
}

void AVUIProxy::begin(const std::shared_ptr<AVUIProxy>& self) {
  observeNotifications(self);
  startTimer(self);
  for (const platform::Selector query : {&AVUIProxy::queryFullscreen, &AVUIProxy::queryHOLStatus}) {
    platform::performAfterDelay(
        self, query, {}, {},
        {platform::kDefaultRunLoopMode, platform::kConnectionReplyMode,
         platform::kModalPanelRunLoopMode, platform::kEventTrackingRunLoopMode});
  }
}

AVUIProxy::AVUIProxy(ISVSPlayerNotifySink* sink, int chanelType)
    : myChanelType(chanelType), myAvApp(sink), myVideoPausedVideo(new (std::nothrow) PausedFrame) {}

AVUIProxy::~AVUIProxy() { cleanUp(); }

void AVUIProxy::observeNotifications(const std::shared_ptr<AVUIProxy>& self) {
  auto& center = NotificationCenter::defaultCenter();
  center.addObserver(self, &AVUIProxy::sharingViewModeDidChange, kSharingViewModeDidChange);
  center.addObserver(self, &AVUIProxy::willChangeFitMode, kWillChangeFitMode);
  center.addObserver(self, &AVUIProxy::volumeChanged, kSetVolume);
  center.addObserver(self, &AVUIProxy::setMuted, kSetMuted);
  center.addObserver(self, &AVUIProxy::videoSizeChanged, kMSVideoRenderSizeChangedNotification);
  center.addObserver(self, &AVUIProxy::pauseVideoProvider, kMSPauseEmbedPlayerNotification);
  center.addObserver(self, &AVUIProxy::hideEmbedCtrlbarWindow,
                     kMSHideOtherEmbedCtrlbarNotification);
  center.addObserver(self, &AVUIProxy::allowFITStatusChanged, HOLStatusNotification);
}

// Ticks on while a modal panel runs and while the user drags or tracks a menu.
void AVUIProxy::startTimer(const std::shared_ptr<AVUIProxy>& self) {
  myTimer =
      platform::Timer::scheduled(platform::seconds(kTickSeconds), self, &AVUIProxy::onTimer, true);
  auto& loop = platform::RunLoop::current();
  loop.addTimer(myTimer, platform::kModalPanelRunLoopMode);
  loop.addTimer(myTimer, platform::kEventTrackingRunLoopMode);
}

void AVUIProxy::setSink(ISVSPlayerNotifySink* sink) {
  if (sink != nullptr) {
    myAvApp.open(sink);
    return;
  }
  // Messages served while the gate closes may let everybody else's reference go.
  const auto self = shared_from_this();
  myAvApp.open(nullptr);     // nobody begins a call from here on
  endAudioFormatDelivery();  // the caller may be inside the one that the audio thread waits for
  myAvApp.close();
  cleanUp();
}

void AVUIProxy::cleanUp() {
  if (myTimer) {
    myTimer->invalidate();
    myTimer = nullptr;
  }
  NotificationCenter::defaultCenter().removeObserver(*this);
  platform::cancelPerforms(*this);
  const platform::Lock guard(myLock);
  myVideoPausedVideo = nullptr;
  myPausedFrameHeld = false;
}

void AVUIProxy::queryFullscreen() {
  NotificationCenter::defaultCenter().post(kSyncSharingViewMode);
}

void AVUIProxy::queryHOLStatus() {
  NotificationCenter::defaultCenter().post(PDQueryHOLStatusNotification);
}

void AVUIProxy::onTimer() {
  try {
    notify(PLAYER_NOTIFY_TIMER);
  } catch (const platform::Exception&) {
    MacWarnTrace2(kTraceModule, "Catch a exception onTimer");
  }
}

void AVUIProxy::_delayNotification(const platform::Value& name) {
  NotificationCenter::defaultCenter().post(name.description());
}
