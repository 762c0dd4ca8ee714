// What all player views share: their maker, the crash section, the playback options.
#include "avcapture/KTVideoPlayer.h"

#include <atomic>

#include "avcapture/FFVideoPlayer.h"
#include "avcapture/PlayerContainerView.h"
#include "platform/Mutex.h"

namespace avcapture {

namespace {

// A value that threads share.
template <class T>
class Guarded {
 public:
  T get() const EXCLUDES(mutex_) {
    const platform::Lock lock(mutex_);
    return value_;
  }
  void set(T value) EXCLUDES(mutex_) {
    const platform::Lock lock(mutex_);
    value_ = std::move(value);
  }

 private:
  mutable platform::Mutex mutex_;
  T value_ GUARDED_BY(mutex_){};
};

Guarded<PlaybackOptions>& options() {
  static Guarded<PlaybackOptions> instance;
  return instance;
}

Guarded<std::string>& crashSection() {
  static Guarded<std::string> instance;
  return instance;
}

std::atomic<KTVideoPlayer::Factory> playerFactory{nullptr};

}  // namespace

void setPlaybackOptions(const PlaybackOptions& wanted) { options().set(wanted); }

PlaybackOptions playbackOptions() { return options().get(); }

std::shared_ptr<KTVideoPlayer> KTVideoPlayer::newInstance() {
  if (const Factory factory = playerFactory.load()) return factory();
  return FFVideoPlayer::create(playbackOptions());
}

void KTVideoPlayer::setFactory(Factory factory) { playerFactory = factory; }

void KTVideoPlayer::leaveCrashSection() { crashSection().set({}); }

std::string KTVideoPlayer::crashSectionPath() { return crashSection().get(); }

void KTVideoPlayer::enterCrashSection(const std::string& path) { crashSection().set(path); }

std::shared_ptr<KTVideoPlayer> KTVideoPlayer::inView(const platform::View& root) {
  if (const auto* container = dynamic_cast<const PlayerContainerView*>(&root)) {
    return container->player();
  }
  for (const auto& subview : root.subviews()) {
    if (auto player = inView(*subview)) return player;
  }
  return nullptr;
}

}  // namespace avcapture
