// Playback controls and the questions about what is playing.
#include <algorithm>

#include "movara/common/AVUIProxy.h"
#include "movara/common/Trace.h"
#include "movara/player/KTAVPlayer.h"

namespace {

constexpr unsigned int kMinVolume = 0;
constexpr unsigned int kMaxVolume = 100;
constexpr unsigned int kMaxMediaContent = MM_MEDIASTREAMING_MEDIACONTENT_AUDIO_VIDEO;

}  // namespace

// The view has one toggle for both; each of these turns it in its own direction only.

bool CAVPlayer::Play() {
  if (!m_pVideoPlayer) return false;
  if (m_pVideoPlayer->isPlaying()) {
    MacWarnTrace2(kTraceModule, "Current movie is in playing, dont need to start");
    return false;
  }
  m_pVideoPlayer->onStart(nullptr);
  return true;
}

bool CAVPlayer::Pause() {
  if (!m_pVideoPlayer) return false;
  if (!m_pVideoPlayer->isPlaying()) {
    MacWarnTrace2(kTraceModule, "Current movie is in paused, dont need to pause");
    return false;
  }
  m_pVideoPlayer->onStart(nullptr);
  return true;
}

bool CAVPlayer::Stop() {
  if (!m_pVideoPlayer) return false;
  if (m_pVideoPlayer->currentTime() == 0.0F && !m_pVideoPlayer->isPlaying()) {
    MacWarnTrace2(kTraceModule, "Current movie is in stoped, dont need to start");
    return false;
  }
  m_pVideoPlayer->onStop(nullptr);
  return true;
}

bool CAVPlayer::Seek(unsigned int position) {
  if (!m_pVideoPlayer) return false;
  if (m_pVideoPlayer->duration() == 0) {
    MacWarnTrace2(kTraceModule, "Current movie is invalid, duration is zero");
    return false;
  }
  m_pVideoPlayer->seek(static_cast<float>(position));
  return true;
}

int CAVPlayer::GetStatus() {
  if (!m_pVideoPlayer) {
    MacWarnTrace2(kTraceModule, "Video player is NULL now");
    return kPlayerStatusNoPlayer;
  }
  if (m_pVideoPlayer->isPlaying()) return kPlayerStatusPlaying;
  return m_pVideoPlayer->pausedByUser() ? kPlayerStatusPaused : kPlayerStatusStopped;
}

bool CAVPlayer::SetVolume(unsigned int volume) {
  if (!m_pVideoPlayer) return false;
  m_pVideoPlayer->onChangeVolume(static_cast<int>(std::min(volume, kMaxVolume)));
  return true;
}

unsigned int CAVPlayer::GetVolume() {
  if (!m_pVideoPlayer) return 0;
  if (isSource()) return static_cast<unsigned int>(m_pVideoPlayer->volume());
  return m_pUIProxy ? static_cast<unsigned int>(m_pUIProxy->volume()) : 0;
}

unsigned int CAVPlayer::GetMinVolume() { return kMinVolume; }
unsigned int CAVPlayer::GetMaxVolume() { return kMaxVolume; }

// Unmuting goes to full volume, not to the former one.
bool CAVPlayer::SetMute(signed char mute) { return SetVolume(mute != 0 ? kMinVolume : kMaxVolume); }

bool CAVPlayer::GetMute() { return GetVolume() == 0; }

void CAVPlayer::SetNBRMode(signed char on) {
  if (m_pVideoPlayer && !isSource()) m_pVideoPlayer->setNBRMode(on != 0);
}

float CAVPlayer::GetDuration() {
  if (!m_pVideoPlayer) return 0.0F;
  if (isSource()) return static_cast<float>(m_pVideoPlayer->duration());
  return m_pUIProxy ? m_pUIProxy->duration() : 0.0F;
}

void CAVPlayer::SetDuration(float seconds) {
  if (m_pVideoPlayer) m_pVideoPlayer->setDuration(seconds);
}

float CAVPlayer::GetCurrentPos() {
  if (!m_pVideoPlayer) return 0.0F;
  if (isSource()) return m_pVideoPlayer->currentTime();
  return m_pUIProxy ? m_pUIProxy->currentTime() : 0.0F;
}

float CAVPlayer::fps() {
  if (!m_pVideoPlayer) return 0.0F;
  if (isSource()) return static_cast<float>(m_pVideoPlayer->fps());
  return m_pUIProxy ? m_pUIProxy->fps() : 0.0F;
}

unsigned int CAVPlayer::mediaContent() {
  if (!m_pVideoPlayer) return 0;
  return std::min(static_cast<unsigned int>(m_pVideoPlayer->mediaType()), kMaxMediaContent);
}

// The size is left to the caller's default.
bool CAVPlayer::mediaSize(platform::Size& /*size*/) { return true; }

bool CAVPlayer::isPlaying() { return m_pVideoPlayer && m_pVideoPlayer->isPlaying(); }

void CAVPlayer::willChangeFitMode() {
  MacInfoTrace2(kTraceModule, "willChangeFitMode");
  if (m_pVideoPlayer) m_pVideoPlayer->willChangeFitMode();
}

void CAVPlayer::setFullscreen(signed char on) {
  if (on != 0) {
    MacInfoTrace2(kTraceModule, "Im going to fullscreen now");
  } else {
    MacInfoTrace2(kTraceModule, "im going to exit fullscreen now");
  }
  if (m_pVideoPlayer) m_pVideoPlayer->setFullscreen(on != 0);
}

bool CAVPlayer::showEmbedControlbar(signed char show) {
  if (!m_pVideoPlayer) return false;
  m_pVideoPlayer->showEmbedControlbar(show != 0);
  return true;
}

void CAVPlayer::startPlay() {
  if (m_pVideoPlayer && m_pVideoPlayer->notAllowPlayStaus()) {
    m_pVideoPlayer->onStart(m_pVideoPlayer.get());
  }
}
