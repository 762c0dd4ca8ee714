// What the instances of one document tell each other, and what the container keeps for this one.
#include <cstring>
#include <vector>

#include "avcapture/MemPrimitives.h"
#include "movara/CMovaraApp.h"
#include "movara/UnlessOutOfMemory.h"
#include "movara/common/Trace.h"
#include "movara/player/KTAVPlayer.h"
#include "ucf/SessionMessages.h"

namespace {

constexpr std::size_t kIdentityBytes = 8;

// The record at the head of `data`, which need not be aligned.
template <class Record>
Record recordAt(const unsigned char* data) {
  Record record;
  std::memcpy(&record, data, sizeof(record));
  return record;
}

}  // namespace

void CMovaraApp::SendCMD(std::int32_t command, void* payload, std::int32_t length,
                         std::uint32_t user) {
  if (!m_pRuntime) {
    return;
  }
  const auto payloadBytes = static_cast<std::uint32_t>(length);
  const auto bytes = static_cast<std::uint32_t>(sizeof(tagStmCommand)) + payloadBytes;
  const tagStmCommand header{bytes, command};
  const auto* const head = reinterpret_cast<const unsigned char*>(&header);
  std::vector<unsigned char> buffer(head, head + sizeof(header));
  buffer.resize(bytes);
  if (payload) {
    memcpy_s(buffer.data() + sizeof(header), payloadBytes, payload, payloadBytes);
  }
  try {
    // The host may release the object from within its answer.
    if (m_pRuntime->CanSend() == 0 || !m_pRuntime) {
      return;
    }
    if (user == SVS_USER_EVERYBODY) {
      m_pRuntime->SendDataToAll(buffer.data(), bytes, 0);
    } else {
      m_pRuntime->SendDataToUser(buffer.data(), bytes, user, 0);
    }
  } catch (...) {
    MacWarnTrace2(kTraceModule, "CMainWnd::Send(int %d, ...) exceptional", command);
  }
}

void CMovaraApp::SendJoinSessionFailedMsg(std::uint32_t user) {
  if (m_svsMgr.IsSourceChannel()) {
    SendCMD(SVS_JOINSESSION_FAILED_CMD, nullptr, 0, user);
  }
}

// Asks the presenter whether its session join has failed.
void CMovaraApp::GetRemoteJoinSessionFailedMsg() {
  if (!m_pRuntime) {
    return;
  }
  std::uint32_t presenter = 0;
  m_pRuntime->GetPresenterUserId(&presenter);
  unsigned char identity[kIdentityBytes] = {};
  if (m_pRuntime) {
    m_pRuntime->GetOwnIdentity(identity);
  }
  SendCMD(SVS_QUERY_JOINSEESION_FAILED_CMD, identity, kIdentityBytes, presenter);
}

void CMovaraApp::OnCommandData(unsigned char* data, unsigned int length, unsigned long /*sender*/,
                               unsigned int /*unused*/) {
  const Entry entry(*this);
  unlessOutOfMemory([&] {
    if (!data || length < sizeof(tagStmCommand)) {
      return;
    }
    const auto header = recordAt<tagStmCommand>(data);
    if (header.dwLength != length) {
      return;
    }
    if (header.dwCommand == SVS_JOINSESSION_FAILED_CMD) {
      if ((GetCurrentRole() & UCF_ROLE_ATTENDEE) != 0) {
        MacInfoTrace2(kTraceModule, "Receive SVS_JOINSESSION_FAILED_CMD cmd");
        RouteMessage(MODULE_TYPE_SVS, MODULE_TYPE_SVS, ROUTE_TYPE_SESSION, SESSION_MSG_JOIN_FAILED,
                     nullptr, nullptr);
      }
    } else if (header.dwCommand == SVS_QUERY_JOINSEESION_FAILED_CMD) {
      MacInfoTrace2(kTraceModule, "Receive OnCommandData(SVS_QUERY_JOINSEESION_FAILED_CMD)");
      if (length >= sizeof(header) + kIdentityBytes &&
          (GetCurrentRole() & UCF_ROLE_PRESENTER) != 0 &&
          m_svsMgr.GetSVSState() == SVS_JOINSESSION_FAILED) {
        SendJoinSessionFailedMsg(recordAt<std::uint32_t>(data + sizeof(header)));
      }
    }
  });
}

void CMovaraApp::OnParameterData(unsigned int id, unsigned char* data, unsigned int length) {
  const Entry entry(*this);
  unlessOutOfMemory([&] {
    if (id == STM_PARAMETER_PROVIDER_CRASHED) {
      onProviderCrashed();
    } else if (id == STM_PARAMETER_MEDIA_INFO && data && length >= sizeof(tagStmMediaInfo) &&
               !m_bRegistered) {
      onMediaInfo(recordAt<tagStmMediaInfo>(data));
    }
  });
}

void CMovaraApp::onProviderCrashed() {
  if (player()) {
    player()->setPropertyWithKey(kAVMovieStatusProperty,
                                 static_cast<std::int32_t>(kListenerStatusProviderCrashed));
    player()->playerStatusChanged();
  }
}

// The presenter's media is known: a listener registers its channel.
void CMovaraApp::onMediaInfo(const tagStmMediaInfo& info) {
  if (m_svsMgr.IsSourceChannel()) {
    MacWarnTrace2(kTraceModule, "Listener should not receive this message");
    return;
  }
  const std::int32_t seconds = info.nDurationMs / 1000;
  m_svsMgr.RegisterStreamingVideoSharing(static_cast<unsigned long>(std::int64_t{seconds}),
                                         info.nMediaContent);
  m_bRegistered = true;
  reportWindowActivity();
  if (hasActivePlayer()) {
    attachListenerRender();
  }
  if (player()) {
    player()->setPropertyWithKey(kAVMovieDurationProperty, static_cast<float>(seconds));
    player()->setPropertyWithKey(kAVMediaMediaTypeProperty,
                                 static_cast<std::int32_t>(info.nMediaType));
    player()->SetDuration(static_cast<float>(seconds));
    player()->onPDDataFinish();
  }
}

bool CMovaraApp::GetLstStates(tagStmVideoStatus& states) {
  if (!m_pContainer) {
    return false;
  }
  const auto read = [this](STM_KEY key, auto& field) {
    tagUCFVariant value{};
    if (m_pContainer->GetSharedProperty(key, &value) == UCF_OK) {
      field = static_cast<std::remove_reference_t<decltype(field)>>(value.lVal);
      m_pContainer->FreeVariant(&value);
    }
  };
  read(STM_KEY_CUR_POS, states.nCurPos);
  read(STM_KEY_VOLUME, states.nVolume);
  read(STM_KEY_STATUS, states.nStatus);
  read(STM_KEY_MUTE, states.bMute);
  read(STM_KEY_FULLSCREEN, states.bFullScreen);
  return true;
}

void CMovaraApp::SetLstStates(tagStmVideoStatus states) {
  const auto write = [this](STM_KEY key, UCFVariantType type, std::int64_t field) {
    tagUCFVariant value{};
    value.vt = type;
    value.lVal = static_cast<std::int32_t>(field);
    if (m_pContainer) {
      m_pContainer->SetSharedProperty(key, &value);
    }
  };
  write(STM_KEY_CUR_POS, UCFVT_I4, states.nCurPos);
  write(STM_KEY_VOLUME, UCFVT_I4, states.nVolume);
  write(STM_KEY_STATUS, UCFVT_I4, states.nStatus);
  write(STM_KEY_MUTE, UCFVT_I1, states.bMute);
  write(STM_KEY_FULLSCREEN, UCFVT_I1, states.bFullScreen);
}
