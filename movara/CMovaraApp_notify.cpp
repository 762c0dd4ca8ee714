// What the player's side reports and asks.
#include <string>

#include "movara/CMovaraApp.h"
#include "movara/common/BridgeNotifications.h"
#include "movara/common/Trace.h"
#include "movara/player/KTAVPlayer.h"
#include "platform/RunLoop.h"
#include "platform/Value.h"

namespace {

constexpr std::int32_t kOpenResult2012 = -2012;

// Arguments of a notification travel as numbers.
template <class T>
T* pointerFrom(unsigned long argument) {
  return reinterpret_cast<T*>(argument);  // NOLINT(performance-no-int-to-ptr)
}

std::int32_t answer(bool done) { return done ? 0 : kPlayerNotifyNotHandled; }

}  // namespace

std::int32_t CMovaraApp::OnNotify(PLAYER_NOTIFY_CODE code, unsigned long p1, unsigned long /*p2*/) {
  // Delivery threads bring these two, for every frame; no other code may come from there. What the
  // others need stays out of their way.
  if (code == PLAYER_NOTIFY_GET_PLAYER) {
    *pointerFrom<CAVPlayer*>(p1) = player();
    return 0;
  }
  if (code == PLAYER_NOTIFY_MEDIA_SAMPLE && !platform::isMainThread()) {
    return onMediaSample(pointerFrom<tagMSDataStructure>(p1));
  }
  return onMainThreadNotify(code, p1);
}

std::int32_t CMovaraApp::onMainThreadNotify(PLAYER_NOTIFY_CODE code, unsigned long p1) {
  const Entry entry(*this);
  switch (code) {
    case PLAYER_NOTIFY_OPEN_RESULT:
      return onOpenResult(static_cast<std::int32_t>(p1));
    case PLAYER_NOTIFY_STATUS_CHANGED:
      return onStatusChanged();
    case PLAYER_NOTIFY_AUDIO_FORMAT:
      return onAudioFormat(pointerFrom<tMSAUDIOFORMATEX>(p1));
    case PLAYER_NOTIFY_VIDEO_FORMAT:
      return onVideoFormat(pointerFrom<tagMSVIDEOFORMATEX>(p1));
    case PLAYER_NOTIFY_MEDIA_SAMPLE:
      return onMediaSample(pointerFrom<tagMSDataStructure>(p1));
    case PLAYER_NOTIFY_MEDIA_OPENED:
      return onMediaOpened();
    case PLAYER_NOTIFY_SEEK_COMPLETE:
      return onSeekComplete();
    case PLAYER_NOTIFY_VOLUME_CHANGED:
      return onVolumeChanged();
    case PLAYER_NOTIFY_VIDEO_SIZE:
      return onVideoSize(pointerFrom<const platform::Dictionary>(p1));
    case PLAYER_NOTIFY_TIMER:
      return onTimer();
    case PLAYER_NOTIFY_QUERY_PLAY_ALLOWED:
      return onQueryPlayAllowed(pointerFrom<std::int32_t>(p1));
    default:
      return kPlayerNotifyNotHandled;
  }
}

std::int32_t CMovaraApp::onOpenResult(std::int32_t result) {
  if (!player() || m_svsMgr.GetSVSState() != SVS_JOINSESSION_SUCCESS) {
    return kPlayerNotifyNotHandled;
  }
  if (result == 0) {
    m_svsMgr.SetSVSState(SVS_OPENFILE_SUCCESS);
  } else {
    m_svsMgr.SetSVSState(result == kOpenResult2012 ? SVS_OPENFILE_FAILED_2012
                                                   : SVS_OPENFILE_FAILED);
  }
  return result;
}

MM_MEDIASTREAMING_SOURCE_STATUS CMovaraApp::sourceStatus() {
  switch (player() ? player()->GetStatus() : static_cast<int>(kPlayerStatusNoPlayer)) {
    case kPlayerStatusPlaying:
      return MM_MEDIASTREAMING_PLAY;
    case kPlayerStatusPaused:
      return MM_MEDIASTREAMING_PAUSE;
    default:
      return MM_MEDIASTREAMING_STOP;
  }
}

