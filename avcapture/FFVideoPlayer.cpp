#include "avcapture/FFVideoPlayer.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <utility>

#include "platform/Exception.h"
#include "platform/RunLoop.h"

namespace avcapture {

namespace {

constexpr int kFullVolume = 100;
constexpr int kDelegateFullVolume = 255;

platform::Object* orElse(platform::Object* sender, platform::Object& fallback) {
  return sender != nullptr ? sender : &fallback;
}

}  // namespace

std::shared_ptr<FFVideoPlayer> FFVideoPlayer::create(const PlaybackOptions& options) {
  std::shared_ptr<FFVideoPlayer> player(new FFVideoPlayer(options));
  player->container_ = std::make_shared<PlayerContainerView>(player);
  return player;
}

FFVideoPlayer::~FFVideoPlayer() {
  willDie();
  if (container_) container_->removeFromSuperview();
  if (placeholder_) placeholder_->removeFromSuperview();
}

std::shared_ptr<FFVideoPlayer> FFVideoPlayer::self() {
  return std::static_pointer_cast<FFVideoPlayer>(weak_from_this().lock());
}

// --- the movie ---

bool FFVideoPlayer::setMovie(const std::shared_ptr<AVURLAsset>& movie) {
  const auto keep = self();  // renderMovie may make our owner let go
  if (!movie || engine_ || state_ == State::kDead) return false;
  refusal_ = "out of memory";  // unless it turns out to be something else
  enterCrashSection(movie->path());
  std::shared_ptr<Engine> engine = openEngine(movie->path());
  leaveCrashSection();
  const bool accepted = engine != nullptr;
  if (accepted) {
    engine_ = std::move(engine);
    engine_->setVolume(volume_);
    movie_ = movie;
    attachToEngine();
  }
  if (delegate_ != nullptr) delegate_->renderMovie(accepted);
  return accepted;
}

std::shared_ptr<Engine> FFVideoPlayer::openEngine(const std::string& path) {
  EngineOutputs outputs;
  outputs.show = [view = renderView()](std::shared_ptr<const platform::Image> image) {
    view->setContents(std::move(image));
  };
  outputs.notify = [weak = std::weak_ptr(self())](EngineEvent event, std::uint32_t generation) {
    platform::dispatchOnMainThread([weak, event, generation] {
      if (const auto player = weak.lock()) player->handle(event, generation);
    });
  };
  const auto news = std::make_shared<platform::ReservedMessage>([weak = std::weak_ptr(self())] {
    if (const auto player = weak.lock()) player->engineGaveUp();
  });
  outputs.gaveUp = [news] { news->dispatchOnMainThread(); };
  return Engine::open(path, options_, std::move(outputs), refusal_);
}

// One that has given up plays no more: another takes its place, if there is memory for it now.
bool FFVideoPlayer::engineIsFit() {
  const auto worn = engine_;
  if (!worn->hasGivenUp()) return true;
  if (!worn->retire()) return false;  // its listener asks this view about it
  // A message that was served meanwhile may have ended us, or put another in its place already.
  if (state_ == State::kDead) return false;
  if (engine_ != worn) return !engine_->hasGivenUp();
  try {
    std::shared_ptr<Engine> other = openEngine(movie_->path());
    if (!other) return false;
    engine_ = std::move(other);
    if (worn->positionMicroseconds() > 0) engine_->seek(worn->positionMicroseconds(), true);
  } catch (const platform::Exception&) {
    return false;
  } catch (const std::bad_alloc&) {
    return false;
  }
  engine_->setVolume(volume_);
  attachToEngine();
  return true;
}

void FFVideoPlayer::attachListener(Engine::Listener listener) {
  listener_ = std::move(listener);
  attachToEngine();
}

void FFVideoPlayer::attachToEngine() {
  const auto engine = engine_;
  if (engine && listener_.listener != nullptr) engine->attach(listener_);
}

void FFVideoPlayer::detachListener(const platform::Object* sender) {
  if (listener_.sender == sender) listener_ = {};
  if (const auto engine = engine_) engine->detach(sender);
}

void FFVideoPlayer::stopSound(const platform::Object* sender) {
  if (const auto engine = engine_) engine->stopSound(sender);
}

void FFVideoPlayer::willDie() {
  const auto keep = self();  // messages are served while the threads end
  state_ = State::kDead;
  if (container_) container_->controlBar().hide();
  if (engine_) engine_->stop();
}

// --- controls ---

void FFVideoPlayer::onStart(platform::Object* sender) {
  const auto keep = self();
  try {
    if (listening_) {
      toggleListener(sender);
    } else if (engine_ && state_ == State::kPlaying) {
      pausePlaying(sender);
    } else if (engine_ && state_ != State::kDead) {
      startPlaying(sender);
    }
  } catch (const std::bad_alloc&) {
    // What the user sees is what has been done of it: the state is set where it changes.
  }
}

void FFVideoPlayer::startPlaying(platform::Object* sender) {
  if (delegate_ != nullptr) {
    playRefused_ = !delegate_->allow2Play();
    if (playRefused_) return;
    if (delegate_ != nullptr && delegate_->isEmbed()) {
      delegate_->pauseEmbedPlayer();
      if (delegate_ != nullptr) delegate_->hideOtherEmbedCtrlbarWindow();
    }
  }
  // Any of these calls may have ended or started us.
  const auto mayPlay = [this] { return state_ != State::kDead && state_ != State::kPlaying; };
  if (!mayPlay() || !engineIsFit() || !mayPlay()) return;
  const State before = state_.exchange(State::kPlaying);
  setBroken(false);
  if (before == State::kAtEnd) {
    engine_->playFromStart();
  } else {
    engine_->play();
  }
  if (delegate_ != nullptr) delegate_->onPlay(orElse(sender, *this));
}

void FFVideoPlayer::pausePlaying(platform::Object* sender) {
  state_ = State::kPaused;
  engine_->pause();
  if (delegate_ != nullptr) delegate_->onPause(orElse(sender, *this));
}

// There is nothing to play here: what the user wants goes to the delegate, which knows the state.
void FFVideoPlayer::toggleListener(platform::Object* sender) {
  if (delegate_ == nullptr) return;
  if (delegate_->isPlaying()) {
    delegate_->onPause(orElse(sender, *this));
    return;
  }
  playRefused_ = !delegate_->allow2Play();
  if (!playRefused_ && delegate_ != nullptr) delegate_->onPlay(orElse(sender, *this));
}

void FFVideoPlayer::onStop(platform::Object* sender) {
  const auto keep = self();
  if (state_ == State::kDead) return;
  if (engine_) {
    state_ = State::kStopped;
    setBroken(false);
    engine_->rewind();
  }
  if (delegate_ != nullptr) delegate_->onStop(orElse(sender, *this));
}

void FFVideoPlayer::seek(float seconds) {
  const auto keep = self();
  if (!engine_ || state_ == State::kDead) return;
  // While it plays, the news of an engine that has given up are on their way, and are the end.
  if (state_ != State::kPlaying && !engineIsFit()) return;
  const auto end = static_cast<double>(engine_->durationMicroseconds());
  const double wanted = std::isnan(seconds) ? 0.0 : double{seconds} * kMicrosecondsPerSecond;
  // Without a known end, any movie time is taken.
  const double limit = end > 0 ? end : static_cast<double>(kMostMicroseconds);
  engine_->seek(static_cast<std::int64_t>(std::clamp(wanted, 0.0, limit)), true);
  if (state_ == State::kAtEnd) state_ = State::kPaused;
  setBroken(false);
}

void FFVideoPlayer::onChangeVolume(int volume) {
  const int wanted = std::clamp(volume, 0, kFullVolume);
  if (const int before = this->volume(); wanted == 0 && before > 0) volumeBeforeMute_ = before;
  volume_ = wanted;
  if (engine_) engine_->setVolume(volume_);
  if (delegate_ != nullptr) {
    delegate_->volumeChange(this, volume_ * kDelegateFullVolume / kFullVolume);
  }
}

void FFVideoPlayer::onUnMute(const platform::Value& /*sender*/) {
  if (volume() == 0) onChangeVolume(volumeBeforeMute_);
}

void FFVideoPlayer::onToggleFullscreen(platform::Object* sender) {
  if (delegate_ != nullptr && delegate_->allowEnterFIT()) {
    delegate_->toggleFullscreen(orElse(sender, *this));
  }
}

void FFVideoPlayer::deliverLatestImageAgain() {
  const auto keep = self();
  if (!engine_ || state_ == State::kPlaying || state_ == State::kDead || !engineIsFit()) return;
  if (delegate_ != nullptr) delegate_->prepareDeliverLastestImageAgain();
  engine_->redeliver();
}

// --- what the engine tells ---

void FFVideoPlayer::handle(EngineEvent event, std::uint32_t generation) {
  if (generation != engine_->generation() || state_ == State::kDead) return;  // a seek came after
  if (event == EngineEvent::kEnded) {
    if (state_ == State::kPlaying) movieEnded();
    return;
  }
  setBroken(!failure().empty());
  if (delegate_ != nullptr) delegate_->onSkip(this);
}

// While it plays that is the end; otherwise it shows when the user wants something of it. The news
// of one that has been replaced are none.
void FFVideoPlayer::engineGaveUp() {
  if (state_ == State::kPlaying && engine_->hasGivenUp()) movieEnded();
}

void FFVideoPlayer::movieEnded() {
  state_ = State::kAtEnd;
  engine_->finish();
  setBroken(!failure().empty());
  if (delegate_ != nullptr) delegate_->onStop(this);
}

// --- queries ---

bool FFVideoPlayer::isPlaying() {
  if (listening_) return delegate_ != nullptr && delegate_->isPlaying();
  return state_.load(std::memory_order_relaxed) == State::kPlaying;
}

bool FFVideoPlayer::pausedByUser() {
  if (listening_) return delegate_ != nullptr && delegate_->pausedByUser();
  return state_.load(std::memory_order_relaxed) == State::kPaused;
}

float FFVideoPlayer::currentTime() {
  if (listening_) return delegate_ != nullptr ? delegate_->currentTime() : 0.0F;
  const auto position = engine_ ? static_cast<double>(engine_->positionMicroseconds()) : 0.0;
  return static_cast<float>(position / kMicrosecondsPerSecond);
}

std::int64_t FFVideoPlayer::duration() {
  if (listening_) return platform::Value(listenerDuration_.load()).longValue();
  return engine_ ? engine_->durationMicroseconds() / kMicrosecondsPerSecond : 0;
}

double FFVideoPlayer::fps() {
  if (listening_) return delegate_ != nullptr ? double{delegate_->fps()} : 0.0;
  return engine_ ? engine_->info().fps : 0.0;
}

int FFVideoPlayer::invalidImageBufferCount() {
  return engine_ ? engine_->invalidImageBufferCount() : 0;
}

PlaybackStatistics FFVideoPlayer::statistics() {
  return engine_ ? engine_->statistics() : PlaybackStatistics{};
}

int FFVideoPlayer::volume() {
  if (!listening_ || delegate_ == nullptr) return volume_;
  const auto wide = std::clamp<std::int64_t>(delegate_->volume(), 0, kDelegateFullVolume);
  return static_cast<int>((wide * kFullVolume + kDelegateFullVolume / 2) / kDelegateFullVolume);
}

int FFVideoPlayer::mediaType() { return engine_ ? int{engine_->info().type} : mediaType_; }

}  // namespace avcapture
