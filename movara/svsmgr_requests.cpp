// The requests: which test comes before which, what is sent at once and what is held, and the
// record of each.
#include "movara/MainThreadWarning.h"
#include "movara/svsmgr.h"

namespace {

// A zeroed record on the C heap, or null.
template <class Record>
Record* allocateRecord() {
  return static_cast<Record*>(std::calloc(1, sizeof(Record)));  // NOLINT(*-no-malloc)
}

}  // namespace

bool SVSMgr::StartStreamingVideoSession() {
  return hasRouter() && route(MODULE_TYPE_MMP, SVS_MSG_START_SESSION, 0, nullptr, nullptr) != 0;
}

bool SVSMgr::StopStreamingVideoSession() {
  return hasRouter() && route(MODULE_TYPE_MMP, SVS_MSG_STOP_SESSION, 0, nullptr, nullptr) != 0;
}

bool SVSMgr::RegisterStreamingVideoSharing(unsigned long duration,
                                           MM_MEDIASTREAMING_MEDIACONTENENT content) {
  const platform::Lock guard(*m_pLock);
  warnOffMainThread("SVSMgr::RegisterStreamingVideoSharing, should in mainThread");
  if (!m_pMsgRouter) {
    return false;
  }
  auto* const record = allocateRecord<tagMSRegisterInfo>();
  Payload payload(record);
  if (!record) {
    return false;
  }
  record->head = head();
  record->eChannelType = m_eChannelType;
  record->dwDuration = duration;
  record->eMediaContent = content;
  return IsSourceChannel() ? registerSource(std::move(payload), duration, content)
                           : registerListener(std::move(payload));
}

bool SVSMgr::registerListener(Payload payload) {
  if (m_eState != SVS_REGISTERCHANNEL_PENDING) {
    hold(MM_MEDIASTREAMING_CMD_REGISTER, std::move(payload));
    MacInfoTrace2(kTraceModule, "listen register info to buffer, this = 0x%x ", traceAddress(this));
    return true;
  }
  const bool sent = send(MM_MEDIASTREAMING_CMD_REGISTER, payload.get());
  MacInfoTrace2(kTraceModule, "listen register info sended, this = 0x%x ", traceAddress(this));
  return sent;
}

bool SVSMgr::registerSource(Payload payload, unsigned long duration,
                            MM_MEDIASTREAMING_MEDIACONTENENT content) {
  if (m_eState != SVS_OPENFILE_SUCCESS) {
    MacInfoTrace2(kTraceModule,
                  "Source register info into buffer, this = 0x%x, sourceID = %lu, sessionID = %lu, "
                  "duration = %lu, mediaContent = %lu ",
                  traceAddress(this), m_nSourceID, m_nSessionID, duration,
                  static_cast<unsigned long>(content));
    hold(MM_MEDIASTREAMING_CMD_REGISTER, std::move(payload));
    return true;
  }
  const bool sent = send(MM_MEDIASTREAMING_CMD_REGISTER, payload.get());
  MacInfoTrace2(kTraceModule,
                "Source register info sended, this = 0x%x, sourceID = %lu, sessionID = %lu, "
                "duration = %lu, mediaContent = %lu ",
                traceAddress(this), m_nSourceID, m_nSessionID, duration,
                static_cast<unsigned long>(content));
  return sent;
}

bool SVSMgr::UnRegisterStreamingVideoSharing() {
  MacInfoTrace2(kTraceModule, "UnRegisterStreamingVideoSharing, this = 0x%x ", traceAddress(this));
  const platform::Lock guard(*m_pLock);
  warnOffMainThread("SVSMgr::UnRegisterStreamingVideoSharing, should in mainThread");
  if (!m_bDataReady || !m_pMsgRouter) {
    return false;
  }
  tagMSUnRegisterInfo record{};
  record.head = head();
  record.eChannelType = m_eChannelType;
  send(MM_MEDIASTREAMING_CMD_UNREGISTER, &record);
  return true;
}

bool SVSMgr::UpdatePlayerStatus(MM_MEDIASTREAMING_SOURCE_STATUS status, long position,
                                unsigned long seekMark) {
  const platform::Lock guard(*m_pLock);
  if (!m_pMsgRouter) {
    return false;
  }
  warnOffMainThread("SVSMgr::UpdatePlayerStatus, should in mainThread");
  auto* const record = allocateRecord<tagMSSourceStatus>();
  Payload payload(record);
  if (!record) {
    return false;
  }
  record->head = head();
  record->eChannelType = m_eChannelType;
  record->eStatus = status;
  record->lPosition = position;
  record->dwSeekMark = seekMark;
  if (isState(SVS_REGISTERCHANNEL_SUCCESS, SVS_REGISTERCHANNEL_PENDING) ||
      status == MM_MEDIASTREAMING_PD_INACTIVE) {
    send(MM_MEDIASTREAMING_CMD_SOURCE_STATUS, record);
    MacInfoTrace2(kTraceModule, "UpdatePlayerStatus, status = %d, sended, this = 0x%x ",
                  static_cast<int>(status), traceAddress(this));
  } else {
    hold(MM_MEDIASTREAMING_CMD_SOURCE_STATUS, std::move(payload));
    MacInfoTrace2(kTraceModule, "UpdatePlayerStatus, status = %d to buffer, this = 0x%x ",
                  static_cast<int>(status), traceAddress(this));
  }
  return true;
}

