// Construction, end and the small operations of the application object.
#include "movara/CMovaraApp.h"

#include <vector>

#include "avcapture/Keys.h"
#include "movara/StringHelpers.h"
#include "movara/UnlessOutOfMemory.h"
#include "movara/common/Trace.h"
#include "movara/player/KTAVPlayer.h"
#include "platform/Exception.h"

CMovaraApp::CMovaraApp(IUCFContainerBase* container, UCFCtx ctx)
    : m_pContainer(container), m_ctx(ctx) {}

// With the object constructed by the delegate, an exception from the host ends in the destructor,
// which takes back what has been started.
CMovaraApp::CMovaraApp(IUCFContainerBase* container, char* /*name*/, UCFCtx ctx, void* fileName,
                       void* /*reserved*/, unsigned char /*reserved2*/, unsigned char& /*ok*/)
    : CMovaraApp(container, ctx) {
  void* router = nullptr;
  if (m_pContainer) {
    m_pContainer->GetUCFInterface(UCF_IID_OBJECT_MSG_ROUTER, &router);
  }
  if (router) {
    m_svsMgr.SetMsgRouter(static_cast<IUCFMsgRouter*>(router), isEmbedded() ? 1 : 0);
    m_svsMgr.StartStreamingVideoSession();
  } else {
    MacWarnTrace2(kTraceModule,
                  "CMovaraApp::CMovaraApp, get UCF_IID_OBJECT_MSG_ROUTER failed, returned value is "
                  "NULL");
  }

  void* runtime = nullptr;
  if (m_pContainer) {
    m_pContainer->GetUCFInterface(UCF_IID_CONTAINER_RUNTIME, &runtime);
  }
  m_pRuntime = static_cast<IUCFContainerRuntime*>(runtime);
  const auto* const name = static_cast<const char*>(fileName);
  if (m_pRuntime) {
    decideChannel(name);
  } else {
    MacWarnTrace2(kTraceModule,
                  "CMovaraApp::CMovaraApp get UCF_IID_CONTAINER_RUNTIME failed, returned value is "
                  "NULL");
  }
  m_bFirstActive = true;
  m_svsMgr.SetSVSState(SVS_INIT);
  decideMediaContent(name);
}

void CMovaraApp::decideChannel(const char* fileName) {
  m_bNBRMode = m_pRuntime->RequestParameterData(UCF_QUERY_LIVE_MEETING) == 0;
  const std::uint32_t role = m_pRuntime->GetCurrentRole();
  const bool ownDocument = m_pRuntime->RequestParameterData(UCF_QUERY_OWN_DOCUMENT) != 0;
  if ((role & UCF_ROLE_PRESENTER) == 0 && !ownDocument) {
    MacInfoTrace2(kTraceModule,
                  "current doc is agenda doc. regard it as listender in attendee side");
  }
  // The role plays no part in the decision.
  if (m_pRuntime->GetRuntimeMode() != UCF_RUNTIME_MODE_LISTENER && ownDocument) {
    MacInfoTrace2(kTraceModule, "Chanel type is source, just presenter, this = 0x%x ",
                  traceAddress(this));
    m_svsMgr.SetChannelType(MM_MEDIASTREAMING_CHANNEL_SOURCE);
    m_strFileName = sharedFilePath(fileName);
  } else {
    m_svsMgr.SetChannelType(MM_MEDIASTREAMING_CHANNEL_LISTENER);
    MacInfoTrace2(kTraceModule, "Chanel type is listen, this = 0x%x ", traceAddress(this));
  }
}

std::string CMovaraApp::sharedFilePath(const char* fileName) {
  if (!fileName) {
    return {};
  }
  if (!isEmbedded()) {
    return fileName;
  }
  for (const std::uint32_t id : {UCF_PROPERTY_FILE_PATH, UCF_PROPERTY_FILE_PATH_FALLBACK}) {
    tagUCFVariant value{};
    if (m_pContainer->GetProperty(id, &value) == UCF_OK) {
      std::string path = stringValueFromUCFVariant(&value);
      m_pContainer->FreeVariant(&value);
      return path;
    }
  }
  return {};
}

void CMovaraApp::decideMediaContent(const char* fileName) {
  if (!m_bNBRMode || !fileName || *fileName == '\0') {
    return;
  }
  const std::vector<std::string> parts = divideStr(fileName, ".");
  const bool audioOnly = parts.size() >= 2 && isAudioOnly(parts.back().c_str());
  m_mediaContent =
      audioOnly ? MM_MEDIASTREAMING_MEDIACONTENT_AUDIO : MM_MEDIASTREAMING_MEDIACONTENT_AUDIO_VIDEO;
}

CMovaraApp::~CMovaraApp() { tearDown(); }

void CMovaraApp::Release() {
  if (m_bReleased) {
    return;
  }
  m_bReleased = true;
  const Entry entry(*this);
  MacInfoTrace2(kTraceModule, "CMovaraApp::Release(), this = 0x%x ", traceAddress(this));
  DestroyActiveUI();
  unlessOutOfMemory([&] { m_svsMgr.UnRegisterStreamingVideoSharing(); });
  tearDown();
}

void CMovaraApp::tearDown() {
  if (!m_bTornDown) {
    m_bTornDown = true;
    MacInfoTrace2(kTraceModule, "CMovaraApp are going to die, this = %x", traceAddress(this));
    try {
      m_svsMgr.StopStreamingVideoSession();
    } catch (...) {
      // A host that throws here does not keep the object from ending.
    }
  }
  endPlayer();
  if (m_containerView) {
    m_containerView->removeFromSuperview();
    m_containerView.reset();
  }
  m_parentView = nullptr;
  m_pRuntime = nullptr;
  m_pContainer = nullptr;
  m_svsMgr.DetachMsgRouter();
}

void CMovaraApp::endPlayer() {
  if (!player()) {
    return;
  }
  {
    // setSink waits for the delivery threads, and one of them may be waiting for the request lock
    // that a caller further up holds.
    const RequestLock::Yield yield(m_svsMgr.requestLock());
    player()->setSink(nullptr);
  }
  m_svsMgr.setPlayer(nullptr);
  CAVPlayer* const last = m_pAVRender.exchange(nullptr);
  if (last->retainCount() > 1) {
    last->parentViewChanged(nullptr);  // it goes on opening, and outlives the view
  }
  last->release();
}

UCFResult CMovaraApp::GetUCFInterface(UCFInterfaceID id, void** out) {
  switch (id) {
    case UCF_IID_OBJECT_BASE:
    case UCF_IID_OBJECT_BASE_2:
      *out = static_cast<IUCFObjectBase*>(this);
      return UCF_OK;
    case UCF_IID_OBJECT_RUNTIME:
      *out = static_cast<IUCFObjectRuntime*>(this);
      return UCF_OK;
    case UCF_IID_OBJECT_MSG_ROUTER:
      *out = static_cast<IUCFMsgRouter*>(this);
      return UCF_OK;
    default:
      *out = nullptr;
      return UCF_E_NOINTERFACE;
  }
}

unsigned int CMovaraApp::GetCurrentRole() { return m_pRuntime ? m_pRuntime->GetCurrentRole() : 0; }

bool CMovaraApp::isInstanceDestroyed(const std::exception_ptr& exception) {
  try {
    std::rethrow_exception(exception);
  } catch (const platform::Exception& raised) {
    return raised.name() == avcapture::kAVInstanceDestoriedException;
  } catch (...) {
    return false;
  }
}
