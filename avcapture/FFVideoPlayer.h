// The player view over FFmpeg: the user's controls and the views, around an engine that plays.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "avcapture/Engine.h"
#include "avcapture/KTVideoPlayer.h"
#include "avcapture/PlayerContainerView.h"
#include "avcapture/StatusPicture.h"

namespace avcapture {

class FFVideoPlayer final : public KTVideoPlayer {
 public:
  static std::shared_ptr<FFVideoPlayer> create(const PlaybackOptions& options);
  ~FFVideoPlayer() override;

  // For the capture session: the listener of what this view plays, now or once it has a movie.
  void attachListener(Engine::Listener listener);
  void detachListener(const platform::Object* sender);
  void stopSound(const platform::Object* sender);

  void setPlayerFitMode(int /*mode*/) override { superFrameSizeChanged(); }
  void setPlayerType(int type) override { listening_ = type == kPlayerTypeListener; }
  void setDelegate(KTVideoPlayerDelegate* delegate) override { delegate_ = delegate; }
  std::shared_ptr<AVURLAsset> movie() override { return movie_; }
  bool setMovie(const std::shared_ptr<AVURLAsset>& movie) override;
  std::string failure() override { return engine_ ? engine_->failure() : refusal_; }

  std::shared_ptr<platform::View> containerView() override { return container_; }
  std::shared_ptr<platform::View> renderView() override { return container_->picture(); }
  void attachToSuperView(platform::View* superview) override;
  void superFrameSizeChanged() override;
  void repositionPlayer(const platform::Value& argument) override;

  void onStart(platform::Object* sender) override;
  void onStop(platform::Object* sender) override;
  void seek(float seconds) override;
  void onChangeVolume(int volume) override;
  void onUnMute(const platform::Value& sender) override;
  void onToggleFullscreen(platform::Object* sender) override;

  bool isPlaying() override;
  bool pausedByUser() override;
  float currentTime() override;
  std::int64_t duration() override;
  double fps() override;
  int invalidImageBufferCount() override;
  PlaybackStatistics statistics() override;
  bool notAllowPlayStaus() override { return playRefused_; }
  int volume() override;
  int mediaType() override;
  void setMediaType(int type) override;
  void setDuration(float seconds) override { listenerDuration_ = seconds; }
  void setNBRMode(bool on) override { nbrMode_ = on; }

  void active() override { active_ = true; }
  void deactive() override;
  void roleChanged(bool presenter) override { presenter_ = presenter; }
  void willChangeFitMode() override;
  void setFullscreen(const platform::Value& on) override;
  bool fullscreen() override { return placeholder_ != nullptr; }
  void showEmbedControlbar(const platform::Value& show) override;
  bool controlbarShown() override { return container_->controlBar().shown(); }
  void setStatusViewType(const platform::Value& code) override;
  int statusViewType() override { return broken_ ? kStatusBroken : statusViewType_; }

  void deliverLatestImageAgain() override;
  void willDie() override;

 private:
  // What the user has done to the movie. kAtEnd is stopped, with the last picture showing.
  enum class State : std::uint8_t { kStopped, kPlaying, kPaused, kAtEnd, kDead };

  explicit FFVideoPlayer(const PlaybackOptions& options) : options_(options) {}
  void showStatus();
  void setBroken(bool broken);
  void fillWindow(platform::View& home);
  std::shared_ptr<Engine> openEngine(const std::string& path);
  void attachToEngine();
  bool engineIsFit();
  void startPlaying(platform::Object* sender);
  void pausePlaying(platform::Object* sender);
  void toggleListener(platform::Object* sender);
  void handle(EngineEvent event, std::uint32_t generation);
  void engineGaveUp();
  void movieEnded();
  std::shared_ptr<FFVideoPlayer> self();

  const PlaybackOptions options_;
  // Asked by delivery threads, which the engine starts and which are attached after it is set.
  std::shared_ptr<Engine> engine_;
  std::atomic<State> state_{State::kStopped};
  std::atomic<bool> listening_{false};

  // The rest is the main thread's.
  KTVideoPlayerDelegate* delegate_ = nullptr;  // not retained
  std::shared_ptr<AVURLAsset> movie_;
  std::string refusal_;  // of a movie
  std::shared_ptr<PlayerContainerView> container_;
  // While full-screen: stands where the container view was, and is to be again.
  std::shared_ptr<platform::View> placeholder_;
  Engine::Listener listener_;
  bool playRefused_ = false;
  int volume_ = 100;
  int volumeBeforeMute_ = 100;
  int mediaType_ = kMediaTypeNone;
  std::atomic<float> listenerDuration_{0};
  int statusViewType_ = 0;
  bool broken_ =
      false;  // the movie could not be read on; until somebody sets a status, or tries again
  bool nbrMode_ = false;
  bool active_ = false;
  bool presenter_ = true;
};

}  // namespace avcapture