bool SVSMgr::SetSourceMediaFormat(MM_MEDIASTREAMING_MEDIATYPE type, void* format,
                                  unsigned long size) {
  const platform::Lock guard(*m_pLock);
  if (!m_pMsgRouter || !IsSourceChannel()) {
    return false;
  }
  warnOffMainThread("SVSMgr::SetSourceMediaFormat, should in mainThread");
  auto* const record = allocateRecord<tagMSMediaFormat>();
  Payload payload(record);
  if (!record) {
    return false;
  }
  record->head = head();
  record->eMediaType = type;
  record->pFormat = format;
  record->dwFormatSize = size;
  if (m_eState == SVS_REGISTERCHANNEL_SUCCESS) {
    MacInfoTrace2(kTraceModule, "SetSourceMediaFormat sended, this = 0x%x ", traceAddress(this));
    send(MM_MEDIASTREAMING_CMD_MEDIA_FORMAT, record);
  } else {
    hold(MM_MEDIASTREAMING_CMD_MEDIA_FORMAT, std::move(payload));
    MacInfoTrace2(kTraceModule, "SetSourceMediaFormat to buffer, this = 0x%x ", traceAddress(this));
  }
  return true;
}

bool SVSMgr::SendMediaSampleData(tagMSDataStructure* sample) {
  const platform::Lock guard(*m_pLock);
  if (!sample || !m_bDataReady || !m_pMsgRouter) {
    return false;
  }
  sample->sessionID = m_nSessionID;
  sample->sourceID = m_nSourceID;
  send(MM_MEDIASTREAMING_CMD_MEDIA_DATA, sample);
  return true;
}

bool SVSMgr::SetRender(unsigned long handle, MM_MEDIASTREAMING_RENDER_TYPE type) {
  if (handle != 0 && handle == m_nRender) {
    MacWarnTrace2(kTraceModule, "Already have send out the render");
    return true;
  }
  const platform::Lock guard(*m_pLock);
  if (!m_pMsgRouter || IsSourceChannel()) {
    return false;
  }
  m_nRender = handle;  // a held request counts as sent, too
  warnOffMainThread("SVSMgr::SetRender, should in mainThread");
  auto* const record = allocateRecord<tagMSRenderInfo>();
  Payload payload(record);
  if (!record) {
    return false;
  }
  record->head = head();
  record->eChannelType = MM_MEDIASTREAMING_CHANNEL_LISTENER;
  record->eRenderType = type;
  record->hRender = handle;
  if (isState(SVS_REGISTERCHANNEL_PENDING, SVS_REGISTERCHANNEL_SUCCESS) ||
      type == MM_MEDIASTREAMING_RENDER_DETACH) {
    send(MM_MEDIASTREAMING_CMD_SET_RENDER, record);
    MacInfoTrace2(kTraceModule, "setRender sended, this = 0x%x ", traceAddress(this));
  } else {
    hold(MM_MEDIASTREAMING_CMD_SET_RENDER, std::move(payload));
    MacInfoTrace2(kTraceModule, "setRender to buffer, this = 0x%x ", traceAddress(this));
  }
  return true;
}

bool SVSMgr::UpdateRenderMsg(unsigned long kind, void* param, unsigned long handle) {
  {
    const platform::Lock guard(*m_pLock);
    if (!mayUpdateListener()) {
      return false;
    }
    if (!platform::isMainThread()) {
      MacWarnTrace2(kTraceModule, "SVSMgr::UpdateRenderMsg, should in mainThread,, this = 0x%x ",
                    traceAddress(this));
    }
    tagMSRenderUpdate record{};
    record.head = head();
    record.eChannelType = MM_MEDIASTREAMING_CHANNEL_LISTENER;
    record.hRender = handle;
    record.dwUpdateKind = kind;
    record.pUpdateParam = param;
    send(MM_MEDIASTREAMING_CMD_UPDATE_RENDER, &record);
  }
  MacInfoTrace2(kTraceModule, "UpdateRenderMsg sended, this = 0x%x ", traceAddress(this));
  return true;
}

bool SVSMgr::UpdateVolume(unsigned short level) {
  {
    const platform::Lock guard(*m_pLock);
    warnOffMainThread("SVSMgr::UpdateVolume(unsigned short volumeLevel), should in mainThread");
    if (!mayUpdateListener()) {
      return false;
    }
    tagMSVolumeInfo record{};
    record.head = head();
    record.eChannelType = m_eChannelType;
    record.wVolumeLevel = level;
    send(MM_MEDIASTREAMING_CMD_VOLUME, &record);
  }
  MacInfoTrace2(kTraceModule, "Update volume, current volumeLevel = %d", static_cast<int>(level));
  return true;
}

bool SVSMgr::UpdateMuteStatus(MM_MEDIASTREAMING_MUTESTATUS status) {
  const platform::Lock guard(*m_pLock);
  if (!mayUpdateListener()) {
    return false;
  }
  warnOffMainThread("SVSMgr::UpdateMuteStatus, should in mainThread");
  tagMSMuteInfo record{};
  record.head = head();
  record.eChannelType = m_eChannelType;
  record.eMuteStatus = status;
  send(MM_MEDIASTREAMING_CMD_MUTE_STATUS, &record);
  return true;
}

bool SVSMgr::QueryState(tagQuery* query) {
  const platform::Lock guard(*m_pLock);
  warnOffMainThread("SVSMgr::QueryState, should in mainThread");
  query->sessionID = m_nSessionID;
  return m_pMsgRouter && send(MM_MEDIASTREAMING_CMD_QUERY, query);
}

void SVSMgr::stopAdvancePage() {
  if (hasRouter()) {
    MacInfoTrace2(kTraceModule, "SourceID(%d) StopAdvancePage", static_cast<int>(sourceID()));
    route(MODULE_TYPE_MMP, SVS_MSG_STOP_ADVANCE_PAGE, 0, nullptr, nullptr);
  }
}
