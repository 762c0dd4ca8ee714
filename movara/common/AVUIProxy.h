// The bridge between the capture framework, the player and the application object: delegate of the
// player view, listener of the capture session, and the module's ear and voice in the client's
// notifications.
//
// Sources: AVUIProxy.cpp (life, notifications, timer), AVUIProxyVideo.cpp, AVUIProxyAudio.cpp,
// AVUIProxyControls.cpp (what the view tells and asks, what notifications bring about).
//
// Threads: newImageArrive is called by one delivery thread, newAudioFramesArrive by another, and
// from there also fps, isPlaying and currentTime; everything else is [main-thread]. The sink may be
// entered by all of them (see SinkGate). myLock is never held across a call to the sink, the player
// or the view.
#pragma once

#include <atomic>
#include <cstdint>
#include <limits>
#include <memory>

#include "avcapture/Protocols.h"
#include "mmp/RequestRecords.h"
#include "movara/common/BridgeNotifications.h"
#include "movara/common/ISVSPlayerNotifySink.h"
#include "movara/common/PausedFrame.h"
#include "movara/common/SinkGate.h"
#include "platform/Mutex.h"
#include "platform/NotificationCenter.h"
#include "platform/Object.h"
#include "platform/RunLoop.h"
#include "platform/Value.h"

class CAVPlayer;

namespace avcapture {
class KTVideoPlayer;
}

