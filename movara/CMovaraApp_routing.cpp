// Routed messages, and what the session reports.
#include <cstring>

#include "movara/CMovaraApp.h"
#include "movara/UnlessOutOfMemory.h"
#include "movara/common/Trace.h"
#include "movara/player/KTAVPlayer.h"
#include "ucf/SessionMessages.h"

UCFResult CMovaraApp::RouteMessage(enumMODULE_TYPE /*from*/, enumMODULE_TYPE /*to*/,
                                   unsigned long type, unsigned long uMsg, void* wParam,
                                   void* /*lParam*/) {
  const Entry entry(*this);
  return unlessOutOfMemory(UCF_OK, [&]() -> UCFResult {
    if (m_bTornDown) {
      return UCF_OK;
    }
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
  });
}

// Whether routed messages are dropped: in the agenda document, and when the host has released the
// object from within the question.
bool CMovaraApp::isClosedToMessages() {
  return m_pRuntime &&
         (m_pRuntime->RequestParameterData(UCF_QUERY_OWN_DOCUMENT) == 0 || m_bTornDown);
}

void CMovaraApp::handleSessionMessage(unsigned long uMsg, void* wParam) {
  if (isClosedToMessages()) {
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
  } catch (...) {
    if (isInstanceDestroyed(std::current_exception())) {
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
