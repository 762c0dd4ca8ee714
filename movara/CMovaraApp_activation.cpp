// Activation: the object's view and player, and what the platform and the host are told about them.
#include "movara/CMovaraApp.h"
#include "movara/UnlessOutOfMemory.h"
#include "movara/common/Trace.h"
#include "movara/player/KTAVPlayer.h"

namespace {

platform::Rect frameOf(const tagUCFRect& rect) {
  const auto [left, top, right, bottom] = rect;
  return {{static_cast<double>(left), static_cast<double>(top)},
          {static_cast<double>(right) - left, static_cast<double>(bottom) - top}};
}

unsigned long handleOf(const void* view) { return reinterpret_cast<std::uintptr_t>(view); }

}  // namespace

UCFResult CMovaraApp::IsReleaseOnKillActive(UCFUsageMode mode) {
  m_usageMode = mode;
  return UCF_OK;
}

UCFResult CMovaraApp::OnSetActive(unsigned char /*active*/) {
  const Entry entry(*this);
  return unlessOutOfMemory(UCF_OK, [&]() -> UCFResult {
    setItemState(UCF_ITEM_801, 0);
    return UCF_OK;
  });
}

UCFResult CMovaraApp::OnKillActive() {
  const Entry entry(*this);
  return unlessOutOfMemory(UCF_OK, [&]() -> UCFResult {
    MacInfoTrace2(kTraceModule, "CMovaraApp::OnKillActive, this = %x", traceAddress(this));
    if (m_usageMode != UCF_USAGE_KEEP_ITEM_STATES) {
      setItemState(UCF_ITEM_800, 1);
      setItemState(UCF_ITEM_801, 1);
    }
    return UCF_OK;
  });
}

UCFResult CMovaraApp::DrawInactiveUI(void* /*parentView*/, tagUCFRect* /*rect*/) { return UCF_OK; }

UCFResult CMovaraApp::CreateActiveUI(void* parentView, tagUCFRect* rect) {
  const Entry entry(*this);
  return unlessOutOfMemory(UCF_E_CREATE_FAILED, [&]() -> UCFResult {
    const bool firstActivation = m_bFirstActive;
    if (m_bNBRMode) {
      m_svsMgr.SetSVSState(SVS_REGISTERCHANNEL_SUCCESS);  // a recording has no channel to wait for
    }
    if (firstActivation) {
      activateFirst();
    } else if (!m_svsMgr.IsSourceChannel()) {
      MacInfoTrace2(
          kTraceModule,
          "CMovaraApp::CreateActiveUI active again, tell mmp the render of listener, this "
          "= 0x%x ",
          traceAddress(this));
      attachListenerRender();
    }
    MacInfoTrace2(kTraceModule, "CMovaraApp::CreateActiveUI, this = 0x%x ", traceAddress(this));
    if (!m_pContainer) {
      return UCF_E_NO_CONTAINER;
    }
    if (!parentView || !rect) {
      return UCF_E_INVALID_ARG;
    }

    placeViews(static_cast<platform::View*>(parentView), *rect);
    setItemState(UCF_ITEM_800, 0);
    if (m_bTornDown) {
      return UCF_OK;
    }
    m_svsMgr.removeAllActiveStatusFromBuffer();
    if (!m_svsMgr.IsSourceChannel()) {
      activateListener();
    } else if (!activateSource()) {
      return UCF_OK;
    }
    if (player()) {
      player()->active();
    }
    MacInfoTrace2(kTraceModule, "Tell mmp my active status, MM_MEDIASTREAMING_PD_ACTIVE");
    m_svsMgr.UpdatePlayerStatus(MM_MEDIASTREAMING_PD_ACTIVE, 0, 0);
    announceRecordingPlayback(firstActivation);
    updateListenerRender();
    tagQuery query{};
    probeSession(query);  // the answer is not used
    if (player()) {
      const bool presenter = (GetCurrentRole() & UCF_ROLE_PRESENTER) != 0;
      MacInfoTrace2(kTraceModule, "Active UI, My role now is %s",
                    presenter ? "presenter" : "attendee");
      if (player()) {
        player()->SetPresenter(presenter ? 1 : 0);
      }
    }
    return UCF_OK;
  });
}

