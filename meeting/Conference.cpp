#include "meeting/Conference.h"

#include <utility>

#include "mmp/Enumerations.h"

namespace meeting {

namespace {
constexpr std::size_t kMaxParameterBytes = 64UL * 1024;
constexpr std::size_t kMaxParameters = 256;
}  // namespace

void Conference::add(const std::shared_ptr<ConferenceMember>& member) {
  members_[member->userId()] = member;
}

void Conference::remove(std::uint32_t userId) { members_.erase(userId); }

UCFResult Conference::request(unsigned long type, void* wParam, void* lParam) const {
  if (type != SVS_MSG_GET_IDS && type != SVS_MSG_GET_IDS_EMBED) return 0;
  if (wParam == nullptr || lParam == nullptr) return 0;
  *static_cast<std::uint64_t*>(wParam) = ids_.session;
  *static_cast<std::uint64_t*>(lParam) = ids_.source;
  return 1;
}

void Conference::answerJoin(ConferenceMember& member, JoinAnswer answer) {
  switch (answer) {
    case JoinAnswer::accept:
      member.postSession(SESSION_MSG_JOIN_CONFIRM, std::nullopt);
      return;
    case JoinAnswer::refuse:
      member.postSession(SESSION_MSG_JOIN_FAILED, std::nullopt);
      return;
    case JoinAnswer::limit:
      member.postSession(SESSION_MSG_JOIN_FAILED, SESSION_ERR_MAX_LIMIT);
      return;
  }
}

void Conference::sendToAllBut(std::uint32_t sender, const Bytes& data) {
  for (const auto& member : members())
    if (member->userId() != sender) member->postCommand(data);
}

void Conference::sendToUser(std::uint32_t receiver, const Bytes& data) {
  const auto found = members_.find(receiver);
  if (found == members_.end()) return;
  if (const auto member = found->second.lock()) member->postCommand(data);
}

bool Conference::setParameterData(std::uint32_t sender, std::uint32_t id, Bytes data) {
  if (data.size() > kMaxParameterBytes) return false;
  if (parameterData_.size() >= kMaxParameters && parameterData_.count(id) == 0) return false;
  for (const auto& member : members())
    if (member->userId() != sender) member->postParameterData(id, data);
  parameterData_[id] = std::move(data);
  return true;
}

void Conference::requestParameterData(ConferenceMember& member, std::uint32_t id) {
  const auto found = parameterData_.find(id);
  if (found != parameterData_.end()) member.postParameterData(id, found->second);
}

std::vector<std::shared_ptr<ConferenceMember>> Conference::members() const {
  std::vector<std::shared_ptr<ConferenceMember>> alive;
  for (const auto& [userId, member] : members_)
    if (auto locked = member.lock()) alive.push_back(std::move(locked));
  return alive;
}

}  // namespace meeting
