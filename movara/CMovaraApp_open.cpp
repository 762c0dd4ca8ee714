// The opening of the presenter's file.
#include "movara/CMovaraApp.h"
#include "movara/common/Trace.h"
#include "movara/player/KTAVPlayer.h"

// NOLINTNEXTLINE(performance-unnecessary-value-param): the copy outlives a release while opening
bool CMovaraApp::RenderFileName(std::string path) {
  const Entry entry(*this);
  MacInfoTrace2(kTraceModule, "CMovaraApp::RenderFileName, file = %s, this = 0x%x ", path.c_str(),
                traceAddress(this));
  if (player()) {
    MacInfoTrace2(kTraceModule, "UI already exist");
  } else {
    createPlayer(MM_MEDIASTREAMING_CHANNEL_SOURCE);
    MacInfoTrace2(kTraceModule,
                  "CMovaraApp::RenderFileName, m_pAVRender address = 0x%x, this = 0x%x ",
                  traceAddress(player()), traceAddress(this));
  }
  m_svsMgr.SetChannelType(MM_MEDIASTREAMING_CHANNEL_SOURCE);
  player()->parentViewChanged(m_parentView);
  m_svsMgr.setPlayer(player());

  std::int32_t result = 0;
  try {
    if (player()->movieOpened()) {
      MacInfoTrace2(kTraceModule,
                    "CMovaraApp::RenderFileName, it seems failover , movie is opened, dont need "
                    "open it again");
      m_bRegistered = false;
      player()->resetFormatSendStatus();
    } else {
      result = player()->RenderFileName(path.c_str());
    }
  } catch (...) {
    if (isInstanceDestroyed(std::current_exception())) {
      throw;
    }
    m_svsMgr.SetSVSState(SVS_OPENFILE_FAILED);
    return false;
  }
  OnNotify(PLAYER_NOTIFY_OPEN_RESULT, static_cast<unsigned long>(std::int64_t{result}), 0);
  if (result == 0) {
    OnNotify(PLAYER_NOTIFY_MEDIA_OPENED, 0, 0);
  }
  return result != 0;
}
