// The application object: one per shared media document, the source of its stream on the
// presenter's machine and a listener everywhere else. The host drives it through its three
// interfaces, the player and its bridge through ISVSPlayerNotifySink.
//
// [main-thread] throughout, except OnNotify with PLAYER_NOTIFY_MEDIA_SAMPLE and
// PLAYER_NOTIFY_GET_PLAYER, which delivery threads call as well.
//
// A host may call Release from within any message that the object sends. The object then tears
// itself down at once: without a container, a runtime, a router and a player the calls that are
// still inside it find nothing left to do. Its memory goes when the last of them has left.
#pragma once

#include <atomic>
#include <cstdint>
#include <exception>
#include <memory>
#include <string>

#include "mmp/ParticipantRecords.h"
#include "mmp/StatusRecords.h"
#include "movara/StmVideoStatus.h"
#include "movara/common/ISVSPlayerNotifySink.h"
#include "movara/svsmgr.h"
#include "platform/Value.h"
#include "platform/View.h"
#include "ucf/IUCFContainerBase.h"
#include "ucf/IUCFContainerRuntime.h"
#include "ucf/IUCFMsgRouter.h"
#include "ucf/IUCFObjectBase.h"
#include "ucf/IUCFObjectRuntime.h"

class CAVPlayer;

