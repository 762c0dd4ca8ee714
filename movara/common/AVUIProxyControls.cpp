// What the player view tells and asks, and what the client's notifications bring about.
#include <algorithm>
#include <cmath>
#include <string>

#include "avcapture/KTVideoPlayer.h"
#include "movara/common/AVUIProxy.h"
#include "movara/common/Trace.h"
#include "movara/player/KTAVPlayer.h"
#include "movara/player/PlayerProperties.h"

using platform::Notification;
using platform::NotificationCenter;
using platform::Value;

namespace {

constexpr platform::Size kDefaultMediaSize{480.0, 360.0};
constexpr float kFullVolume = 255.0F;
constexpr std::uint32_t kLowByte = 0xFFU;

// `p1` of an open result.
constexpr unsigned long kOpened = 0;
constexpr unsigned long kOpenedWithoutContent = ~0UL;
constexpr unsigned long kNotOpened = 1;

constexpr const char* kSharingViewModeKey = "PDSharingViewMode";
constexpr const char* kVolumeKey = "LUMNBRSetVloumeNotificationValueKey";
constexpr const char* kMutedKey = "LUMNBRSetMutedNotificationValueKey";

Value userInfoValue(const Notification& notification, const char* key) {
  return notification.userInfo != nullptr ? notification.userInfo->get(key) : Value();
}

// Towards zero; nothing sensible becomes 0.
[[gnu::noinline]] std::int32_t truncated(float value) { return Value(value).intValue(); }

avcapture::KTVideoPlayer* viewOf(CAVPlayer* player) {
  return player != nullptr ? player->videoPlayer().get() : nullptr;
}

}  // namespace

Value AVUIProxy::property(const char* key) const {
  CAVPlayer* const owner = player();
  return owner != nullptr ? owner->propertyWithKey(key) : Value();
}

float AVUIProxy::floatProperty(const char* key) const { return property(key).floatValue(); }

void AVUIProxy::setProperty(const char* key, const Value& value) {
  if (CAVPlayer* const owner = player()) owner->setPropertyWithKey(key, value);
}

// Questions. The source's player knows itself; a listener's answers lie in the property store.

float AVUIProxy::fps() {
  CAVPlayer* const owner = player();
  if (owner == nullptr) return 0.0F;
  return isSource() ? owner->fps() : floatProperty(kAVMovieFPSProperty);
}

bool AVUIProxy::isPlaying() {
  CAVPlayer* const owner = player();
  if (owner == nullptr) return false;
  if (isSource()) return owner->GetStatus() == kPlayerStatusPlaying;
  return truncated(floatProperty(kAVMovieStatusProperty)) == kPlayerStatusPlaying;
}

bool AVUIProxy::pausedByUser() {
  CAVPlayer* const owner = player();
  if (owner == nullptr) return false;
  const int status =
      isSource() ? owner->GetStatus() : owner->propertyWithKey(kAVMovieStatusProperty).intValue();
  return status == kPlayerStatusStopped;
}

std::int32_t AVUIProxy::getStatus() { return property(kAVMovieStatusProperty).intValue(); }

float AVUIProxy::currentTime() {
  CAVPlayer* const owner = player();
  if (owner == nullptr) return 0.0F;
  return isSource() ? owner->GetCurrentPos() : floatProperty(kAVMovieCurTimeProperty);
}

float AVUIProxy::duration() {
  CAVPlayer* const owner = player();
  if (owner == nullptr) return 0.0F;
  return isSource() ? owner->GetDuration() : floatProperty(kAVMovieDurationProperty);
}

platform::Size AVUIProxy::mediaSize() {
  platform::Size size = kDefaultMediaSize;
  CAVPlayer* const owner = player();
  if (owner == nullptr) return size;
  if (isSource()) {
    owner->mediaSize(size);
    return size;
  }
  const Value width = owner->propertyWithKey(kAVMediaSizeWidthProperty);
  const Value height = owner->propertyWithKey(kAVMovieSizeHeightProperty);
  if (!width.isNil() && !height.isNil()) {
    size.width = static_cast<double>(width.floatValue());
    size.height = static_cast<double>(height.floatValue());
  }
  return size;
}

std::int32_t AVUIProxy::mediaType() {
  return isSource() ? 0 : property(kAVMediaMediaTypeProperty).intValue();
}

std::int64_t AVUIProxy::volume() {
  return isSource() ? 0 : property(kAVMediaVolumeProperty).longValue();
}

bool AVUIProxy::isEmbed() { return property(kAVMovieEmbedMode).boolValue(); }

bool AVUIProxy::isPresenter() {
  CAVPlayer* const owner = player();
  return owner != nullptr && owner->isPresenter();
}

bool AVUIProxy::allowEnterFIT() {
  CAVPlayer* const owner = player();
  return owner != nullptr && owner->isAllowEnterFit();
}

bool AVUIProxy::allow2Play() {
  std::int32_t allowed = 0;
  notify(PLAYER_NOTIFY_QUERY_PLAY_ALLOWED, reinterpret_cast<unsigned long>(&allowed));
  return (static_cast<std::uint32_t>(allowed) & kLowByte) != 0;
}

// User actions.

