// One participant of the meeting: its own object of the plug-in with its own container, runtime,
// router and view.
//
// Threads: main thread, except the post functions (any thread) and what the platform's port says.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "avcapture/KTVideoPlayer.h"
#include "meeting/Conference.h"
#include "meeting/Container.h"
#include "meeting/MessageJournal.h"
#include "meeting/MultimediaPlatform.h"
#include "meeting/PluginModule.h"
#include "meeting/Router.h"
#include "meeting/Runtime.h"
#include "platform/View.h"
#include "ucf/IUCFObjectBase.h"
#include "ucf/IUCFObjectRuntime.h"

namespace meeting {

class Participant final : public ConferenceMember,
                          public PlatformPeer,
                          public std::enable_shared_from_this<Participant> {
 public:
  struct Setup {
    std::string id;  // "presenter", "attendee-1"; names its messages
    std::uint32_t userId;
    std::string filePath;  // of the shared file; empty for one who does not have it
    std::string fileName;  // that the object is told when it is created
    RuntimeSetup runtime;
    std::shared_ptr<platform::View> view;  // that the object draws in
  };

  Participant(Setup setup, Conference& conference, MessageJournal& journal);
  ~Participant();
  Participant(const Participant&) = delete;
  Participant& operator=(const Participant&) = delete;

  // Gives the participant its connection to the platform, before its object is created.
  void connect(std::unique_ptr<PlatformPort> port);
  // Creates the object and makes it visible in the participant's view; false when the plug-in
  // refuses either.
  bool open(const PluginModule& module);
  // Ends the object. Its messages still under way are dropped.
  void close();

  // Hides the object, shows it again, gives it another place, tells it another role. They do
  // nothing without an object, or when it is so already.
  void deactivate();
  void activate();
  void resize(std::uint32_t width, std::uint32_t height);
  void changeRole(std::uint32_t role);

  // The player view that the object placed in the participant's view; null while there is none.
  std::shared_ptr<avcapture::KTVideoPlayer> player() const;

  std::uint32_t userId() const override { return setup_.userId; }
  void postSession(UCFSessionMessage message, std::optional<std::int32_t> code) override;
  void postCommand(Bytes data) override;
  void postParameterData(std::uint32_t id, Bytes data) override;
  void postStatus(const StatusRecord& record) override;

 private:
  void post(std::function<void(Participant&)> work);
  bool createUI();
  void route(enumMODULE_TYPE from, unsigned long type, unsigned long uMsg, void* wParam);

  Setup setup_;
  Conference& conference_;
  MessageJournal& journal_;
  Runtime runtime_;
  std::unique_ptr<PlatformPort> port_;
  std::unique_ptr<Router> router_;
  std::unique_ptr<Container> container_;
  bool active_ = false;
  // Faces of the object; null before open and after close.
  IUCFObjectBase* object_ = nullptr;
  IUCFObjectRuntime* objectRuntime_ = nullptr;
  IUCFMsgRouter* objectRouter_ = nullptr;
};

}  // namespace meeting
