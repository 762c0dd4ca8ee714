// The host's container and runtime as an object uses them: calls each slot that is called, checks
// what comes back. [main-thread]
#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "ucf/IUCFContainerBase.h"
#include "ucf/IUCFContainerRuntime.h"
#include "ucf/IUCFMsgRouter.h"
#include "validator/host/JoinQuestion.h"

namespace hostcheck {

class ContainerCalls {
 public:
  // The container must outlive this.
  explicit ContainerCalls(IUCFContainerBase& container);

  IUCFMsgRouter* router() const { return router_; }
  bool ownDocument() const;
  // Whether the object presents: own document, and not made a listener. Where that disagrees with
  // the role, which is a failed check, the role decides.
  bool presents() const { return presents_; }
  bool liveMeeting() const;

  // What only a presenter in the document area has: a path, which is given back again.
  void checkFilePath(bool needed);
  void checkSharedProperties();
  void checkIdentity(bool presents) const;
  void setItemState(std::uint32_t item, std::uint32_t state);
  void publish(const tagStmMediaInfo& info);
  void requestMediaInfo();
  // Sends the question to the presenter, and to everybody, if commands may be sent.
  void askWhetherJoinFailed(const tagMSHead& ids);
  // Whether these are the first bytes of this participant's identity.
  bool isOwnUser(std::uint32_t userId) const;
  bool isOtherUser(std::uint32_t userId) const { return hasIdentity_ && !isOwnUser(userId); }

 private:
  void checkInterfaces();
  void readIdentity();
  std::optional<std::uint32_t> presenter() const;  // user id
  void checkRole();
  void sendQuestion(std::uint32_t userId);
  template <class Interface>
  Interface* find(UCFInterfaceID id);
  bool checkText(std::uint32_t id);
  void checkFreeing(std::uint32_t id);

  IUCFContainerBase& container_;
  IUCFContainerRuntime* runtime_ = nullptr;
  IUCFMsgRouter* router_ = nullptr;
  JoinQuestion question_{};  // with this participant's identity, if that is known
  bool hasIdentity_ = false;
  bool presents_ = false;
  // What was sent last; overwritten when the host should have its copy. A command 2 is the largest.
  std::array<unsigned char, sizeof(JoinQuestion)> sent_{};
};

}  // namespace hostcheck
