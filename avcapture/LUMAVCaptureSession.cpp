#include "avcapture/LUMAVCaptureSession.h"

#include <atomic>

#include "avcapture/FFVideoPlayer.h"
#include "avcapture/Keys.h"
#include "avcapture/Protocols.h"

namespace avcapture {

namespace {

std::atomic<LUMAVCaptureSession::Factory> sessionFactory{nullptr};

// Joins a player view to a stream listener for as long as it lives.
class FFCaptureSession final : public LUMAVCaptureSession {
 public:
  explicit FFCaptureSession(const platform::Dictionary& params)
      : player_(params.get(kQuickTimeQTVideoPlayerKey).objectAs<FFVideoPlayer>()) {
    const auto owner = params.get(kAVStreamListenerKey).object();
    auto* listener = dynamic_cast<AVStreamDataListener*>(owner.get());
    const auto player = player_.lock();
    if (player && listener != nullptr) player->attachListener({owner, listener, this});
  }
  ~FFCaptureSession() override {
    const auto player = player_.lock();
    if (!player) return;
    player->stopSound(this);
    player->detachListener(this);
  }

  void stopAudioDeliverThreadIfNeed() override {
    if (const auto player = player_.lock()) player->stopSound(this);
  }

 private:
  std::weak_ptr<FFVideoPlayer> player_;
};

}  // namespace

std::shared_ptr<LUMAVCaptureSession> LUMAVCaptureSession::initWithParams(
    const platform::Dictionary& params) {
  if (const Factory factory = sessionFactory.load()) return factory(params);
  return std::make_shared<FFCaptureSession>(params);
}

void LUMAVCaptureSession::setFactory(Factory factory) { sessionFactory = factory; }

}  // namespace avcapture