long CMovaraApp::positionMs() {
  return player() ? platform::Value(player()->GetCurrentPos() * 1000.0F).longValue() : 0;
}

std::int32_t CMovaraApp::onStatusChanged() {
  if (!player()) {
    return kPlayerNotifyNotHandled;
  }
  const auto status = sourceStatus();
  const bool done = m_svsMgr.UpdatePlayerStatus(status, positionMs(), 0);
  if (player() && player()->GetStatus() == kPlayerStatusPlaying) {
    m_svsMgr.stopAdvancePage();
  }
  return answer(done);
}

std::int32_t CMovaraApp::onAudioFormat(tMSAUDIOFORMATEX* format) {
  if (!format) {
    return kPlayerNotifyNotHandled;
  }
  format->wFormatTag = 0;
  const bool done =
      m_svsMgr.SetSourceMediaFormat(MM_MEDIASTREAMING_MEDIATYPE_AUDIO, format, sizeof(*format));
  MacInfoTrace2(kTraceModule,
                "tell mmp session the audio format, chanelNumber = %d, samplePerSec = %d, "
                "nBlockAlign = %d, nAvgBytesPerSec = %d, wBitsPerSample = %d, this = 0x%x ",
                static_cast<int>(format->nChannels), static_cast<int>(format->nSamplesPerSec),
                static_cast<int>(format->nBlockAlign), static_cast<int>(format->nAvgBytesPerSec),
                static_cast<int>(format->wBitsPerSample), traceAddress(this));
  return answer(done);
}

std::int32_t CMovaraApp::onVideoFormat(tagMSVIDEOFORMATEX* format) {
  if (!format || !player()) {
    return kPlayerNotifyNotHandled;
  }
  const bool done =
      m_svsMgr.SetSourceMediaFormat(MM_MEDIASTREAMING_MEDIATYPE_VIDEO, format, sizeof(*format));
  MacInfoTrace2(
      kTraceModule, "tell mmp session the video format, height = %d, width = %d, this = 0x%x ",
      static_cast<int>(format->wHeight), static_cast<int>(format->wWidth), traceAddress(this));
  return answer(done);
}

std::int32_t CMovaraApp::onMediaSample(tagMSDataStructure* sample) {
  return answer(m_svsMgr.SendMediaSampleData(sample));
}

std::int32_t CMovaraApp::onMediaOpened() {
  if (!player()) {
    return kPlayerNotifyNotHandled;
  }
  const auto content = static_cast<MM_MEDIASTREAMING_MEDIACONTENENT>(player()->mediaContent());
  // Whole seconds, until the state says that the duration is published in milliseconds.
  auto duration = static_cast<std::uint32_t>(platform::Value(player()->GetDuration()).longValue());
  if (m_svsMgr.GetSVSState() == SVS_OPENFILE_SUCCESS) {
    duration *= 1000;
    tagStmMediaInfo info{static_cast<std::int32_t>(duration), content, content};
    if (m_pRuntime) {
      m_pRuntime->SetParameterData(STM_PARAMETER_MEDIA_INFO, &info, sizeof(info));
    }
    MacInfoTrace2(kTraceModule,
                  "tell other participants , current media duration = %d, mediaContent = %d, this "
                  "= 0x%x ",
                  info.nDurationMs, static_cast<int>(content), traceAddress(this));
  }
  if (!m_bRegistered) {
    m_svsMgr.RegisterStreamingVideoSharing(duration, content);
    m_bRegistered = true;
  }
  reportWindowActivity();
  return kPlayerNotifyNotHandled;
}

bool CMovaraApp::hasActivePlayer() { return player() && player()->isActive(); }

// Tells the platform whether the player's window is active; does nothing without a player.
void CMovaraApp::reportWindowActivity() {
  if (!player()) {
    return;
  }
  MacInfoTrace2(
      kTraceModule, "Tell mmp my active status, %s",
      hasActivePlayer() ? "MM_MEDIASTREAMING_PD_ACTIVE" : "MM_MEDIASTREAMING_PD_INACTIVE");
  m_svsMgr.UpdatePlayerStatus(
      hasActivePlayer() ? MM_MEDIASTREAMING_PD_ACTIVE : MM_MEDIASTREAMING_PD_INACTIVE, 0, 0);
}

