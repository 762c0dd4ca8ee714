#include "meeting/Container.h"

#include <cstdlib>
#include <cstring>
#include <utility>

namespace meeting {

namespace {
// More than any module of this contract stores; keeps a wild one from filling the memory.
constexpr std::size_t kMaxSharedProperties = 1024;
}  // namespace

Container::Container(std::string filePath, IUCFContainerRuntime& runtime, IUCFMsgRouter& router)
    : filePath_(std::move(filePath)), runtime_(runtime), router_(router) {}

UCFResult Container::GetUCFInterface(UCFInterfaceID id, void** out) {
  if (out == nullptr) return UCF_E_INVALID_ARG;
  switch (id) {
    case UCF_IID_CONTAINER_RUNTIME:
      *out = &runtime_;
      return UCF_OK;
    case UCF_IID_OBJECT_MSG_ROUTER:
      *out = &router_;
      return UCF_OK;
    default:
      *out = nullptr;
      return UCF_E_NOINTERFACE;
  }
}

void Container::FreeVariant(tagUCFVariant* variant) {
  if (variant == nullptr) return;
  if (variant->vt == UCFVT_STR) std::free(const_cast<char*>(variant->pszVal));
  *variant = {};
}

UCFResult Container::GetProperty(std::uint32_t id, tagUCFVariant* out) {
  if (out == nullptr || id != UCF_PROPERTY_FILE_PATH || filePath_.empty()) return UCF_E_INVALID_ARG;
  *out = {};
  out->vt = UCFVT_STR;
  out->pszVal = ::strdup(filePath_.c_str());
  return out->pszVal != nullptr ? UCF_OK : UCF_E_INVALID_ARG;
}

UCFResult Container::GetSharedProperty(std::uint32_t id, tagUCFVariant* out) {
  const auto found = shared_.find(id);
  if (out == nullptr || found == shared_.end()) return UCF_E_INVALID_ARG;
  *out = found->second;
  return UCF_OK;
}

UCFResult Container::SetSharedProperty(std::uint32_t id, tagUCFVariant* in) {
  // Texts would need an owner; no module of this contract stores one.
  if (in == nullptr || (in->vt != UCFVT_I1 && in->vt != UCFVT_I4)) return UCF_E_INVALID_ARG;
  if (shared_.size() >= kMaxSharedProperties && shared_.count(id) == 0) return UCF_E_INVALID_ARG;
  tagUCFVariant copy{};
  copy.vt = in->vt;
  copy.lVal = in->lVal;
  shared_[id] = copy;
  return UCF_OK;
}

}  // namespace meeting