void CMovaraApp::activateFirst() {
  if (!m_bNBRMode) {
    tagQuery probe{};
    const bool answered = probeSession(probe);
    m_svsMgr.SetSVSState(SVS_INIT);
    if (answered && probe.dwResult == 0) {
      m_nRegisterCountdown = kRegisterCountdownTicks;
    }
    if (!m_svsMgr.IsSourceChannel()) {
      tagQuery query{};
      query.nQueryType = MM_MEDIASTREAMING_QUERY_CHANNEL_STATUS;
      query.dwResult = m_svsMgr.sourceID();
      if (m_svsMgr.QueryState(&query)) {
        injectChannelStatus(query.dwChannelStatus);
      }
    }
  }
  m_bFirstActive = false;
}

bool CMovaraApp::probeSession(tagQuery& query) {
  query.nQueryType = MM_MEDIASTREAMING_QUERY_SESSION_PROBE;
  return m_svsMgr.QueryState(&query);
}

// Has a channel status handled as if the platform had reported it.
void CMovaraApp::injectChannelStatus(std::uint32_t status) {
  tagMSChannelStatus record{};
  record.head = {m_svsMgr.sessionID(), m_svsMgr.sourceID()};
  record.dwStatus = status;
  RouteMessage(MODULE_TYPE_MMP, MODULE_TYPE_SVS, ROUTE_TYPE_MEDIASTREAMING,
               MM_MEDIASTREAMING_MSSTATUS_CHANNEL_STATUS, &record, nullptr);
}

void CMovaraApp::attachListenerRender() {
  if (player()) {
    m_svsMgr.SetRender(handleOf(player()->getListenRenderView()), MM_MEDIASTREAMING_RENDER_ATTACH);
  }
}

void CMovaraApp::placeViews(platform::View* parentView, const tagUCFRect& rect) {
  if (!isEmbedded()) {
    m_parentView = parentView;
    return;
  }
  m_rect = rect;
  if (!m_containerView) {
    m_containerView = std::make_shared<platform::View>(frameOf(m_rect));
  }
  m_containerView->setAutoresizingMask(platform::kViewNotSizable);
  m_parentView = m_containerView.get();
  if (m_containerView->superview() != parentView) {
    parentView->addSubview(m_containerView);
  }
}

void CMovaraApp::createPlayer(MM_MEDIASTREAMING_CHANNLE_TYPE type) {
  m_pAVRender.store(new CAVPlayer(this, type), std::memory_order_release);
}

void CMovaraApp::buildPlayer(MM_MEDIASTREAMING_CHANNLE_TYPE type) {
  createPlayer(type);
  m_svsMgr.SetChannelType(type);
  try {
    player()->parentViewChanged(m_parentView);
    player()->CreateUI();
    player()->setPropertyWithKey(kAVMovieEmbedMode, isEmbedded());
    m_svsMgr.setPlayer(player());
  } catch (...) {
    endPlayer();  // the next activation makes a whole one
    throw;
  }
}

// False when the activation ends here.
bool CMovaraApp::activateSource() {
  if (player()) {
    player()->parentViewChanged(m_parentView);
  } else {
    buildPlayer(MM_MEDIASTREAMING_CHANNEL_SOURCE);
  }
  if (m_svsMgr.GetSVSState() == SVS_JOINSESSION_SUCCESS) {
    try {
      m_svsMgr.SetSVSState(SVS_INIT);
    } catch (...) {
      return false;
    }
    m_nRegisterCountdown = kRegisterCountdownTicks;
  }
  return true;
}

void CMovaraApp::activateListener() {
  if (player()) {
    player()->parentViewChanged(m_parentView);
    return;
  }
  buildPlayer(MM_MEDIASTREAMING_CHANNEL_LISTENER);
  for (const std::uint32_t id : {STM_PARAMETER_MEDIA_INFO, STM_PARAMETER_PROVIDER_CRASHED}) {
    if (m_pRuntime) {
      m_pRuntime->RequestParameterData(static_cast<std::int32_t>(id));
    }
  }
  GetRemoteJoinSessionFailedMsg();
  if (m_bNBRMode && player()) {
    player()->setPropertyWithKey(kAVMediaMediaTypeProperty,
                                 static_cast<std::int32_t>(m_mediaContent));
  }
}