std::int32_t CMovaraApp::onSeekComplete() {
  if (!player()) {
    return kPlayerNotifyNotHandled;
  }
  MacInfoTrace2(kTraceModule, "Seek complete current status = %d, this = 0x%x ",
                static_cast<int>(sourceStatus()), traceAddress(this));
  const auto status = sourceStatus();
  m_svsMgr.UpdatePlayerStatus(status, positionMs(), MM_MEDIASTREAMING_SEEK_MARK);
  return 0;
}

std::int32_t CMovaraApp::onVolumeChanged() {
  if (!player()) {
    return kPlayerNotifyNotHandled;
  }
  MacInfoTrace2(kTraceModule, "Volume changed, tell mmp session current volume = %d, this = 0x%x ",
                static_cast<int>(player()->GetVolume()), traceAddress(this));
  return answer(m_svsMgr.UpdateVolume(static_cast<unsigned short>(player()->GetVolume())));
}

std::int32_t CMovaraApp::onVideoSize(const platform::Dictionary* info) {
  if (!info) {
    return kPlayerNotifyNotHandled;
  }
  const std::string text = "video size info = " + info->description();
  MacInfoTrace2(kTraceModule, "%s", text.c_str());
  const platform::Value& source = info->get(kMSVideoRenderSourceIDKey);
  const platform::Value& width = info->get(kMSVideoRenderWidthKey);
  const platform::Value& height = info->get(kMSVideoRenderHeightKey);
  const bool complete = !source.isNil() && !width.isNil() && !height.isNil();
  // The low 32 bits, widened with their sign.
  const auto sourceID =
      static_cast<std::uint64_t>(std::int64_t{static_cast<std::int32_t>(source.longValue())});
  if (!complete || sourceID != m_svsMgr.sourceID() || width.intValue() < 1 ||
      height.intValue() < 1) {
    MacInfoTrace2(kTraceModule, "docid , or width, or height invalid, this = 0x%x ",
                  traceAddress(this));
    return kPlayerNotifyNotHandled;
  }
  return answer(player() && applyVideoSize(width.intValue(), height.intValue()));
}

// Counts down to the opening of a source's file, while its window is active.
std::int32_t CMovaraApp::onTimer() {
  if (m_nRegisterCountdown == kRegisterNow && hasActivePlayer()) {
    tagQuery probe{};
    const bool answered = probeSession(probe);
    if (!answered && probe.dwResult == 0) {
      RouteMessage(MODULE_TYPE_SVS, MODULE_TYPE_SVS, 0, 0, nullptr, nullptr);
    } else if (m_svsMgr.IsSourceChannel()) {
      MacWarnTrace2(kTraceModule,
                    "The session probe does not let the file be opened, answer = %d, dwResult = "
                    "%lu, this = 0x%x ",
                    static_cast<int>(answered), probe.dwResult, traceAddress(this));
    }
  }
  if (m_nRegisterCountdown > 0 && hasActivePlayer()) {
    --m_nRegisterCountdown;
  }
  return kPlayerNotifyNotHandled;
}

std::int32_t CMovaraApp::onQueryPlayAllowed(std::int32_t* allowed) {
  if (allowed) {
    *allowed = IsPlayAllowed() ? 1 : 0;
    MacInfoTrace2(kTraceModule, "Query Allow to play, result is[%d]!", *allowed);
  }
  return kPlayerNotifyNotHandled;
}

bool CMovaraApp::IsPlayAllowed() {
  tagQuery query{};
  query.dwStatus = ~std::uint64_t{0};
  query.nQueryType = MM_MEDIASTREAMING_QUERY_PLAY_ALLOWED;
  query.dwResult = 1;
  m_svsMgr.QueryState(&query);
  return query.dwResult != 0 || query.dwStatus != 0;
}
