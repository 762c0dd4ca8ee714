// The application object's single channel to the multimedia platform: the channel's state, the
// requests held back until the channel is ready, and every request with its record.
//
// Meant for the main thread; most operations log a warning when they are entered on another one and
// carry on. SendMediaSampleData is [any-thread]. A request holds the request lock across the
// router's call, and the router may issue further requests from within it. A manager must not be
// destroyed within one of its own calls; its owner sees to that.
#pragma once

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

#include "mmp/RequestRecords.h"
#include "movara/RequestLock.h"
#include "movara/common/SvsState.h"
#include "platform/Mutex.h"
#include "ucf/IUCFMsgRouter.h"

class CAVPlayer;

class SVSMgr {
 public:
  SVSMgr();
  virtual ~SVSMgr();
  SVSMgr(const SVSMgr&) = delete;
  SVSMgr& operator=(const SVSMgr&) = delete;

  // Attaches the host's router (not owned; null detaches) and has it fill in the identifiers that
  // every record carries. `embed`: the object lives in the meeting's document area.
  void SetMsgRouter(IUCFMsgRouter* router, signed char embed);
  // Lets the router go when its owner ends. [main-thread]
  void DetachMsgRouter();
  void SetChannelType(MM_MEDIASTREAMING_CHANNLE_TYPE type) { m_eChannelType = type; }
  bool IsSourceChannel() const { return m_eChannelType == MM_MEDIASTREAMING_CHANNEL_SOURCE; }
  std::uint64_t sessionID() const NO_THREAD_SAFETY_ANALYSIS { return m_nSessionID; }  // see route
  std::uint64_t sourceID() const NO_THREAD_SAFETY_ANALYSIS { return m_nSourceID; }    // see route

  // Takes any state from any other, releases the requests that were waiting for it and passes it on
  // to the player.
  void SetSVSState(SvsState state);
  SvsState GetSVSState() const { return m_eState; }

  // Not owned; null detaches. A player is told the present state at once.
  void setPlayer(CAVPlayer* player);
  CAVPlayer* player() const { return m_pPlayer; }

  // Send the oldest held request with this command, or all of them, oldest first. Without a router
  // nothing leaves the buffer.
  void ExecuteMSCommand(MM_MEDIASTREAMING_COMMAND command);
  void ExecuteAllMsCommand();
  // Drops the held reports of an active or inactive window; play, pause and stop reports stay.
  void removeAllActiveStatusFromBuffer();

  // Requests. False: refused, nothing is sent or kept. True: sent, or held until the channel is
  // ready. A request that reports the router's answer says so.
  bool StartStreamingVideoSession();  // the router's answer
  bool StopStreamingVideoSession();   // the router's answer
  // The router's answer when sent at once. `duration` as the platform wants it: milliseconds from a
  // source, seconds from a listener.
  bool RegisterStreamingVideoSharing(unsigned long duration,
                                     MM_MEDIASTREAMING_MEDIACONTENENT content);
  bool UnRegisterStreamingVideoSharing();
  // `position` in milliseconds; `seekMark` is MM_MEDIASTREAMING_SEEK_MARK or 0.
  bool UpdatePlayerStatus(MM_MEDIASTREAMING_SOURCE_STATUS status, long position,
                          unsigned long seekMark);
  // `format` stays the caller's and must outlive the time that the request may be held.
  bool SetSourceMediaFormat(MM_MEDIASTREAMING_MEDIATYPE type, void* format, unsigned long size);
  // Writes the identifiers into the caller's record and routes it; never held. [any-thread]
  bool SendMediaSampleData(tagMSDataStructure* sample);
  bool SetRender(unsigned long handle, MM_MEDIASTREAMING_RENDER_TYPE type);
  bool UpdateRenderMsg(unsigned long kind, void* param, unsigned long handle);
  bool UpdateVolume(unsigned short level);
  bool UpdateMuteStatus(MM_MEDIASTREAMING_MUTESTATUS status);
  // The router's answer; the platform's answer stands in `query`, whose session id is filled in
  // here even when there is no router.
  bool QueryState(tagQuery* query);
  void stopAdvancePage();

  RequestLock& requestLock() { return *m_pLock; }

 private:
  struct FreeRecord {
    void operator()(void* record) const { std::free(record); }  // NOLINT(*-no-malloc)
  };
  using Payload = std::unique_ptr<void, FreeRecord>;

  // A request that waits for the channel.
  struct tagMediaStreamingCommand {
    MM_MEDIASTREAMING_COMMAND eCommand;
    Payload pPayload;
  };

  using HeldCommands = std::vector<tagMediaStreamingCommand>;

  bool isState(SvsState a, SvsState b) const { return m_eState == a || m_eState == b; }
  bool mayUpdateListener() const REQUIRES(*m_pLock) {
    return m_bDataReady && m_pMsgRouter && !IsSourceChannel();
  }
  tagMSHead head() const REQUIRES(*m_pLock) { return {m_nSessionID, m_nSourceID}; }
  // Router and identifiers are set on the main thread under the lock. It alone may therefore look
  // at them without, and does where a request takes no lock: that the analysis does not know.
  bool hasRouter() const NO_THREAD_SAFETY_ANALYSIS { return m_pMsgRouter != nullptr; }
  UCFResult route(enumMODULE_TYPE to, SVS_MSG_TYPE type, unsigned long uMsg, void* wParam,
                  void* lParam) const NO_THREAD_SAFETY_ANALYSIS;
  bool send(MM_MEDIASTREAMING_COMMAND command, void* record) const;
  void hold(MM_MEDIASTREAMING_COMMAND command, Payload payload);
  void sendHeld(HeldCommands::iterator held);
  bool registerListener(Payload payload) REQUIRES(*m_pLock);
  bool registerSource(Payload payload, unsigned long duration,
                      MM_MEDIASTREAMING_MEDIACONTENENT content) REQUIRES(*m_pLock);

  IUCFMsgRouter* m_pMsgRouter GUARDED_BY(*m_pLock) = nullptr;
  std::atomic<bool> m_bDataReady{false};  // read by delivery threads
  MM_MEDIASTREAMING_CHANNLE_TYPE m_eChannelType = MM_MEDIASTREAMING_CHANNEL_SOURCE;
  // These two: written by the router, and together the head of every record.
  std::uint64_t m_nSessionID GUARDED_BY(*m_pLock) = 0;
  std::uint64_t m_nSourceID GUARDED_BY(*m_pLock) = 0;
  std::unique_ptr<RequestLock> m_pLock;
  SvsState m_eState = SVS_INIT;
  HeldCommands m_vecCommands;      // oldest first
  CAVPlayer* m_pPlayer = nullptr;  // not owned
  unsigned long m_nRender = 0;     // last accepted by SetRender
};
