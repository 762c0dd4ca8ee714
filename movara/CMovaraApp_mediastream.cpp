// What the platform reports about the channel and about the presenter's player.
#include <array>

#include "movara/CMovaraApp.h"
#include "movara/common/Trace.h"
#include "movara/player/KTAVPlayer.h"

namespace {

struct PlayStatusRow {
  std::int32_t playerStatus;  // under kAVMovieStatusProperty
  const char* name;
};

// By MM_MEDIA_STREAMING_PLAYSTATUS.
constexpr std::array<PlayStatusRow, 6> kPlayStatusTable = {{
    {kPlayerStatusPlaying, "MM_MEDIA_STREAMING_PLYASTATUS_PLAYING"},
    {kPlayerStatusPaused, "MM_MEDIA_STREAMING_PLYASTATUS_PAUSE"},
    {kListenerStatusRebuffering, "MM_MEDIA_STREAMING_PLYASTATUS_REBUFFER"},
    {kPlayerStatusStopped, "MM_MEDIA_STREAMING_PLYASTATUS_STOP"},
    {kListenerStatusProviderCrashed, "MM_MEDIA_STREAMING_PLYASTATUS_PROVIDER_CRASH"},
    {kListenerStatusMovieInvalid, "SVS_REST_MOVIE_INVALID"},
}};

}  // namespace

void CMovaraApp::handleMediaStreamMessage(unsigned long uMsg, void* wParam) {
  constexpr unsigned long kUnnamedAndIgnored = 1;
  if (isClosedToMessages()) {
    return;
  }
  switch (uMsg) {
    case MM_MEDIASTREAMING_MSSTATUS_VIDEOQUALITY_INDICATE:
      onVideoQuality(static_cast<const tagMSVideoQuality*>(wParam));
      break;
    case kUnnamedAndIgnored:
      break;
    case MM_MEDIASTREAMING_MSSTATUS_CURRENT_PLAY_POSITION:
      onPlayPosition(static_cast<const tagMSPlayPosition*>(wParam));
      break;
    case MM_MEDIASTREAMING_MSSTATUS_CURRENT_PLAY_STATUS:
      onPlayStatus(static_cast<const tagMSPlayStatus*>(wParam));
      break;
    case MM_MEDIASTREAMING_MSSTATUS_CHANNEL_STATUS:
      onChannelStatus(static_cast<const tagMSChannelStatus*>(wParam));
      break;
    case MM_MEDIASTREAMING_MSSTATUS_VIDEO_INFORMATION:
      onVideoInformation(static_cast<const tagMSVideoInfo*>(wParam));
      break;
    default:
      MacWarnTrace2(kTraceModule, "CMovaraApp::handleMediaStreamMessage, unkown message , msg = %d",
                    static_cast<int>(uMsg));
      break;
  }
}

void CMovaraApp::onVideoQuality(const tagMSVideoQuality* quality) {
  if (m_svsMgr.IsSourceChannel()) {
    return;
  }
  if (!quality) {
    MacWarnTrace2(kTraceModule,
                  "CMovaraApp::handleMediaStreamMessage, msg = "
                  "MM_MEDIASTREAMING_MSSTATUS_VIDEOQUALITY_INDICATE, current vdQuality = NULL");
    return;
  }
  if (!isOwn(quality->head)) {
    MacInfoTrace2(kTraceModule,
                  "CMovaraApp::handleMediaStreamMessage, msg = "
                  "MM_MEDIASTREAMING_MSSTATUS_VIDEOQUALITY_INDICATE, not my message, this = 0x%x ",
                  traceAddress(this));
    return;
  }
  MacInfoTrace2(kTraceModule,
                "CMovaraApp::handleMediaStreamMessage current video quality = %d, fps = %f, this = "
                "0x%x ",
                quality->nQuality, static_cast<double>(quality->fFps), traceAddress(this));
  if (player()) {
    player()->setPropertyWithKey(kAVMovieFPSProperty, quality->fFps);
  }
}

void CMovaraApp::onPlayPosition(const tagMSPlayPosition* position) {
  if (!position || m_svsMgr.IsSourceChannel() || !isOwn(position->head) || !player()) {
    return;
  }
  const float duration = player()->GetDuration();
  const auto positionMs = static_cast<float>(position->dwPosition);
  const float seconds = positionMs >= 1000.0F * duration ? duration : positionMs / 1000.0F;
  player()->setPropertyWithKey(kAVMovieCurTimeProperty, seconds);
}

void CMovaraApp::onPlayStatus(const tagMSPlayStatus* status) {
  if (m_svsMgr.IsSourceChannel()) {
    return;
  }
  if (!status) {
    MacWarnTrace2(kTraceModule,
                  "CMovaraApp::handleMediaStreamMessage, msg = "
                  "MM_MEDIASTREAMING_MSSTATUS_CURRENT_PLAY_STATUS, current playStatus = NULL, this "
                  "= 0x%x ",
                  traceAddress(this));
    return;
  }
  if (!isOwn(status->head)) {
    MacInfoTrace2(kTraceModule,
                  "CMovaraApp::handleMediaStreamMessage, msg = "
                  "MM_MEDIASTREAMING_MSSTATUS_CURRENT_PLAY_STATUS, not my message, this = 0x%x ",
                  traceAddress(this));
    return;
  }
  if (status->dwPlayStatus >= kPlayStatusTable.size() || !player()) {
    return;
  }
  const PlayStatusRow& row = kPlayStatusTable[status->dwPlayStatus];
  player()->setPropertyWithKey(kAVMovieStatusProperty, row.playerStatus);
  player()->playerStatusChanged();
  MacInfoTrace2(kTraceModule, "Receive %s, docid = %d, this = 0x%x ", row.name,
                static_cast<int>(m_svsMgr.sourceID()), traceAddress(this));
}

