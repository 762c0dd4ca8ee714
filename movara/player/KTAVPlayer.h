// The player over the capture framework: owns the bridge, the player view, the capture session, the
// opened file and the property store.
//
// [main-thread]; the bridge also calls GetStatus, fps and GetCurrentPos on delivery threads, and
// property access is safe on any thread.
#pragma once

#include <memory>
#include <string_view>

#include "avcapture/AVURLAsset.h"
#include "avcapture/KTVideoPlayer.h"
#include "avcapture/LUMAVCaptureSession.h"
#include "movara/common/PlayerBase.h"
#include "movara/player/PlayerProperties.h"
#include "platform/Mutex.h"
#include "platform/Value.h"
#include "platform/View.h"

class AVUIProxy;

class CAVPlayer : public CPlayerBase, public RefObject {
 public:
  // `sink` is not owned; it outlives the player or is detached with setSink(nullptr).
  CAVPlayer(ISVSPlayerNotifySink* sink, MM_MEDIASTREAMING_CHANNLE_TYPE type);

 protected:
  ~CAVPlayer() override;

 public:
  bool Play() override;
  bool Pause() override;
  bool Stop() override;
  bool Seek(unsigned int position) override;
  int GetStatus() override;
  bool SetVolume(unsigned int volume) override;
  unsigned int GetVolume() override;
  unsigned int GetMinVolume() override;
  unsigned int GetMaxVolume() override;
  bool SetMute(signed char mute) override;
  bool GetMute() override;
  void SetNBRMode(signed char on) override;
  float GetDuration() override;
  float GetCurrentPos() override;
  float fps() override;
  bool deactive() override;
  bool active() override;
  unsigned int mediaContent() override;
  // Returns 0 whenever it returns. Throws what the framework throws while opening, and an exception
  // named kAVInstanceDestoriedException when the player was released meanwhile: then no member may
  // be touched any more.
  int RenderFileName(const char* path) override;
  void onSVSStateChanged(SvsState state) override;
  void CreateUI() override;
  void setFrame(tagUCFRect* rect) override;
  void parentViewChanged(void* view) override;
  void* getListenRenderView() override;

  // Slots 30 to 44.
  virtual void SetDuration(float seconds);
  virtual bool mediaSize(platform::Size& size);
  virtual bool isActive();
  virtual bool isPlaying();
  virtual bool isFailoverProcessing();
  virtual void setFailoverStatus(signed char on);
  virtual bool isAllowEnterFit();
  virtual void setAllowEnterFit(signed char allow);
  virtual bool setMovie(const std::shared_ptr<avcapture::AVURLAsset>& movie);
  virtual std::shared_ptr<avcapture::AVURLAsset> movie();
  virtual void playerStatusChanged();
  virtual void videoSizeChanged();
  // Nil when absent.
  virtual platform::Value propertyWithKey(std::string_view key) EXCLUDES(m_propertyLock);
  virtual void setPropertyWithKey(std::string_view key, const platform::Value& value)
      EXCLUDES(m_propertyLock);
  virtual void onPDDataFinish();

  // Not virtual.
  // Detaches the bridge; when it has returned with null, no delivery thread is in, or will enter,
  // the sink.
  void setSink(ISVSPlayerNotifySink* sink);
  void resetFormatSendStatus();
  bool movieOpened();
  const std::shared_ptr<avcapture::KTVideoPlayer>& videoPlayer() { return m_pVideoPlayer; }
  bool isPresenter();
  void SetPresenter(int presenter);
  void willChangeFitMode();
  void setFullscreen(signed char on);
  bool showEmbedControlbar(signed char show);
  void startPlay();

 private:
  void deferReleases();
  bool isSource() { return getStreamType() == MM_MEDIASTREAMING_CHANNEL_SOURCE; }
  bool hasSoundOnly();  // as far as the bridge knows
  bool isNBRMode();     // playing back a recording

  std::shared_ptr<avcapture::KTVideoPlayer> m_pVideoPlayer;
  std::shared_ptr<avcapture::LUMAVCaptureSession> m_pCaptureSession;
  std::shared_ptr<avcapture::AVURLAsset> m_pMovie;
  std::shared_ptr<AVUIProxy> m_pUIProxy;
  platform::Mutex m_propertyLock;  // never held across a call out
  platform::Dictionary m_properties GUARDED_BY(m_propertyLock);
};
