// Which status view the player view shows, by channel state and by the presenter's play status.
#include <array>

#include "movara/common/AVUIProxy.h"
#include "movara/player/KTAVPlayer.h"
#include "platform/RunLoop.h"

using avcapture::KTVideoPlayer;

namespace {

// Codes with a part in the rules; what each looks like is the player view's.
constexpr int kViewPicture = 1;
constexpr int kViewSoundOnly = 2;
constexpr int kViewFailover = 6;

constexpr double kUnMuteDelaySeconds = 0.1;
constexpr double kStatusViewDelaySeconds = 0.2;

struct Codes {
  int source;
  int listener;
};

struct ChannelRow {
  SvsState state;
  Codes codes;
  Codes duringFailover;
};

constexpr Codes kWaiting{103, 203};
constexpr Codes kFailover{kViewFailover, kViewFailover};

constexpr std::array<ChannelRow, 13> kChannelRows{{
    {SVS_INIT, kWaiting, kFailover},
    {SVS_JOINSESSION_SUCCESS, kWaiting, kFailover},
    {SVS_JOINSESSION_FAILED, {4, 204}, {4, 204}},
    {SVS_OPENFILE_SUCCESS, kWaiting, kFailover},
    {SVS_OPENFILE_FAILED, {101, kViewPicture}, {101, kViewPicture}},
    {SVS_OPENFILE_FAILED_2012, {102, kViewPicture}, {102, kViewPicture}},
    {SVS_REGISTERCHANNEL_PENDING, kWaiting, kFailover},
    {SVS_REGISTERCHANNEL_SUCCESS, {5, kViewPicture}, {5, kViewPicture}},
    {SVS_REGISTERCHANNEL_FAILED, {4, 204}, {4, 204}},
    {SVS_FAILOVER, kFailover, kFailover},
    {SVS_MAX_ATTENDEE_REACHED, {7, 7}, {7, 7}},
    {SVS_STOPPED_FOR_BANDWIDTH, {8, 8}, {8, 8}},
    {SVS_SESSION_LEFT, {9, 9}, {9, 9}},
}};

struct PlayRow {
  int status;
  int picture;
  int soundOnly;
};

constexpr std::array<PlayRow, 6> kPlayRows{{
    {kPlayerStatusStopped, kViewPicture, kViewSoundOnly},
    {kPlayerStatusPlaying, kViewPicture, kViewSoundOnly},
    {kPlayerStatusPaused, 201, 200},
    {kListenerStatusRebuffering, 202, 202},
    {kListenerStatusProviderCrashed, 205, 205},
    {kListenerStatusMovieInvalid, 206, 206},
}};

int channelCode(SvsState state, bool source, bool failover) {
  for (const ChannelRow& row : kChannelRows) {
    if (row.state != state) continue;
    const Codes& codes = failover ? row.duringFailover : row.codes;
    return source ? codes.source : codes.listener;
  }
  return kViewPicture;
}

int playCode(int status, bool soundOnly) {
  for (const PlayRow& row : kPlayRows) {
    if (row.status == status) return soundOnly ? row.soundOnly : row.picture;
  }
  return kViewPicture;
}

// A recording shows no messages of a live meeting.
int codeInNBRMode(int code) { return code == kViewSoundOnly ? kViewSoundOnly : kViewPicture; }

void performInCommonModes(const std::shared_ptr<KTVideoPlayer>& view, platform::Selector message,
                          const platform::Value& argument, double delaySeconds) {
  platform::performAfterDelay(
      view, message, argument, platform::seconds(delaySeconds),
      {platform::kDefaultRunLoopMode, platform::kConnectionReplyMode,
       platform::kModalPanelRunLoopMode, platform::kEventTrackingRunLoopMode});
}

}  // namespace

void CAVPlayer::onSVSStateChanged(SvsState state) {
  if (!m_pVideoPlayer) return;
  const bool source = isSource();
  const bool registered = state == SVS_REGISTERCHANNEL_SUCCESS;
  int code = channelCode(state, source, isFailoverProcessing());
  if (registered && !source && hasSoundOnly()) code = kViewSoundOnly;
  if (isNBRMode()) code = codeInNBRMode(code);
  m_pVideoPlayer->setStatusViewType(code);

  if (!registered) return;
  if (source) {
    m_pVideoPlayer->deliverLatestImageAgain();
  } else {
    performInCommonModes(m_pVideoPlayer, &KTVideoPlayer::onUnMute, {}, kUnMuteDelaySeconds);
  }
}

void CAVPlayer::playerStatusChanged() {
  if (isSource() || !m_pVideoPlayer) return;
  const platform::Value status = propertyWithKey(kAVMovieStatusProperty);
  int code = status.isNil() ? kViewPicture : playCode(status.intValue(), hasSoundOnly());
  if (isNBRMode()) code = codeInNBRMode(code);
  performInCommonModes(m_pVideoPlayer, &KTVideoPlayer::setStatusViewType, code,
                       kStatusViewDelaySeconds);
}

bool CAVPlayer::hasSoundOnly() {
  return m_pUIProxy && m_pUIProxy->mediaType() == avcapture::kMediaTypeAudio;
}

bool CAVPlayer::isNBRMode() { return propertyWithKey(kAVMediaNBRModeProperty).boolValue(); }