void CMovaraApp::announceRecordingPlayback(bool firstActivation) {
  if (!player() || (m_bNBRMode && !firstActivation)) {
    return;
  }
  player()->setPropertyWithKey(kAVMediaNBRModeProperty, m_bNBRMode);
  if (m_bNBRMode) {
    player()->SetNBRMode(1);
    injectChannelStatus(MM_MEDIA_STREAMING_CHANNEL_STATUS_JOIN_SUCCESS);
    attachListenerRender();
  }
}

// Tells the platform in which view an embedded listener draws.
void CMovaraApp::updateListenerRender() {
  if (m_svsMgr.IsSourceChannel() || !isEmbedded() || !player()) {
    return;
  }
  tagMSRenderView view{};
  view.hRenderView = handleOf(player()->getListenRenderView());
  view.nViewKind = MM_MEDIASTREAMING_VIEW_KIND;
  m_svsMgr.UpdateRenderMsg(MM_MEDIASTREAMING_UPDATE_VIEW, &view, view.hRenderView);
}

UCFResult CMovaraApp::DestroyActiveUI() {
  const Entry entry(*this);
  return unlessOutOfMemory(UCF_OK, [&]() -> UCFResult {
    MacInfoTrace2(kTraceModule, "CMovaraApp::DestroyActiveUI, this = 0x%x ", traceAddress(this));
    if (player()) {
      player()->deactive();
    }
    if (m_containerView) {
      m_containerView->removeFromSuperview();
    }
    if (m_usageMode != UCF_USAGE_KEEP_ITEM_STATES) {
      for (const std::uint32_t item : {UCF_ITEM_800, UCF_ITEM_801, UCF_ITEM_802, UCF_ITEM_803}) {
        setItemState(item, 0);
      }
    }
    m_svsMgr.removeAllActiveStatusFromBuffer();
    m_svsMgr.UpdatePlayerStatus(MM_MEDIASTREAMING_PD_INACTIVE, 0, 0);
    if (!m_svsMgr.IsSourceChannel()) {
      m_svsMgr.SetRender(0, MM_MEDIASTREAMING_RENDER_DETACH);
    }
    savePlayerState();
    return UCF_OK;
  });
}

void CMovaraApp::savePlayerState() {
  if (!player()) {
    return;
  }
  tagStmVideoStatus states;
  states.nCurPos = positionMs();
  states.nVolume = player()->GetVolume();
  states.nStatus = player()->GetStatus();
  states.bMute = player()->GetMute() ? 1 : 0;
  states.bFullScreen = player()->IsFullscreen() ? 1 : 0;
  SetLstStates(states);
}

void CMovaraApp::setItemState(std::uint32_t item, std::uint32_t state) {
  if (m_pRuntime) {
    m_pRuntime->SetItemState(item, state, 0);
  }
}

void CMovaraApp::OnPositionChanged(tagUCFRect* rect) {
  const Entry entry(*this);
  unlessOutOfMemory([&] {
    if (isEmbedded() && rect) {
      m_rect = *rect;
      if (m_containerView) {
        m_containerView->setFrame(frameOf(m_rect));
      }
    }
    if (player()) {
      player()->setFrame(rect);
    }
  });
}

void CMovaraApp::OnParentWindowChanged(void* parentView) {
  const Entry entry(*this);
  unlessOutOfMemory([&] {
    MacInfoTrace2(kTraceModule, "CMovaraApp::OnParentWindowChanged, this = 0x%x ",
                  traceAddress(this));
    if (player() && !player()->isActive()) {
      return;
    }
    auto* const view = static_cast<platform::View*>(parentView);
    if (isEmbedded()) {
      if (view && m_containerView) {
        view->addSubview(m_containerView);
      }
      return;
    }
    if (player()) {
      player()->parentViewChanged(view);
    }
    m_parentView = view;
  });
}

void CMovaraApp::OnUserRoleChanged(unsigned int role) {
  const Entry entry(*this);
  unlessOutOfMemory([&] {
    if (!player()) {
      return;
    }
    const bool presenter = (role & UCF_ROLE_PRESENTER) != 0;
    MacInfoTrace2(kTraceModule, "My role now is %s", presenter ? "presenter" : "attendee");
    player()->SetPresenter(presenter ? 1 : 0);
  });
}
