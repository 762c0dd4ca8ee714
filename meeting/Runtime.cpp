#include "meeting/Runtime.h"

#include <cstring>

namespace meeting {

namespace {

// Longest command that instances may send each other; theirs are below 20 bytes.
constexpr std::uint32_t kMaxCommandBytes = 64U * 1024;

Bytes copyOf(const void* data, std::uint32_t length) {
  const auto* bytes = static_cast<const unsigned char*>(data);
  return {bytes, bytes + length};
}

bool isAcceptable(const void* data, std::uint32_t length) {
  return data != nullptr && length <= kMaxCommandBytes;
}

}  // namespace

Runtime::Runtime(const RuntimeSetup& setup, ConferenceMember& member, Conference& conference)
    : setup_(setup), member_(member), conference_(conference) {}

std::uint32_t Runtime::CanSend() { return 1; }

std::uint32_t Runtime::GetRuntimeMode() { return setup_.mode; }

UCFResult Runtime::SendDataToAll(void* data, std::uint32_t length, std::uint32_t /*reserved*/) {
  if (!isAcceptable(data, length)) return UCF_E_INVALID_ARG;
  conference_.sendToAllBut(member_.userId(), copyOf(data, length));
  return UCF_OK;
}

UCFResult Runtime::SendDataToUser(void* data, std::uint32_t length, std::uint32_t userId,
                                  std::uint32_t /*reserved*/) {
  if (!isAcceptable(data, length)) return UCF_E_INVALID_ARG;
  conference_.sendToUser(userId, copyOf(data, length));
  return UCF_OK;
}

UCFResult Runtime::SetParameterData(std::uint32_t id, void* data, std::uint32_t length) {
  if (!isAcceptable(data, length)) return UCF_E_INVALID_ARG;
  return conference_.setParameterData(member_.userId(), id, copyOf(data, length))
             ? UCF_OK
             : UCF_E_INVALID_ARG;
}

std::uint32_t Runtime::RequestParameterData(std::int32_t id) {
  if (id == UCF_QUERY_OWN_DOCUMENT || id == UCF_QUERY_LIVE_MEETING) return 1;
  if (id >= 0) conference_.requestParameterData(member_, static_cast<std::uint32_t>(id));
  return 0;
}

std::uint32_t Runtime::GetCurrentRole() { return setup_.role; }

UCFResult Runtime::GetOwnIdentity(void* out) {
  if (out == nullptr) return UCF_E_INVALID_ARG;
  const std::uint32_t identity[2] = {member_.userId(), 0};
  std::memcpy(out, identity, sizeof identity);
  return UCF_OK;
}

UCFResult Runtime::GetPresenterUserId(std::uint32_t* out) {
  if (out == nullptr) return UCF_E_INVALID_ARG;
  *out = Conference::kPresenterUserId;
  return UCF_OK;
}

UCFResult Runtime::SetItemState(std::uint32_t item, std::uint32_t state,
                                std::uint32_t /*reserved*/) {
  if (item < UCF_ITEM_800 || item > UCF_ITEM_803) return UCF_E_INVALID_ARG;
  itemStates_[item] = state;
  return UCF_OK;
}

}  // namespace meeting
