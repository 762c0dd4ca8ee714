// Life of the player: the objects that it owns, opening a file, placing the view.
#include "movara/player/KTAVPlayer.h"

#include <new>
#include <string>

#include "avcapture/Keys.h"
#include "movara/common/AVUIProxy.h"
#include "movara/common/Trace.h"
#include "platform/Exception.h"
#include "platform/RunLoop.h"

using avcapture::KTVideoPlayer;

namespace {

constexpr int kFitModeDefault = 1;
constexpr std::int32_t kSessionOfPlayerView = 1;

// How long the framework's objects outlive the player, so that they end on a later turn.
constexpr double kDeferredReleaseSeconds = 0.2;

// A reference on the player around a call that may end in its owner releasing it.
class PlayerGuard {
 public:
  explicit PlayerGuard(RefObject& player) : player_(&player) { player_->retain(); }
  ~PlayerGuard() {
    if (player_ != nullptr) player_->release();
  }
  PlayerGuard(const PlayerGuard&) = delete;
  PlayerGuard& operator=(const PlayerGuard&) = delete;

  // Whether this was the last reference: the player is gone then.
  bool end() {
    RefObject* const player = player_;
    player_ = nullptr;
    const bool last = player->retainCount() == 1;
    player->release();
    return last;
  }

 private:
  RefObject* player_;
};

[[noreturn]] void throwInstanceDestroyed() {
  KTVideoPlayer::leaveCrashSection();
  throw platform::Exception(avcapture::kAVInstanceDestoriedException, "Invalid this");
}

}  // namespace

CAVPlayer::CAVPlayer(ISVSPlayerNotifySink* sink, MM_MEDIASTREAMING_CHANNLE_TYPE type)
    : CPlayerBase(sink, type) {
  CAVPlayer::setAllowEnterFit(1);
}

// The framework's objects stop delivering first; then the bridge lets the sink go; then the
// references go, the last of them on a later turn of the main run loop.
CAVPlayer::~CAVPlayer() {
  if (m_pVideoPlayer) m_pVideoPlayer->willDie();
  if (m_pCaptureSession) m_pCaptureSession->stopAudioDeliverThreadIfNeed();
  if (m_pUIProxy) {
    m_pUIProxy->cleanUp();
    m_pUIProxy->setSink(nullptr);
  }
  try {
    deferReleases();
  } catch (const std::bad_alloc&) {
    // What cannot be put off happens now.
  }

  m_pUIProxy = nullptr;
  if (m_pVideoPlayer) m_pVideoPlayer->setDelegate(nullptr);
  m_pCaptureSession = nullptr;
  if (m_pVideoPlayer) {
    platform::cancelPerform(*m_pVideoPlayer, &KTVideoPlayer::superFrameSizeChanged, {});
    m_pVideoPlayer = nullptr;
  }
}

void CAVPlayer::deferReleases() {
  const auto deferred = std::make_shared<platform::ObjectArray>();
  if (m_pUIProxy) deferred->add(m_pUIProxy);
  if (m_pCaptureSession) deferred->add(m_pCaptureSession);
  if (m_pVideoPlayer) deferred->add(m_pVideoPlayer);
  platform::performAfterDelay(deferred, &platform::ObjectArray::removeAll, {},
                              platform::seconds(kDeferredReleaseSeconds));
}

void CAVPlayer::CreateUI() {
  MacInfoTrace2(kTraceModule, "CAVPlayer::CeateUI");
  if (!m_pUIProxy) {
    m_pUIProxy = AVUIProxy::initWithPlayer(sink(), static_cast<int>(getStreamType()));
  }
  if (m_pVideoPlayer) {
    MacInfoTrace2(kTraceModule, "CAVPlayer::CeateUI,m_pVideoPlayer != NULL, m_pVideoPlayer = 0x%x",
                  traceAddress(m_pVideoPlayer.get()));
    return;
  }
  m_pVideoPlayer = KTVideoPlayer::newInstance();
  m_pVideoPlayer->setPlayerFitMode(kFitModeDefault);
  m_pVideoPlayer->setPlayerType(isSource() ? avcapture::kPlayerTypeSource
                                           : avcapture::kPlayerTypeListener);
  MacInfoTrace2(kTraceModule, "CAVPlayer::CeateUI,m_pVideoPlayer created, m_pVideoPlayer = 0x%x",
                traceAddress(m_pVideoPlayer.get()));
  MacInfoTrace2(kTraceModule, "player type = %s", isSource() ? "SOURCE" : "LISTENER");
  m_pVideoPlayer->setDelegate(m_pUIProxy.get());
}