void CMovaraApp::onChannelStatus(const tagMSChannelStatus* status) {
  if (!status) {
    MacWarnTrace2(kTraceModule, "pChannelStatus is NULL, this = 0x%x ", traceAddress(this));
    return;
  }
  if (!isOwn(status->head)) {
    return;
  }
  MacInfoTrace2(kTraceModule, "Curent chanel status is = %d, this = 0x%x ",
                static_cast<int>(status->dwStatus), traceAddress(this));
  const SvsState state = m_svsMgr.GetSVSState();
  if (state == SVS_JOINSESSION_FAILED) {
    return;
  }
  switch (status->dwStatus) {
    case MM_MEDIA_STREAMING_CHANNEL_STATUS_CREATE_CONFIRM:
      onChannelCreated();
      break;
    case MM_MEDIA_STREAMING_CHANNEL_STATUS_JOIN_SUCCESS:
      if (state != SVS_REGISTERCHANNEL_SUCCESS) {
        onChannelJoined();
      }
      break;
    case MM_MEDIA_STREAMING_CHANNEL_STATUS_REGISTER_FAILED:
      if (state != SVS_REGISTERCHANNEL_SUCCESS) {
        MacInfoTrace2(kTraceModule,
                      "CMovaraApp::handleMediaStreamMessage,SVS_REGISTERCHANNEL_FAILED back, this "
                      "= 0x%x ",
                      traceAddress(this));
        m_svsMgr.SetSVSState(SVS_REGISTERCHANNEL_FAILED);
      }
      break;
    default:
      break;
  }
}

void CMovaraApp::onChannelJoined() {
  MacInfoTrace2(kTraceModule,
                "CMovaraApp::handleMediaStreamMessage,MM_MEDIA_STREAMING_CHANNEL_STATUS_JOIN_"
                "SUCCESS back, this = 0x%x ",
                traceAddress(this));
  if (player() && player()->isFailoverProcessing()) {
    player()->setFailoverStatus(0);  // the reconnect is over
  }
  m_svsMgr.SetSVSState(SVS_REGISTERCHANNEL_SUCCESS);
  updateListenerRender();
}

void CMovaraApp::onChannelCreated() {
  MacInfoTrace2(kTraceModule,
                "CMovaraApp::handleMediaStreamMessage,MM_MEDIA_STREAMING_CHANNEL_STATUS_CREATE_"
                "CONFIRM back, this = 0x%x ",
                traceAddress(this));
  const SvsState state = m_svsMgr.GetSVSState();
  if (state == SVS_REGISTERCHANNEL_SUCCESS || state == SVS_REGISTERCHANNEL_FAILED) {
    if (!m_svsMgr.IsSourceChannel()) {
      m_bRegistered = false;
      if (m_pRuntime) {
        m_pRuntime->RequestParameterData(STM_PARAMETER_MEDIA_INFO);
      }
    }
    MacInfoTrace2(kTraceModule,
                  "CMovaraApp::handleMediaStreamMessage,MM_MEDIA_STREAMING_CHANNEL_STATUS_CREATE_"
                  "CONFIRM back, it is a reconnect action, this = 0x%x ",
                  traceAddress(this));
  }
  m_svsMgr.SetSVSState(SVS_REGISTERCHANNEL_PENDING);
}

void CMovaraApp::onVideoInformation(const tagMSVideoInfo* info) {
  if (!info) {
    MacWarnTrace2(kTraceModule,
                  "MM_MEDIASTREAMING_MSSTATUS_VIDEO_INFORMATION, info = NULL, this = 0x%x ",
                  traceAddress(this));
    return;
  }
  if (!isOwn(info->head) || info->dwInfoKind != MM_MEDIASTREAMING_VIDEO_INFO_SIZE) {
    return;
  }
  MacInfoTrace2(kTraceModule,
                "docid = %d Attendee receive vide info Width(%d), Height(%d), this = 0x%x ",
                static_cast<int>(info->head.sourceID), static_cast<int>(info->wWidth),
                static_cast<int>(info->wHeight), traceAddress(this));
  if (player()) {
    applyVideoSize(info->wWidth, info->wHeight);
  }
}

bool CMovaraApp::applyVideoSize(int width, int height) {
  if (player()->propertyWithKey(kAVMediaSizeWidthProperty).intValue() == width &&
      player()->propertyWithKey(kAVMovieSizeHeightProperty).intValue() == height) {
    return false;
  }
  player()->setPropertyWithKey(kAVMediaSizeWidthProperty, width);
  player()->setPropertyWithKey(kAVMovieSizeHeightProperty, height);
  player()->videoSizeChanged();
  return true;
}