class CMovaraApp final : public IUCFObjectBase,
                         public IUCFObjectRuntime,
                         public IUCFMsgRouter,
                         public ISVSPlayerNotifySink {
 public:
  // `fileName` is a zero-terminated narrow string or null; `name` and the reserved arguments are
  // not used. `ok` is left as it is: what is missing is logged, not fatal.
  CMovaraApp(IUCFContainerBase* container, char* name, UCFCtx ctx, void* fileName, void* reserved,
             unsigned char reserved2, unsigned char& ok);
  CMovaraApp(const CMovaraApp&) = delete;
  CMovaraApp& operator=(const CMovaraApp&) = delete;

  // The order of the virtual functions is the order of the virtual table: never reorder, never
  // insert.
  UCFResult GetUCFInterface(UCFInterfaceID id, void** out) override;
  void Release() override;
  UCFResult IsReleaseOnKillActive(UCFUsageMode mode) override;
  UCFResult OnSetActive(unsigned char active) override;
  UCFResult OnKillActive() override;
  UCFResult DrawInactiveUI(void* parentView, tagUCFRect* rect) override;
  UCFResult CreateActiveUI(void* parentView, tagUCFRect* rect) override;
  UCFResult DestroyActiveUI() override;
  void OnPositionChanged(tagUCFRect* rect) override;
  void OnParentWindowChanged(void* parentView) override;
  ~CMovaraApp() override;
  void OnUserRoleChanged(unsigned int role) override;
  void OnUsersChanged(UCFUsersChange, unsigned long) override {}
  void OnMute(unsigned long, unsigned char) override {}
  void OnSystemCommand(UCFSysCmd, tagUCFVariant*) override {}
  void OnStatusChanged(unsigned long, unsigned int, unsigned int, tagUCFVdData*) override {}
  UCFResult SetProperty(char*, char*) override { return UCF_OK; }
  void OnCommandData(unsigned char* data, unsigned int length, unsigned long,
                     unsigned int) override;
  void OnAllBlockDataID(unsigned int, unsigned int*, tagUCFVdData*) override {}
  void OnBlockDataID(unsigned int, tagUCFVdData*) override {}
  virtual void OnBlockDataIDAppend(unsigned int, tagUCFVdData*) {}
  void OnBlockData(unsigned int, unsigned char*, unsigned int) override {}
  void OnFileDownloadProgress(unsigned int, char*, char*, unsigned int, unsigned int,
                              tagUCFVdData*) override {}
  void OnBlockDataInFileRemoved(unsigned int) override {}
  void OnBlockDataRemoved(unsigned int) override {}
  void OnAllBlockDataRemoved() override {}
  void OnParameterData(unsigned int id, unsigned char* data, unsigned int length) override;
  void OnParameterDataAppended(unsigned int, unsigned char*, unsigned int) override {}
  virtual void OnParameterDataModified(unsigned int, unsigned int, unsigned char*, unsigned int) {}
  void OnParameterDataRemoved(unsigned int) override {}
  void OnAllParameterDataRemoved() override {}
  std::int32_t OnNotify(PLAYER_NOTIFY_CODE code, unsigned long p1, unsigned long p2) override;
  UCFResult RouteMessage(enumMODULE_TYPE from, enumMODULE_TYPE to, unsigned long type,
                         unsigned long uMsg, void* wParam, void* lParam) override;

  // Not virtual.
  unsigned int GetCurrentRole();  // the runtime's role bits; 0 without a runtime
  bool IsPlayAllowed();           // whether the platform lets the presenter play

  // Participant commands, and the player's state as the container keeps it.
  void SendCMD(std::int32_t command, void* payload, std::int32_t length, std::uint32_t user);
  void SendJoinSessionFailedMsg(std::uint32_t user);  // only from a source
  void GetRemoteJoinSessionFailedMsg();
  bool GetLstStates(tagStmVideoStatus& states);  // what the container lacks stays as it is
  void SetLstStates(tagStmVideoStatus states);

  // Opens the presenter's file, or, when the movie is open already, reports it as opened again.
  // True when the player reported a nonzero result. Throws the exception named
  // kAVInstanceDestoriedException when the player has ended meanwhile.
  bool RenderFileName(std::string path);

 private:
  // Marks that a call is inside the object; the last one to leave deletes a released object.
  class Entry {
   public:
    explicit Entry(CMovaraApp& app) : app_(app) { ++app_.m_nEntries; }
    ~Entry() {
      if (--app_.m_nEntries == 0 && app_.m_bReleased) {
        delete &app_;
      }
    }
    Entry(const Entry&) = delete;
    Entry& operator=(const Entry&) = delete;

   private:
    CMovaraApp& app_;
  };

  // Timer ticks from the session's answer to the opening of a source's file.
  static constexpr std::int32_t kRegisterCountdownTicks = 5;
  static constexpr std::int32_t kRegisterNow = 1;

  // Construction and end.
  CMovaraApp(IUCFContainerBase* container, UCFCtx ctx);
  void decideChannel(const char* fileName);
  std::string sharedFilePath(const char* fileName);
  void decideMediaContent(const char* fileName);
  void tearDown();  // may be repeated
  void endPlayer();

  // Activation.
  void activateFirst();
  void attachListenerRender();
  void placeViews(platform::View* parentView, const tagUCFRect& rect);
  void createPlayer(MM_MEDIASTREAMING_CHANNLE_TYPE type);
  void buildPlayer(MM_MEDIASTREAMING_CHANNLE_TYPE type);
  bool activateSource();
  void activateListener();
  void announceRecordingPlayback(bool firstActivation);
  void updateListenerRender();
  bool probeSession(tagQuery& query);
  void injectChannelStatus(std::uint32_t status);
  void setItemState(std::uint32_t item, std::uint32_t state);
  void savePlayerState();

  // Routed messages.
  bool isClosedToMessages();
  void handleSessionMessage(unsigned long uMsg, void* wParam);
  void onJoinConfirmed();
  void startSource();
  void onSessionLost(unsigned long uMsg, const void* wParam);
  void handleMediaStreamMessage(unsigned long uMsg, void* wParam);
  void onVideoQuality(const tagMSVideoQuality* quality);
  void onPlayPosition(const tagMSPlayPosition* position);
  void onPlayStatus(const tagMSPlayStatus* status);
  void onChannelStatus(const tagMSChannelStatus* status);
  void onChannelJoined();
  void onChannelCreated();
  void onVideoInformation(const tagMSVideoInfo* info);
  bool isOwn(const tagMSHead& head) const { return head.sourceID == m_svsMgr.sourceID(); }
  bool applyVideoSize(int width, int height);  // false when the player has that size already

  // Player notifications: each answers what OnNotify answers.
  [[gnu::noinline]] std::int32_t onMainThreadNotify(PLAYER_NOTIFY_CODE code, unsigned long p1);
  std::int32_t onOpenResult(std::int32_t result);
  std::int32_t onStatusChanged();
  std::int32_t onAudioFormat(tMSAUDIOFORMATEX* format);
  std::int32_t onVideoFormat(tagMSVIDEOFORMATEX* format);
  std::int32_t onMediaSample(tagMSDataStructure* sample);
  std::int32_t onMediaOpened();
  std::int32_t onSeekComplete();
  std::int32_t onVolumeChanged();
  std::int32_t onVideoSize(const platform::Dictionary* info);
  std::int32_t onTimer();
  std::int32_t onQueryPlayAllowed(std::int32_t* allowed);
  MM_MEDIASTREAMING_SOURCE_STATUS sourceStatus();
  long positionMs();
  bool hasActivePlayer();
  void reportWindowActivity();

  // Participants.
  void onMediaInfo(const tagStmMediaInfo& info);
  void onProviderCrashed();

  // An exception of that name is never swallowed: its player, and maybe this object, has ended.
  static bool isInstanceDestroyed(const std::exception_ptr& exception);
  CAVPlayer* player() const { return m_pAVRender.load(std::memory_order_acquire); }
  bool isEmbedded() const { return m_ctx == 0; }

  IUCFContainerBase* m_pContainer;             // borrowed
  IUCFContainerRuntime* m_pRuntime = nullptr;  // borrowed; null when the container has none
  SVSMgr m_svsMgr;
  std::string m_strFileName;   // what a source shares
  bool m_bRegistered = false;  // the channel's registration has been asked for
  UCFUsageMode m_usageMode = UCF_USAGE_DEFAULT;
  bool m_bFirstActive = false;            // the first CreateActiveUI is still to come
  std::int32_t m_nRegisterCountdown = 0;  // ticks until a source opens its file
  bool m_bNBRMode = false;                // the meeting is a recording playback
  MM_MEDIASTREAMING_MEDIACONTENENT m_mediaContent = MM_MEDIASTREAMING_MEDIACONTENT_NONE;
  UCFCtx m_ctx;
  std::shared_ptr<platform::View> m_containerView;  // embed mode only
  platform::View* m_parentView = nullptr;           // where the player is placed; borrowed
  tagUCFRect m_rect{};
  std::atomic<CAVPlayer*> m_pAVRender{nullptr};  // one reference; read by delivery threads
  bool m_bIgoreAllMessage = false;               // the session is over for this object
  int m_nEntries = 0;                            // calls that are inside the object
  bool m_bReleased = false;                      // by the host
  bool m_bTornDown = false;
};
