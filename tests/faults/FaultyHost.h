// A host whose own memory does not run out, around one object of the built plug-in.
#pragma once

#include "tests/faults/Injector.h"
#include "validator/cases/RecordingHost.h"

namespace faults {

class FaultyHost : public contract::RecordingHost {
 public:
  UCFResult GetUCFInterface(UCFInterfaceID id, void** out) override {
    const Exempt ours;
    return RecordingHost::GetUCFInterface(id, out);
  }
  void FreeVariant(tagUCFVariant* value) override {
    const Exempt ours;
    RecordingHost::FreeVariant(value);
  }
  UCFResult GetProperty(std::uint32_t id, tagUCFVariant* out) override {
    const Exempt ours;
    return RecordingHost::GetProperty(id, out);
  }
  UCFResult GetSharedProperty(std::uint32_t id, tagUCFVariant* out) override {
    const Exempt ours;
    return RecordingHost::GetSharedProperty(id, out);
  }
  UCFResult SetSharedProperty(std::uint32_t id, tagUCFVariant* in) override {
    const Exempt ours;
    return RecordingHost::SetSharedProperty(id, in);
  }
  UCFResult SendDataToAll(void* data, std::uint32_t length, std::uint32_t reserved) override {
    const Exempt ours;
    return RecordingHost::SendDataToAll(data, length, reserved);
  }
  UCFResult SendDataToUser(void* data, std::uint32_t length, std::uint32_t user,
                           std::uint32_t reserved) override {
    const Exempt ours;
    return RecordingHost::SendDataToUser(data, length, user, reserved);
  }
  UCFResult SetParameterData(std::uint32_t id, void* data, std::uint32_t length) override {
    const Exempt ours;
    return RecordingHost::SetParameterData(id, data, length);
  }
  std::uint32_t RequestParameterData(std::int32_t id) override {
    const Exempt ours;
    return RecordingHost::RequestParameterData(id);
  }
  UCFResult SetItemState(std::uint32_t item, std::uint32_t state, std::uint32_t reserved) override {
    const Exempt ours;
    return RecordingHost::SetItemState(item, state, reserved);
  }
  UCFResult RouteMessage(enumMODULE_TYPE from, enumMODULE_TYPE to, unsigned long type,
                         unsigned long uMsg, void* wParam, void* lParam) override {
    const Exempt ours;
    return RecordingHost::RouteMessage(from, to, type, uMsg, wParam, lParam);
  }
};

}  // namespace faults
