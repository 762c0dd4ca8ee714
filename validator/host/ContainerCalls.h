// The host's container and runtime as an object uses them: calls each slot that is called, checks
// what comes back. [main-thread]
#pragma once

#include <array>
#include <cstdint>

#include "mmp/ParticipantRecords.h"
#include "ucf/IUCFContainerBase.h"
#include "ucf/IUCFContainerRuntime.h"
#include "ucf/IUCFMsgRouter.h"

namespace hostcheck {

class ContainerCalls {
 public:
  // The container must outlive this.
  explicit ContainerCalls(IUCFContainerBase& container);

  IUCFMsgRouter* router() const { return router_; }
  bool ownDocument() const;
  // Whether the object presents: own document, and not made a listener.
  bool presents() const;
  bool liveMeeting() const;

  // What only a presenter in the document area has: a path, which is given back again.
  void checkFilePath(bool needed);
  void checkSharedProperties();
  void checkIdentity(bool presents);
  void setItemStates(bool on);
  void publish(const tagStmMediaInfo& info);
  void requestMediaInfo();
  // Command 2 to the presenter, if commands may be sent.
  void askWhetherJoinFailed();
  // Whether these are the first bytes of this participant's identity.
  bool isOwnUser(std::uint32_t userId) const;

 private:
  void checkInterfaces();
  template <class Interface>
  Interface* find(UCFInterfaceID id);
  bool checkText(std::uint32_t id);
  void checkFreeing(std::uint32_t id);

  IUCFContainerBase& container_;
  IUCFContainerRuntime* runtime_ = nullptr;
  IUCFMsgRouter* router_ = nullptr;
  std::uint32_t ownUser_ = 0;
  bool hasIdentity_ = false;
  // What was sent last; overwritten when the host should have its copy. A command 2 is the largest.
  std::array<unsigned char, sizeof(tagStmCommand) + 8> sent_{};
};

}  // namespace hostcheck
