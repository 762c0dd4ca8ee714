// A player view that plays nothing: answers what a test sets and records what it is told.
#pragma once

#include <algorithm>
#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "avcapture/KTVideoPlayer.h"
#include "avcapture/LUMAVCaptureSession.h"
#include "validator/cases/Need.h"

using Calls = std::vector<std::string>;

class FakeVideoPlayer final : public avcapture::KTVideoPlayer {
 public:
  using Value = platform::Value;

  // Read by delivery threads.
  std::atomic<bool> playing{false};
  std::atomic<bool> paused{false};
  std::atomic<float> position{0.0F};
  std::atomic<double> frameRate{25.0};
  std::atomic<int> invalidBuffers{1};

  std::int64_t length = 90;
  int volumeNow = 40;
  int type = 3;
  bool accepts = true;
  bool refusedToPlay = false;
  std::string broken;
  std::function<void()> whileOpening;
  std::function<void()> whileShowing;
  std::function<void()> whileDying;
  contract::Needed<avcapture::KTVideoPlayerDelegate> delegate;
  std::shared_ptr<avcapture::AVURLAsset> asset;
  std::shared_ptr<platform::View> container = std::make_shared<platform::View>();
  std::shared_ptr<platform::View> picture = std::make_shared<platform::View>();

  Calls takeCalls() { return std::exchange(calls_, {}); }

  void setPlayerFitMode(int mode) override { say("setPlayerFitMode", mode); }
  void setPlayerType(int kind) override { say("setPlayerType", kind); }
  void setDelegate(avcapture::KTVideoPlayerDelegate* listener) override {
    say("setDelegate", listener != nullptr);
    delegate = listener;
  }
  std::shared_ptr<avcapture::AVURLAsset> movie() override { return asset; }
  bool setMovie(const std::shared_ptr<avcapture::AVURLAsset>& movie) override {
    if (whileOpening) whileOpening();
    if (accepts) asset = movie;
    return accepts;
  }
  std::shared_ptr<platform::View> containerView() override { return container; }
  std::shared_ptr<platform::View> renderView() override { return picture; }
  void attachToSuperView(platform::View* superview) override {
    say("attachToSuperView", superview != nullptr);
    if (superview != nullptr) superview->addSubview(container);
  }
  void superFrameSizeChanged() override { say("superFrameSizeChanged"); }
  void repositionPlayer(const Value& argument) override { say("repositionPlayer", argument); }
  void onStart(platform::Object* sender) override {
    say(sender == this ? "onStart by itself" : "onStart");
    playing = !playing;
    paused = !playing;
  }
  void onStop(platform::Object* /*sender*/) override { say("onStop"); }
  void seek(float seconds) override { say("seek", seconds); }
  void onChangeVolume(int volume) override { say("onChangeVolume", volume); }
  void onUnMute(const Value& sender) override { say("onUnMute", sender); }
  void onToggleFullscreen(platform::Object* /*sender*/) override {}
  bool isPlaying() override { return playing; }
  bool pausedByUser() override { return paused; }
  float currentTime() override { return position; }
  std::int64_t duration() override { return length; }
  double fps() override { return frameRate; }
  int invalidImageBufferCount() override { return invalidBuffers; }
  avcapture::PlaybackStatistics statistics() override { return {}; }
  std::string failure() override { return broken; }
  bool notAllowPlayStaus() override { return refusedToPlay; }
  int volume() override { return volumeNow; }
  int mediaType() override { return type; }
  void setMediaType(int kind) override { say("setMediaType", kind); }
  void setDuration(float seconds) override { say("setDuration", seconds); }
  void setNBRMode(bool on) override { say("setNBRMode", on); }
  void active() override { say("active"); }
  void deactive() override { say("deactive"); }
  void roleChanged(bool presenter) override { say("roleChanged", presenter); }
  void willChangeFitMode() override { say("willChangeFitMode"); }
  void setFullscreen(const Value& on) override { say("setFullscreen", on); }
  void showEmbedControlbar(const Value& show) override { say("showEmbedControlbar", show); }
  void setStatusViewType(const Value& code) override {
    say("setStatusViewType", code);
    shown_ = code.intValue();
    if (whileShowing) whileShowing();
  }
  int statusViewType() override { return shown_; }
  void deliverLatestImageAgain() override { say("deliverLatestImageAgain"); }
  void willDie() override {
    say("willDie");
    if (whileDying) whileDying();
  }

 private:
  void say(const std::string& message) { calls_.push_back(message); }
  void say(const std::string& message, const Value& argument) {
    calls_.push_back(message + " " + argument.description());
  }

  Calls calls_;
  int shown_ = 0;
};

class FakeSession final : public avcapture::LUMAVCaptureSession {
 public:
  explicit FakeSession(platform::Dictionary given) : params(std::move(given)) {}
  void stopAudioDeliverThreadIfNeed() override {
    ++stops;
    if (whileStopping) whileStopping();
  }

  platform::Dictionary params;
  int stops = 0;
  std::function<void()> whileStopping;
};

// The view and session that were made last; both are also kept by the player.
struct FakeFramework {
  static inline std::shared_ptr<FakeVideoPlayer> view;
  static inline std::shared_ptr<FakeSession> session;
  static inline int sessionsMade = 0;
  static inline std::vector<std::weak_ptr<FakeVideoPlayer>> views;  // all, of any object

  // Whether it is what a view that is there draws into; true where there is none.
  static bool mayBeRenderView(std::uint64_t handle) {
    std::erase_if(views, [](const auto& made) { return made.expired(); });
    const auto drawsInto = [handle](const auto& made) {
      return reinterpret_cast<std::uintptr_t>(made.lock()->picture.get()) == handle;
    };
    return views.empty() || std::ranges::any_of(views, drawsInto);
  }

  static void install() {
    view = nullptr;
    session = nullptr;
    sessionsMade = 0;
    avcapture::KTVideoPlayer::setFactory([]() -> std::shared_ptr<avcapture::KTVideoPlayer> {
      view = std::make_shared<FakeVideoPlayer>();
      views.push_back(view);
      return view;
    });
    avcapture::LUMAVCaptureSession::setFactory(
        [](const platform::Dictionary& params) -> std::shared_ptr<avcapture::LUMAVCaptureSession> {
          ++sessionsMade;
          return session = std::make_shared<FakeSession>(params);
        });
  }
  static void uninstall() {
    view = nullptr;
    session = nullptr;
    avcapture::KTVideoPlayer::setFactory(nullptr);
    avcapture::LUMAVCaptureSession::setFactory(nullptr);
  }
};
