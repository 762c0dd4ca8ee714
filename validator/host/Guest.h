// The object that looks at its host: shares a short made-up movie as a presenter, or listens, and
// checks all that the host does meanwhile. Stays after its Release, to see who calls it then.
#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "platform/View.h"
#include "ucf/IUCFObjectBase.h"
#include "ucf/IUCFObjectRuntime.h"
#include "validator/host/Checks.h"
#include "validator/host/ContainerCalls.h"
#include "validator/host/RouterCalls.h"
#include "validator/host/TestStream.h"
#include "validator/host/Watch.h"

namespace hostcheck {

class Guest final : public IUCFObjectBase,
                    public IUCFObjectRuntime,
                    public IUCFMsgRouter,
                    public std::enable_shared_from_this<Guest> {
 public:
  // The container must outlive the object's Release.
  Guest(IUCFContainerBase& container, UCFCtx context);

  bool presents() const { return presents_; }
  bool released() const { return released_; }
  // A last look, when the host has nothing more to do with the object.
  void checkAfterEnd() const;
  // The same, of what a presenter of the same document has shared.
  void checkWatched(const Guest& presenter) const;
  // Says how far a presenter has come, if it has not played.
  void explainProgress() const;

  // --- IUCFObjectBase ---
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

  // --- IUCFObjectRuntime ---
  void OnCommandData(unsigned char* data, unsigned int length, unsigned long,
                     unsigned int) override;
  void OnAllBlockDataID(unsigned int, unsigned int*, tagUCFVdData*) override { enter(); }
  void OnBlockDataID(unsigned int, tagUCFVdData*) override { enter(); }
  void OnBlockData(unsigned int, unsigned char*, unsigned int) override { enter(); }
  void OnBlockDataRemoved(unsigned int) override { enter(); }
  void OnAllBlockDataRemoved() override { enter(); }
  void OnFileDownloadProgress(unsigned int, char*, char*, unsigned int, unsigned int,
                              tagUCFVdData*) override {
    enter();
  }
  void OnBlockDataInFileRemoved(unsigned int) override { enter(); }
  void OnParameterData(unsigned int id, unsigned char* data, unsigned int length) override;
  void OnParameterDataAppended(unsigned int, unsigned char*, unsigned int) override { enter(); }
  void OnParameterDataRemoved(unsigned int) override { enter(); }
  void OnAllParameterDataRemoved() override { enter(); }
  void OnUserRoleChanged(unsigned int role) override;
  void OnUsersChanged(UCFUsersChange, unsigned long) override { enter(); }
  void OnMute(unsigned long, unsigned char) override { enter(); }
  void OnSystemCommand(UCFSysCmd, tagUCFVariant*) override { enter(); }
  void OnStatusChanged(unsigned long, unsigned int, unsigned int, tagUCFVdData*) override {
    enter();
  }
  UCFResult SetProperty(char*, char*) override {
    enter();
    return UCF_OK;
  }

  // --- IUCFMsgRouter ---
  UCFResult RouteMessage(enumMODULE_TYPE from, enumMODULE_TYPE to, unsigned long type,
                         unsigned long uMsg, void* wParam, void* lParam) override;

 private:
  // A presenter's way to its movie.
  enum class Stage {
    shared,
    confirmed,
    probed,
    registered,
    channelCreated,
    channelJoined,
    askedToPlay,
    played
  };

  // Every call comes by here first; false for one that must not touch anything.
  bool enter(Check thread = Check::callsOnMainThread,
             const char* call = __builtin_FUNCTION()) const;

  void resetItems();
  void showFirst();
  // Places the object's view into one of the host's.
  void showIn(platform::View& parent);
  void checkViewKept() const;
  void checkHeard() const;
  void attachRender();
  void withdrawRender();

  // What follows from messages (GuestMessages.cpp).
  void onSession(unsigned long message);
  void onChannelStatus(std::uint32_t status);
  void onChannelAnswered(std::optional<std::uint32_t> status);
  void onChannelCreated();
  void onChannelJoined();
  void onChannelLost();
  void checkOrderOfStatus(unsigned long uMsg, const void* record) const;
  void later(void (Guest::*work)());
  void reach(Stage stage);
  void registerListener();
  void startSharing();
  void play();
  void endPlaying();
  MM_MEDIASTREAMING_CHANNLE_TYPE channel() const;

  ContainerCalls container_;
  const std::shared_ptr<RouterCalls> router_;  // shared with the delivery threads
  const bool presents_;
  const bool live_;
  std::atomic<bool> released_{false};
  bool active_ = false;
  bool shownBefore_ = false;
  bool keepsItems_ = false;  // the host's item states are left alone
  bool registered_ = false;
  bool created_ = false;  // the channel
  bool joined_ = false;
  Stage stage_ = Stage::shared;           // the furthest
  std::optional<unsigned long> endedBy_;  // the session message
  bool awaitsMediaInfo_ = false;
  bool mediaKnown_ = false;  // to a listener, since the channel was created last
  bool rendered_ = false;    // the listener's view is with the host
  bool withdrawn_ = false;
  struct Heard {
    bool forOne = false;
    bool forAll = false;
  };
  std::map<std::uint32_t, Heard> heard_;          // which commands came, by their sender
  const std::shared_ptr<platform::View> view_;    // placed into the host's
  const std::shared_ptr<platform::View> render_;  // below it; drawn into by the host
  Watch watch_{*render_};
  std::unique_ptr<TestStream> stream_;
  std::optional<platform::TimePoint> sharedToEnd_;  // when all of the movie had been sent
};

}  // namespace hostcheck
