// Routed messages: what the session and the platform report, turned into channel states, player
// properties and requests.
#include <array>
#include <cstring>

#include "movara/CMovaraApp.h"
#include "movara/common/Trace.h"
#include "movara/player/KTAVPlayer.h"
#include "ucf/SessionMessages.h"

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

UCFResult CMovaraApp::RouteMessage(enumMODULE_TYPE /*from*/, enumMODULE_TYPE /*to*/,
                                   unsigned long type, unsigned long uMsg, void* wParam,
                                   void* /*lParam*/) {
  const Entry entry(*this);
  if (m_bIgoreAllMessage) {
    MacInfoTrace2(kTraceModule,
                  "CMovaraApp::RouteMessage, m_bIgoreAllMessage = TRUE, just ignore all message");
    if (type != ROUTE_TYPE_SESSION ||
        (uMsg != SESSION_MSG_JOIN_FAILED && uMsg != SESSION_MSG_LEFT)) {
      return UCF_OK;
    }
  }
  if (uMsg != MM_MEDIASTREAMING_MSSTATUS_CURRENT_PLAY_POSITION) {  // too frequent to be logged
    MacInfoTrace2(kTraceModule, "CMovaraApp::RouteMessage, type = %d, uMsg = %d, this = 0x%x ",
                  static_cast<int>(type), static_cast<int>(uMsg), traceAddress(this));
  }
  switch (type) {
    case ROUTE_TYPE_MEDIASTREAMING:
      handleMediaStreamMessage(uMsg, wParam);
      break;
    case ROUTE_TYPE_NB:
      MacInfoTrace2(kTraceModule, "CMovaraApp::RouteMessage, current type is NB, this = 0x%x ",
                    traceAddress(this));
      break;
    case ROUTE_TYPE_SESSION:
      handleSessionMessage(uMsg, wParam);
      break;
    default:
      break;
  }
  return UCF_OK;
}

bool CMovaraApp::isAgendaDocument() {
  return m_pRuntime && m_pRuntime->RequestParameterData(UCF_QUERY_OWN_DOCUMENT) == 0;
}

void CMovaraApp::handleSessionMessage(unsigned long uMsg, void* wParam) {
  if (isAgendaDocument()) {
    return;
  }
  switch (uMsg) {
    case SESSION_MSG_JOIN_CONFIRM:
      onJoinConfirmed();
      break;
    case SESSION_MSG_JOIN_FAILED:
    case SESSION_MSG_LEFT:
      onSessionLost(uMsg, wParam);
      break;
    case SESSION_MSG_MAX_ATTENDEE_REACHED:
      MacInfoTrace2(kTraceModule,
                    "Reive max attendee reach request. just stop current media stream!");
      m_svsMgr.SetSVSState(SVS_MAX_ATTENDEE_REACHED);
      break;
    case SESSION_MSG_STOP_FOR_BANDWIDTH:
      MacInfoTrace2(kTraceModule,
                    "svc request stop svs for network bandwidth. just stop current media stream!");
      m_svsMgr.SetSVSState(SVS_STOPPED_FOR_BANDWIDTH);
      break;
    case SESSION_MSG_START_PLAY:
      if (player()) {
        player()->startPlay();
      }
      break;
    default:
      break;
  }
}

void CMovaraApp::onJoinConfirmed() {
  if (m_svsMgr.GetSVSState() != SVS_INIT) {
    return;
  }
  m_svsMgr.SetSVSState(SVS_JOINSESSION_SUCCESS);
  if (!m_svsMgr.IsSourceChannel()) {
    return;
  }
  try {
    startSource();
  } catch (const std::exception& exception) {
    if (isInstanceDestroyed(exception)) {
      throw;
    }
  }
}

// A source waits for its countdown before it opens its file.
void CMovaraApp::startSource() {
  if (m_nRegisterCountdown == 0) {
    m_svsMgr.SetSVSState(SVS_INIT);
    m_nRegisterCountdown = kRegisterCountdownTicks;
  } else if (m_nRegisterCountdown == kRegisterNow) {
    RenderFileName(m_strFileName);
  }
}

void CMovaraApp::onSessionLost(unsigned long uMsg, const void* wParam) {
  if (uMsg == SESSION_MSG_LEFT) {
    if (player()) {
      player()->Pause();
    }
    m_svsMgr.SetSVSState(SVS_SESSION_LEFT);
  } else {
    m_svsMgr.SetSVSState(SVS_JOINSESSION_FAILED);
  }
  m_bIgoreAllMessage = true;
  if (m_svsMgr.IsSourceChannel()) {
    SendJoinSessionFailedMsg(SVS_USER_EVERYBODY);
  }
  if (uMsg != SESSION_MSG_JOIN_FAILED || !wParam || m_bNBRMode) {
    return;
  }
  std::int32_t code = 0;
  std::memcpy(&code, wParam, sizeof(code));
  if (code == SESSION_ERR_MAX_LIMIT) {
    MacWarnTrace2(kTraceModule, "reach max limit!");
    m_svsMgr.SetSVSState(SVS_MAX_ATTENDEE_REACHED);
  }
}

void CMovaraApp::handleMediaStreamMessage(unsigned long uMsg, void* wParam) {
  constexpr unsigned long kUnnamedAndIgnored = 1;
  if (isAgendaDocument()) {
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
