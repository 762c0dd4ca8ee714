// The player interface that the application object drives, and the reference count that owns a
// player. Slot order is fixed: never reorder, never insert.
//
// [main-thread] throughout; GetStatus, fps and GetCurrentPos are also called on delivery threads.
#pragma once

#include <cstdint>

#include "mmp/Enumerations.h"
#include "movara/common/ISVSPlayerNotifySink.h"
#include "movara/common/SvsState.h"
#include "ucf/Types.h"

// Intrusive, single-threaded reference count with deletion at zero. The creator holds the first
// reference.
class RefObject {
 public:
  RefObject() = default;
  RefObject(const RefObject&) = delete;
  RefObject& operator=(const RefObject&) = delete;

  std::int32_t retainCount() const { return m_nRefCount; }
  void retain() { ++m_nRefCount; }
  // May destroy the whole object.
  void release();

 protected:
  virtual ~RefObject() = default;

 private:
  std::int32_t m_nRefCount = 1;
};

// Play status that GetStatus answers.
enum PlayerStatus : int {
  kPlayerStatusNoPlayer = 1,
  kPlayerStatusStopped = 2,
  kPlayerStatusPaused = 3,
  kPlayerStatusPlaying = 4,
};

class CPlayerBase {
 public:
  CPlayerBase(ISVSPlayerNotifySink* sink, MM_MEDIASTREAMING_CHANNLE_TYPE type)
      : m_pSink(sink), m_nStreamType(type) {}
  CPlayerBase(const CPlayerBase&) = delete;
  CPlayerBase& operator=(const CPlayerBase&) = delete;

 protected:
  virtual ~CPlayerBase() = default;  // slots 0 and 1; players end by RefObject::release

 public:
  virtual bool Play() = 0;
  virtual bool Pause() = 0;
  virtual bool Stop() = 0;
  virtual bool Seek(unsigned int position) = 0;
  virtual int GetStatus() = 0;                      // PlayerStatus
  virtual bool SetVolume(unsigned int volume) = 0;  // 0 to 100
  virtual unsigned int GetVolume() = 0;
  virtual unsigned int GetMinVolume() = 0;
  virtual unsigned int GetMaxVolume() = 0;
  virtual bool SetMute(signed char mute) = 0;
  virtual bool GetMute() = 0;
  virtual void SetNBRMode(signed char on) = 0;
  virtual float GetDuration() = 0;    // seconds
  virtual float GetCurrentPos() = 0;  // seconds
  virtual float fps() = 0;
  virtual bool IsFullscreen() { return m_nSharingViewMode == kSharingViewModeFullscreen; }
  virtual void setSharingViewMode(int mode) { m_nSharingViewMode = mode; }
  virtual bool deactive() = 0;
  virtual bool active() = 0;
  virtual unsigned int mediaContent() = 0;             // 0 to 3
  virtual int RenderFileName(const char* path) = 0;    // 0 when done
  virtual void onSVSStateChanged(SvsState state) = 0;  // follow the channel state
  virtual void CreateUI() = 0;                         // bridge and player view
  virtual void setFrame(tagUCFRect* rect) = 0;         // the host rectangle changed
  virtual void parentViewChanged(void* view) = 0;      // a platform::View the host owns, or null
  virtual void* getListenRenderView() = 0;             // a platform::View, or null
  virtual MM_MEDIASTREAMING_CHANNLE_TYPE getStreamType() { return m_nStreamType; }
  virtual ISVSPlayerNotifySink* sink() { return m_pSink; }

 protected:
  static constexpr int kSharingViewModeFullscreen = 1;

  ISVSPlayerNotifySink* m_pSink;  // not owned
  MM_MEDIASTREAMING_CHANNLE_TYPE m_nStreamType;
  std::int32_t m_nSharingViewMode = 0;
  void* m_pParentView = nullptr;  // not owned; changed only by parentViewChanged
};
