#include "validator/host/ContainerCalls.h"

#include <array>
#include <cstring>
#include <string>

#include "validator/host/Checks.h"
#include "validator/host/MemoryInUse.h"

namespace hostcheck {

namespace {

// What no host of this contract serves.
constexpr auto kUnknownInterface = static_cast<UCFInterfaceID>(0x7FFF0001);
constexpr std::uint32_t kUnknownProperty = 0x7FFF0001;
constexpr std::uint32_t kUnusedBits = 0xA5A5A5A5U;
constexpr unsigned char kOverwritten = 0xEE;

// The smallest block that an allocator hands out; a leak is at least that large each time.
constexpr std::size_t kSmallestBlock = 16;
constexpr int kFillings = 512;

bool note(Check check, bool holds, const std::string& reason) {
  return Findings::shared().note(check, holds, reason);
}

tagUCFVariant unfilled() {
  tagUCFVariant variant{};
  variant.vt = kUnusedBits;
  variant.reserved = kUnusedBits;
  variant.ullVal = kUnusedBits;
  return variant;
}

bool isUnfilled(const tagUCFVariant& variant) {
  return variant.vt == kUnusedBits && variant.reserved == kUnusedBits &&
         variant.ullVal == kUnusedBits;
}

bool holdsText(const tagUCFVariant& variant) {
  if (variant.vt == UCFVT_STR) return variant.pszVal != nullptr && *variant.pszVal != '\0';
  return variant.vt == UCFVT_WSTR && variant.pwszVal != nullptr && *variant.pwszVal != u'\0';
}

}  // namespace

ContainerCalls::ContainerCalls(IUCFContainerBase& container) : container_(container) {
  checkInterfaces();
  if (runtime_ == nullptr) return;
  readIdentity();
  checkRole();
}

void ContainerCalls::checkInterfaces() {
  runtime_ = find<IUCFContainerRuntime>(UCF_IID_CONTAINER_RUNTIME);
  router_ = find<IUCFMsgRouter>(UCF_IID_OBJECT_MSG_ROUTER);
  void* out = this;
  container_.GetUCFInterface(kUnknownInterface, &out);
  note(Check::unknownRefused, out == nullptr, "for an unknown identifier no null was stored");
}

template <class Interface>
Interface* ContainerCalls::find(UCFInterfaceID id) {
  std::array<void*, 2> found{};
  for (void*& out : found) {
    const UCFResult result = container_.GetUCFInterface(id, &out);
    const bool consistent = result == UCF_OK || out == nullptr;
    note(Check::interfacesServed, consistent,
         "interface " + std::to_string(id) + " was refused, and stored as well");
    if (!consistent) out = nullptr;
  }
  if (found[0] != nullptr || found[1] != nullptr)
    note(Check::interfacesServed, found[0] == found[1],
         "interface " + std::to_string(id) + " is another one when asked again");
  return static_cast<Interface*>(found[0]);
}

bool ContainerCalls::ownDocument() const {
  return runtime_ == nullptr || runtime_->RequestParameterData(UCF_QUERY_OWN_DOCUMENT) != 0;
}

bool ContainerCalls::liveMeeting() const {
  return runtime_ == nullptr || runtime_->RequestParameterData(UCF_QUERY_LIVE_MEETING) != 0;
}

// --- container ---

void ContainerCalls::checkFilePath(bool needed) {
  const bool found =
      checkText(UCF_PROPERTY_FILE_PATH) || checkText(UCF_PROPERTY_FILE_PATH_FALLBACK);
  if (needed)
    note(Check::filePath, found, "neither property 8 nor property 5 is a text that is not empty");
  tagUCFVariant variant = unfilled();
  if (container_.GetProperty(kUnknownProperty, &variant) == UCF_OK)
    container_.FreeVariant(&variant);
  else
    note(Check::refusalLeavesAlone, isUnfilled(variant),
         "an unknown property was refused, and the variant written");
}

bool ContainerCalls::checkText(std::uint32_t id) {
  tagUCFVariant variant = unfilled();
  if (container_.GetProperty(id, &variant) != UCF_OK) {
    note(Check::refusalLeavesAlone, isUnfilled(variant),
         "property " + std::to_string(id) + " was refused, and the variant written");
    return false;
  }
  const bool text = holdsText(variant);
  if (!text)
    note(Check::filePath, false,
         "property " + std::to_string(id) + " is no text, or an empty one: type " +
             std::to_string(variant.vt));
  container_.FreeVariant(&variant);
  if (text) checkFreeing(id);
  return text;
}

// What is filled and given back many times must not add up. Other threads may allocate meanwhile:
// only what grows each time is a leak.
void ContainerCalls::checkFreeing(std::uint32_t id) {
  for (int attempt = 0; attempt < 3; ++attempt) {
    const auto before = memoryInUse();
    if (!before) return;
    for (int filling = 0; filling < kFillings; ++filling) {
      tagUCFVariant variant{};
      if (container_.GetProperty(id, &variant) == UCF_OK) container_.FreeVariant(&variant);
    }
    if (memoryInUse().value_or(0) < *before + kFillings * kSmallestBlock)
      return void(note(Check::variantsFreed, true, ""));
  }
  note(Check::variantsFreed, false,
       "memory grows each time that property " + std::to_string(id) + " is read and given back");
}

void ContainerCalls::checkSharedProperties() {
  tagUCFVariant former = unfilled();
  if (container_.GetSharedProperty(STM_KEY_STATUS, &former) == UCF_OK) {
    note(Check::sharedProperties, !isUnfilled(former),
         "GetSharedProperty (slot 19) answers UCF_OK and has filled nothing: as SetSharedProperty "
         "would (slot 20)");
    if (!isUnfilled(former)) container_.FreeVariant(&former);
  }
  for (const std::int32_t value : {7, 0}) {
    tagUCFVariant kept{};
    kept.vt = UCFVT_I4;
    kept.lVal = value;
    if (container_.SetSharedProperty(STM_KEY_STATUS, &kept) != UCF_OK) return;
    kept.lVal = -1;  // the host has a copy
    tagUCFVariant read{};
    const UCFResult result = container_.GetSharedProperty(STM_KEY_STATUS, &read);
    if (!note(Check::sharedProperties, result == UCF_OK,
              "SetSharedProperty (slot 20) took a number, and GetSharedProperty (slot 19) then "
              "refused it: keep it, or refuse both"))
      return;
    note(Check::sharedProperties, read.vt == UCFVT_I4 && read.lVal == value,
         "a number that was taken is not what is read afterwards");
    container_.FreeVariant(&read);
  }
}

// --- runtime ---

void ContainerCalls::readIdentity() {
  std::array<std::uint32_t, 4> identity{};
  identity.fill(kUnusedBits);
  if (runtime_->GetOwnIdentity(identity.data()) != UCF_OK) return;
  hasIdentity_ = note(Check::identity, identity[2] == kUnusedBits && identity[3] == kUnusedBits,
                      "GetOwnIdentity (slot 18) writes more than 8 bytes") &&
                 note(Check::identity, identity[1] != kUnusedBits,
                      "GetOwnIdentity (slot 18) writes fewer than 8 bytes");
  question_.identity = {identity[0], identity[1]};
}

std::optional<std::uint32_t> ContainerCalls::presenter() const {
  std::array<std::uint32_t, 2> userId{kUnusedBits, kUnusedBits};
  if (runtime_ == nullptr || runtime_->GetPresenterUserId(userId.data()) != UCF_OK) return {};
  note(Check::identity, userId[1] == kUnusedBits,
       "GetPresenterUserId (slot 19) writes more than 4 bytes");
  return userId[0];
}

void ContainerCalls::checkRole() {
  const std::uint32_t role = runtime_->GetCurrentRole();
  const bool hasRole = (role & UCF_ROLE_PRESENTER) != 0;
  presents_ = ownDocument() && runtime_->GetRuntimeMode() != UCF_RUNTIME_MODE_LISTENER;
  if (!note(Check::role, hasRole || (role & UCF_ROLE_ATTENDEE) != 0,
            "role " + std::to_string(role) + " is neither presenter nor attendee") ||
      !ownDocument() || !liveMeeting())
    return;
  // Others with a presenter's role may listen; the presenter may not.
  const auto userId = presenter();
  const bool mayListen = !hasRole || !userId || !isOwnUser(*userId);
  const bool agrees = presents_ ? hasRole : mayListen;
  note(Check::runtimeMode, agrees,
       hasRole ? "GetRuntimeMode (slot 1) makes the presenter a listener"
               : "GetRuntimeMode (slot 1) does not make an attendee a listener");
  if (!agrees) presents_ = hasRole;
}

void ContainerCalls::checkIdentity(bool presents) const {
  const auto userId = presenter();
  if (hasIdentity_ && userId && presents)
    note(Check::identity, isOwnUser(*userId),
         "who presents has another user id than the presenter");
}

bool ContainerCalls::isOwnUser(std::uint32_t userId) const {
  return hasIdentity_ && question_.identity[0] == userId;
}

void ContainerCalls::setItemState(std::uint32_t item, std::uint32_t state) {
  if (runtime_ == nullptr) return;
  note(Check::itemStates, runtime_->SetItemState(item, state, 0) == UCF_OK,
       "state " + std::to_string(state) + " of item " + std::to_string(item) + " was refused");
}

void ContainerCalls::publish(const tagStmMediaInfo& info) {
  if (runtime_ == nullptr) return;
  std::memcpy(sent_.data(), &info, sizeof info);
  const UCFResult result =
      runtime_->SetParameterData(STM_PARAMETER_MEDIA_INFO, sent_.data(), sizeof info);
  note(Check::parameterData, result == UCF_OK, "what the presenter published was refused");
  // The host has a copy; an object that gets these bytes finds no media in them.
  sent_.fill(kOverwritten);
}

void ContainerCalls::requestMediaInfo() {
  if (runtime_ != nullptr)
    runtime_->RequestParameterData(static_cast<std::int32_t>(STM_PARAMETER_MEDIA_INFO));
}

void ContainerCalls::askWhetherJoinFailed(const tagMSHead& ids) {
  const auto userId = presenter();
  if (!userId || !hasIdentity_ || runtime_->CanSend() == 0) return;
  question_.ids = ids;
  sendQuestion(*userId);
  sendQuestion(SVS_USER_EVERYBODY);
}

void ContainerCalls::sendQuestion(std::uint32_t userId) {
  question_.receiver = userId;
  std::memcpy(sent_.data(), &question_, sizeof question_);
  const UCFResult result = userId == SVS_USER_EVERYBODY
                               ? runtime_->SendDataToAll(sent_.data(), sizeof sent_, 0)
                               : runtime_->SendDataToUser(sent_.data(), sizeof sent_, userId, 0);
  if (result != UCF_OK)
    note(Check::commandReceivers, false, "CanSend (slot 0) allowed a command that was refused");
  sent_.fill(kOverwritten);
}

}  // namespace hostcheck