void AVUIProxy::renderMovie(bool rendered) {
  if (myAvApp.sink() == nullptr) return;
  unsigned long result = kNotOpened;
  CAVPlayer* const owner = player();
  if (rendered) {
    const bool empty = owner != nullptr && owner->mediaContent() == 0;
    result = empty ? kOpenedWithoutContent : kOpened;
  }
  if (!rendered) traceFailure();
  notify(PLAYER_NOTIFY_OPEN_RESULT, result);
  queryFullscreen();
}

void AVUIProxy::volumeChange(platform::Object* /*sender*/, const Value& volume) {
  if (!isSource()) setProperty(kAVMediaVolumeProperty, volume);
  notify(PLAYER_NOTIFY_VOLUME_CHANGED);
}

void AVUIProxy::onPlay(platform::Object* /*sender*/) { reportStatus(kPlayerStatusPlaying); }
void AVUIProxy::onPause(platform::Object* /*sender*/) { reportStatus(kPlayerStatusPaused); }

void AVUIProxy::onStop(platform::Object* /*sender*/) {
  traceFailure();
  reportStatus(kPlayerStatusStopped);
}

// The platform learns only that it has stopped, or was not opened.
void AVUIProxy::traceFailure() {
  auto* const view = viewOf(player());
  const std::string failure = view != nullptr ? view->failure() : std::string();
  if (failure.empty()) return;
  MacWarnTrace2(kTraceModule, "The movie cannot be played: %s, this = 0x%x ", failure.c_str(),
                traceAddress(this));
}

void AVUIProxy::reportStatus(std::int32_t listenerStatus) {
  notify(PLAYER_NOTIFY_STATUS_CHANGED);
  if (!isSource()) setProperty(kAVMovieStatusProperty, listenerStatus);
}

void AVUIProxy::onSkip(platform::Object* /*sender*/) {
  traceFailure();
  notify(PLAYER_NOTIFY_SEEK_COMPLETE);
}

// Asks the client for the opposite of the present state; the client changes the view mode.
void AVUIProxy::toggleFullscreen(platform::Object* /*sender*/) {
  notify(PLAYER_NOTIFY_FULLSCREEN_CHANGED);
  CAVPlayer* const owner = player();
  if (owner == nullptr) return;
  platform::performAfterDelay(
      shared_from_this(), &AVUIProxy::_delayNotification,
      owner->IsFullscreen() ? "PDLeaveFitNotification" : "PDEnterFitNotification", {});
}

void AVUIProxy::hideOtherEmbedCtrlbarWindow() {
  NotificationCenter::defaultCenter().post(kMSHideOtherEmbedCtrlbarNotification,
                                           shared_from_this());
}

void AVUIProxy::pauseEmbedPlayer() {
  NotificationCenter::defaultCenter().post(kMSPauseEmbedPlayerNotification, shared_from_this());
}

void AVUIProxy::active() { setProperty(kAVMovieActiveProperty, true); }
void AVUIProxy::deactive() { setProperty(kAVMovieActiveProperty, false); }

// Notifications.

void AVUIProxy::sharingViewModeDidChange(const Notification& notification) {
  MacInfoTrace2(kTraceModule, "sharingViewModeDidChange called");
  if (CAVPlayer* const owner = player()) {
    owner->setSharingViewMode(userInfoValue(notification, kSharingViewModeKey).intValue());
  }
}

void AVUIProxy::willChangeFitMode() {
  if (CAVPlayer* const owner = player()) owner->willChangeFitMode();
}

void AVUIProxy::volumeChanged(const Notification& notification) {
  const float fraction =
      std::clamp(userInfoValue(notification, kVolumeKey).floatValue(), 0.0F, 1.0F);
  volumeChange(this, truncated(fraction * kFullVolume));
}

void AVUIProxy::setMuted(const Notification& notification) {
  const std::int32_t muted = truncated(userInfoValue(notification, kMutedKey).floatValue());
  if ((static_cast<std::uint32_t>(muted) & kLowByte) == 0) {
    volumeChange(this, myVolumeBeforeMute);
    return;
  }
  myVolumeBeforeMute = static_cast<std::int32_t>(volume());
  volumeChange(this, std::int32_t{0});
}

void AVUIProxy::videoSizeChanged(const Notification& notification) {
  notify(PLAYER_NOTIFY_VIDEO_SIZE, reinterpret_cast<unsigned long>(notification.userInfo));
}

void AVUIProxy::allowFITStatusChanged(const Notification& notification) {
  if (notification.userInfo == nullptr) {
    MacWarnTrace2(kTraceModule, "Invalid notication, noticiation is null or userinfo is null");
    return;
  }
  const Value& status = notification.userInfo->get(HOLStatusNoticationValueKey);
  if (status.isNil()) {
    MacWarnTrace2(kTraceModule, "Invalid notication, noticiation is not null but allow is null");
    return;
  }
  if (CAVPlayer* const owner = player()) {
    owner->setAllowEnterFit(static_cast<signed char>(!status.boolValue()));
  }
}

void AVUIProxy::hideEmbedCtrlbarWindow(const Notification& notification) {
  if (notification.object.get() == this) return;
  if (auto* const view = viewOf(player())) view->showEmbedControlbar({});
}

// Only one movie plays inside the meeting window: this one gives way to another bridge's.
void AVUIProxy::pauseVideoProvider(const Notification& notification) {
  CAVPlayer* const owner = player();
  if (owner == nullptr || owner->GetStatus() != kPlayerStatusPlaying) return;
  if (notification.object.get() == this || !isSource()) return;
  if (auto* const view = viewOf(owner)) view->onStart(this);
}