int CAVPlayer::RenderFileName(const char* path) {
  if (m_pMovie || movieOpened()) return 0;

  PlayerGuard whileNaming(*this);
  m_pMovie = avcapture::AVURLAsset::assetWithFilePath(path != nullptr ? path : "");
  if (!m_pMovie) return 0;
  if (whileNaming.end()) throwInstanceDestroyed();

  PlayerGuard whileOpening(*this);
  try {
    setMovie(m_pMovie);
  } catch (...) {
    KTVideoPlayer::leaveCrashSection();
    throw;
  }
  if (whileOpening.end()) throwInstanceDestroyed();
  return 0;
}

bool CAVPlayer::setMovie(const std::shared_ptr<avcapture::AVURLAsset>& movie) {
  if (movieOpened()) return true;
  CreateUI();
  MacInfoTrace2(kTraceModule, "after CreateUI");
  if (!movie) {
    MacWarnTrace2(kTraceModule, "Movie  is NULL or empty");
    return false;
  }
  if (!m_pVideoPlayer->setMovie(movie)) {
    const std::string line = "setMovie failed, movie = " + movie->description();
    MacWarnTrace2(kTraceModule, "%s", line.c_str());
    return false;
  }
  MacInfoTrace2(kTraceModule, "after OpemMovieFile");
  if (!m_pCaptureSession) {
    m_pCaptureSession = avcapture::LUMAVCaptureSession::initWithParams(
        {{avcapture::kAVStreamListenerKey, m_pUIProxy},
         {avcapture::kAVCaptureSessionTypeKey, kSessionOfPlayerView},
         {avcapture::kQuickTimeQTVideoPlayerKey, m_pVideoPlayer}});
  }
  MacInfoTrace2(kTraceModule, "before parentViewChanged");
  const auto container = m_pVideoPlayer->containerView();
  const bool placed = container && container->superview() != nullptr;
  if (!placed && m_pParentView != nullptr) {
    m_pVideoPlayer->attachToSuperView(static_cast<platform::View*>(m_pParentView));
  }
  MacInfoTrace2(kTraceModule, "after parentViewChanged");
  return true;
}

std::shared_ptr<avcapture::AVURLAsset> CAVPlayer::movie() { return m_pMovie; }

bool CAVPlayer::movieOpened() { return m_pVideoPlayer && m_pVideoPlayer->movie(); }

void CAVPlayer::parentViewChanged(void* view) {
  if (view == m_pParentView) return;
  if (m_pParentView != nullptr && m_pVideoPlayer) {
    if (const auto container = m_pVideoPlayer->containerView()) container->removeFromSuperview();
  }
  m_pParentView = view;
  if (m_pVideoPlayer) m_pVideoPlayer->attachToSuperView(static_cast<platform::View*>(view));
}

void CAVPlayer::setFrame(tagUCFRect* /*rect*/) {
  if (!m_pVideoPlayer) return;
  if (!isSource()) {
    platform::cancelPerform(*m_pVideoPlayer, &KTVideoPlayer::superFrameSizeChanged, {});
  }
  m_pVideoPlayer->superFrameSizeChanged();
}

void* CAVPlayer::getListenRenderView() {
  return m_pVideoPlayer ? m_pVideoPlayer->renderView().get() : nullptr;
}

void CAVPlayer::videoSizeChanged() {
  if (m_pVideoPlayer) m_pVideoPlayer->repositionPlayer({});
}

void CAVPlayer::setSink(ISVSPlayerNotifySink* sink) {
  if (m_pUIProxy) m_pUIProxy->setSink(sink);
}

void CAVPlayer::onPDDataFinish() {
  if (m_pUIProxy) m_pUIProxy->queryFullscreen();
}

void CAVPlayer::resetFormatSendStatus() {
  if (m_pUIProxy) m_pUIProxy->resetFormatSendStatus();
}
