#include "meeting/Runtime.h"

#include <cstring>
#include <utility>

#include "mmp/ParticipantRecords.h"

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

Runtime::Runtime(const RuntimeSetup& setup, ConferenceMember& member, std::string id,
                 Conference& conference, MessageJournal& journal)
    : setup_(setup),
      member_(member),
      id_(std::move(id)),
      conference_(conference),
      journal_(journal) {}

std::uint32_t Runtime::CanSend() { return 1; }

std::uint32_t Runtime::GetRuntimeMode() { return setup_.mode; }

UCFResult Runtime::SendDataToAll(void* data, std::uint32_t length, std::uint32_t /*reserved*/) {
  if (!isAcceptable(data, length)) return UCF_E_INVALID_ARG;
  const Bytes command = copyOf(data, length);
  journal_.recordCommand(id_, Direction::toHost, command, SVS_USER_EVERYBODY);
  conference_.sendToAllBut(member_.userId(), command);
  return UCF_OK;
}

UCFResult Runtime::SendDataToUser(void* data, std::uint32_t length, std::uint32_t userId,
                                  std::uint32_t /*reserved*/) {
  if (!isAcceptable(data, length)) return UCF_E_INVALID_ARG;
  const Bytes command = copyOf(data, length);
  journal_.recordCommand(id_, Direction::toHost, command, userId);
  conference_.sendToUser(userId, command);
  return UCF_OK;
}

UCFResult Runtime::SetParameterData(std::uint32_t id, void* data, std::uint32_t length) {
  if (!isAcceptable(data, length)) return UCF_E_INVALID_ARG;
  Bytes value = copyOf(data, length);
  journal_.recordParameterData(id_, Direction::toHost, id, value);
  return conference_.setParameterData(member_.userId(), id, std::move(value)) ? UCF_OK
                                                                              : UCF_E_INVALID_ARG;
}

std::uint32_t Runtime::RequestParameterData(std::int32_t id) {
  if (id == UCF_QUERY_OWN_DOCUMENT) return 1;
  if (id == UCF_QUERY_LIVE_MEETING) return setup_.recording ? 0 : 1;
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
