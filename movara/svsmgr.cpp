#include "movara/svsmgr.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "movara/MainThreadWarning.h"
#include "movara/player/KTAVPlayer.h"

SVSMgr::SVSMgr() : m_pLock(std::make_unique<RequestLock>()) {
// The router fills both identifiers as the head of a record has them.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
  static_assert(offsetof(SVSMgr, m_nSourceID) == offsetof(SVSMgr, m_nSessionID) + 8);
#pragma GCC diagnostic pop
}

SVSMgr::~SVSMgr() = default;

void SVSMgr::SetMsgRouter(IUCFMsgRouter* router, signed char embed) {
  const platform::Lock guard(*m_pLock);
  warnOffMainThread("SVSMgr::SetMsgRouter, should in mainThread");
  m_pMsgRouter = router;
  if (m_pMsgRouter) {
    route(MODULE_TYPE_CONF, embed != 0 ? SVS_MSG_GET_IDS_EMBED : SVS_MSG_GET_IDS, 0, &m_nSessionID,
          &m_nSourceID);
  }
}

void SVSMgr::DetachMsgRouter() {
  const platform::Lock guard(*m_pLock);
  m_pMsgRouter = nullptr;
}

void SVSMgr::SetSVSState(SvsState state) {
  m_eState = state;
  warnOffMainThread("SVSMgr::SetSVSState, should in mainThread");

  const SvsState releasesRegistration =
      IsSourceChannel() ? SVS_OPENFILE_SUCCESS : SVS_JOINSESSION_SUCCESS;
  if (state == releasesRegistration) {
    ExecuteMSCommand(MM_MEDIASTREAMING_CMD_REGISTER);
  }
  if (state == SVS_REGISTERCHANNEL_PENDING && !IsSourceChannel()) {
    ExecuteMSCommand(MM_MEDIASTREAMING_CMD_REGISTER);
    ExecuteMSCommand(MM_MEDIASTREAMING_CMD_SOURCE_STATUS);
    ExecuteMSCommand(MM_MEDIASTREAMING_CMD_SET_RENDER);
    MacInfoTrace2(kTraceModule,
                  "Current status is SVS_REGISTERCHANNEL_PENDING, Lintener send reginster, status, "
                  "render out, this = 0x%x ",
                  traceAddress(this));
  }
  if (state == SVS_REGISTERCHANNEL_SUCCESS) {
    ExecuteAllMsCommand();
    m_bDataReady = true;
    MacInfoTrace2(kTraceModule, "Send all mmp command + data out, this = 0x%x ",
                  traceAddress(this));
  } else {
    m_bDataReady = false;
  }
  if (m_pPlayer) {
    m_pPlayer->onSVSStateChanged(state);
  }
}

void SVSMgr::setPlayer(CAVPlayer* player) {
  m_pPlayer = player;
  if (m_pPlayer) {
    m_pPlayer->onSVSStateChanged(m_eState);
  }
}

void SVSMgr::ExecuteMSCommand(MM_MEDIASTREAMING_COMMAND command) {
  warnOffMainThread("SVSMgr::ExecuteMSCommand, should in mainThread");
  const auto found =
      std::find_if(m_vecCommands.begin(), m_vecCommands.end(),
                   [command](const auto& entry) { return entry.eCommand == command; });
  if (found != m_vecCommands.end() && hasRouter()) {
    sendHeld(found);
  }
}

void SVSMgr::ExecuteAllMsCommand() {
  warnOffMainThread("SVSMgr::ExecuteAllMsCommand, should in mainThread");
  // At most as many as are held now: the router's answers may hold more, and without end.
  for (auto left = m_vecCommands.size(); left > 0 && !m_vecCommands.empty() && hasRouter();
       --left) {
    sendHeld(m_vecCommands.begin());
  }
}

// Out of the buffer before it is sent: the router may come back and flush or purge.
void SVSMgr::sendHeld(HeldCommands::iterator held) {
  const tagMediaStreamingCommand entry = std::move(*held);
  m_vecCommands.erase(held);
  send(entry.eCommand, entry.pPayload.get());
}

void SVSMgr::removeAllActiveStatusFromBuffer() {
  std::erase_if(m_vecCommands, [](const auto& entry) {
    if (entry.eCommand != MM_MEDIASTREAMING_CMD_SOURCE_STATUS || !entry.pPayload) {
      return false;
    }
    const auto status = static_cast<const tagMSSourceStatus*>(entry.pPayload.get())->eStatus;
    return status == MM_MEDIASTREAMING_PD_ACTIVE || status == MM_MEDIASTREAMING_PD_INACTIVE;
  });
}

UCFResult SVSMgr::route(enumMODULE_TYPE to, SVS_MSG_TYPE type, unsigned long uMsg, void* wParam,
                        void* lParam) const {
  return m_pMsgRouter->RouteMessage(MODULE_TYPE_SVS, to, type, uMsg, wParam, lParam);
}

bool SVSMgr::send(MM_MEDIASTREAMING_COMMAND command, void* record) const {
  const auto uMsg = static_cast<unsigned long>(command);
  return route(MODULE_TYPE_MMP, SVS_MSG_MS_COMMAND, uMsg, record, nullptr) != 0;
}

void SVSMgr::hold(MM_MEDIASTREAMING_COMMAND command, Payload payload) {
  m_vecCommands.push_back({command, std::move(payload)});
}
