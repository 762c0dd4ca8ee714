// The conference: who takes part, who gets in, and the data that a document's instances share.
//
// Nothing reaches a member from within a call that another member makes: everything is posted to
// the main run loop. [main-thread]
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "meeting/MultimediaPlatform.h"
#include "meeting/Options.h"
#include "ucf/SessionMessages.h"
#include "ucf/Types.h"

namespace meeting {

using Bytes = std::vector<unsigned char>;

// A participant as the conference sees it. The post functions queue to the main run loop.
class ConferenceMember {
 public:
  virtual std::uint32_t userId() const = 0;
  virtual void postSession(UCFSessionMessage message, std::optional<std::int32_t> code) = 0;
  virtual void postCommand(Bytes data) = 0;
  virtual void postParameterData(std::uint32_t id, Bytes data) = 0;

 protected:
  ~ConferenceMember() = default;
};

class Conference {
 public:
  static constexpr std::uint32_t kPresenterUserId = 1;

  explicit Conference(DocumentIds ids) : ids_(ids) {}

  void add(const std::shared_ptr<ConferenceMember>& member);
  void remove(std::uint32_t userId);

  // A request routed to the conference: fills the ids of the document. Nonzero for success.
  UCFResult request(unsigned long type, void* wParam, void* lParam) const;

  // Answers a member's wish to join the document's session.
  void answerJoin(ConferenceMember& member, JoinAnswer answer);

  // Commands between members.
  void sendToAllBut(std::uint32_t sender, const Bytes& data);
  void sendToUser(std::uint32_t receiver, const Bytes& data);

  // Parameter data of the document: kept, and told to all members but the one that set it.
  // False when it is too large, or there is too much already.
  bool setParameterData(std::uint32_t sender, std::uint32_t id, Bytes data);
  // Tells a member once more what is kept; nothing when nothing is.
  void requestParameterData(ConferenceMember& member, std::uint32_t id);

 private:
  std::vector<std::shared_ptr<ConferenceMember>> members() const;

  const DocumentIds ids_;
  std::map<std::uint32_t, std::weak_ptr<ConferenceMember>> members_;
  std::map<std::uint32_t, Bytes> parameterData_;
};

}  // namespace meeting