class AVUIProxy final : public platform::Object,
                        public avcapture::KTVideoPlayerDelegate,
                        public avcapture::AVStreamDataListener,
                        public avcapture::TimerProxyListener {
 public:
  // `sink` is not owned: it outlives the bridge or is detached with setSink(nullptr). `chanelType`
  // is an MM_MEDIASTREAMING_CHANNLE_TYPE. The bridge's timer keeps the bridge alive until it has
  // been cleaned up.
  static std::shared_ptr<AVUIProxy> initWithPlayer(ISVSPlayerNotifySink* sink, int chanelType);
  ~AVUIProxy() override;

  // When it has returned with null, no delivery thread is in, or will enter, the former sink, and
  // the bridge has been cleaned up.
  void setSink(ISVSPlayerNotifySink* sink) EXCLUDES(myLock);
  // Stops the timer, takes back observers and delayed messages, frees the paused frame. Idempotent;
  // the sink stays.
  void cleanUp() EXCLUDES(myLock);

  void queryFullscreen();
  void queryHOLStatus();
  void onTimer() override;
  // Posts the notification of that name.
  void _delayNotification(const platform::Value& name);

  // Video.
  void newImageArrive(void* pixels, std::uint32_t imageWidth, std::uint32_t imageHeight,
                      std::uint32_t timestamp) override;
  void deliverVideoFormatOnMainThread();
  // `delay` in seconds.
  void _deliverLatestImageOnMainThread(const platform::Value& delay);
  void _deliverLatestImage() EXCLUDES(myLock);
  void prepareDeliverLastestImageAgain() override;
  // The next frame delivers the video format again.
  void resetFormatSendStatus();

  // Audio.
  void newAudioFramesArrive(platform::Object* sender, avcapture::AudioBufferList* audioBufferList,
                            std::uint64_t frameAcount, avcapture::AudioStreamBasicDescription* asbd,
                            std::uint32_t timestamp) override;
  // Whether `asbd` differs from the current format in rate, channels or sample width. [audio
  // delivery thread]
  bool isAudioFormatChanged(const avcapture::AudioStreamBasicDescription* asbd) const;
  // Runs while the audio delivery thread waits for it, or for the bridge to be detached.
  void deliverAudioFormatOnMainThreadDirectly() EXCLUDES(myLock);

  // What the user did on the view.
  void renderMovie(bool rendered) override;
  void volumeChange(platform::Object* sender, const platform::Value& volume) override;
  void onPlay(platform::Object* sender) override;
  void onPause(platform::Object* sender) override;
  void onStop(platform::Object* sender) override;
  void onSkip(platform::Object* sender) override;
  void toggleFullscreen(platform::Object* sender) override;
  void hideOtherEmbedCtrlbarWindow() override;

  // What the view asks. Without sink or player the answers are 0, no, and 480 x 360.
  bool allowEnterFIT() override;
  bool allow2Play() override;
  float fps() override;
  bool isPlaying() override;
  bool pausedByUser() override;
  std::int32_t getStatus();
  float currentTime() override;
  float duration() override;
  platform::Size mediaSize() override;
  std::int32_t mediaType() override;
  bool isEmbed() override;
  std::int64_t volume() override;
  void active() override;
  void deactive() override;
  void pauseEmbedPlayer() override;
  bool isPresenter() override;

 private:
  static constexpr std::int32_t kVideoFormatAccepted = 2;  // bit of myFormatNotifyStatus
  static constexpr std::uint32_t kNoTimestamp = std::numeric_limits<std::uint32_t>::max();

  AVUIProxy(ISVSPlayerNotifySink* sink, int chanelType);

  void begin(const std::shared_ptr<AVUIProxy>& self);
  void observeNotifications(const std::shared_ptr<AVUIProxy>& self);
  void startTimer(const std::shared_ptr<AVUIProxy>& self);

  bool isSource() const { return myChanelType == MM_MEDIASTREAMING_CHANNEL_SOURCE; }
  // Sends a code without or with an argument; nothing once there is no sink.
  void notify(PLAYER_NOTIFY_CODE code, unsigned long p1 = 0);
  // The player query: asked each time, used at once, null without sink or player.
  CAVPlayer* player() const;
  platform::Value property(const char* key) const;
  // Out of the way of every frame's questions, which ask a source's player.
  [[gnu::noinline]] float floatProperty(const char* key) const;
  void setProperty(const char* key, const platform::Value& value);

  // Steps of a frame's way. [video delivery thread]
  void fillVideoFormat(std::uint32_t width, std::uint32_t height);
  void publishVideoFormat() EXCLUDES(myLock);
  void refreshDeliveredVideoFormat() EXCLUDES(myLock);  // [main-thread]
  void waitForVideoFormatDelivery();
  tagMSDataStructure liveSample(void* pixels, std::uint32_t width, std::uint32_t height,
                                std::uint32_t timestamp);
  bool redrawsPausedFrame(const tagMSDataStructure& sample) EXCLUDES(myLock);
  bool keepPausedFrame(const tagMSDataStructure& sample) EXCLUDES(myLock);
  void forgetPausedFrame() EXCLUDES(myLock);
  void deliverPausedFrame(const tagMSDataStructure& sample);
  void estimateFrameRate(std::uint32_t timestamp);
  void sendLiveSample(tagMSDataStructure& sample);

  void fillAudioFormat(const avcapture::AudioStreamBasicDescription& asbd);
  void waitForAudioFormatDelivery() EXCLUDES(myLock);  // [audio delivery thread]
  void endAudioFormatDelivery() EXCLUDES(myLock);      // lets that one go on
  void reportStatus(std::int32_t listenerStatus);
  void traceFailure();

  // Handlers of the observed notifications.
  void sharingViewModeDidChange(const platform::Notification& notification);
  void willChangeFitMode();
  void volumeChanged(const platform::Notification& notification);
  void setMuted(const platform::Notification& notification);
  void videoSizeChanged(const platform::Notification& notification);
  void pauseVideoProvider(const platform::Notification& notification);
  void hideEmbedCtrlbarWindow(const platform::Notification& notification);
  void allowFITStatusChanged(const platform::Notification& notification);

  // Constant.
  const std::int32_t myChanelType;

  // Synchronise themselves.
  SinkGate myAvApp;
  std::atomic<std::int32_t> myFormatNotifyStatus{0};
  std::atomic<std::uint32_t> myPreviousVideoTimestamp{kNoTimestamp};
  std::atomic<std::uint32_t> myTotalVideoSended{0};
  std::atomic<bool> myPausedFrameHeld{false};  // cleared on main as well, by cleanUp

  // Of the video delivery thread; live samples point at the format.
  tagMSVIDEOFORMATEX myVideoFormat{};
  float myFPS = 0.0F;

  // Of the audio delivery thread; samples point at it.
  tMSAUDIOFORMATEX myAudioFormat{};

  // Of the main thread. The formats are what the application was given last: it may refer to them
  // until it gets the next, while the delivery threads go on with their own.
  std::int32_t myVolumeBeforeMute = 0;
  std::shared_ptr<platform::Timer> myTimer;
  tagMSVIDEOFORMATEX myDeliveredVideoFormat{};
  tMSAUDIOFORMATEX myDeliveredAudioFormat{};

  platform::CondVar myAudioFormatArrived;
  platform::Mutex myLock;
  tagMSVIDEOFORMATEX myPublishedVideoFormat GUARDED_BY(myLock){};  // equals myVideoFormat
  std::unique_ptr<PausedFrame> myVideoPausedVideo GUARDED_BY(myLock);
  // What the delivery under way is about.
  tMSAUDIOFORMATEX myPublishedAudioFormat GUARDED_BY(myLock){};
  bool myAudioFormatUnderWay GUARDED_BY(myLock) = false;
};

inline CAVPlayer* AVUIProxy::player() const {
  CAVPlayer* player = nullptr;
  if (ISVSPlayerNotifySink* sink = myAvApp.sink()) {
    sink->OnNotify(PLAYER_NOTIFY_GET_PLAYER, reinterpret_cast<unsigned long>(&player), 0);
  }
  return player;
}

inline void AVUIProxy::notify(PLAYER_NOTIFY_CODE code, unsigned long p1) {
  if (ISVSPlayerNotifySink* sink = myAvApp.sink()) sink->OnNotify(code, p1, 0);
}
