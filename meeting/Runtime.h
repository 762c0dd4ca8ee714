// The runtime of one participant's container: answers from what the host knows about the
// participant, everything shared goes to the conference. [main-thread]
#pragma once

#include <cstdint>
#include <map>

#include "meeting/Conference.h"
#include "ucf/IUCFContainerRuntime.h"

namespace meeting {

// Participant as its runtime describes it.
struct RuntimeSetup {
  std::uint32_t role;  // UCF_ROLE_*
  std::uint32_t mode;  // UCF_RUNTIME_MODE_LISTENER, or 0
};

class Runtime final : public IUCFContainerRuntime {
 public:
  // Both must outlive the runtime.
  Runtime(const RuntimeSetup& setup, ConferenceMember& member, Conference& conference);

  std::uint32_t CanSend() override;
  std::uint32_t GetRuntimeMode() override;
  UCFResult SendDataToAll(void* data, std::uint32_t length, std::uint32_t reserved) override;
  UCFResult SendDataToUser(void* data, std::uint32_t length, std::uint32_t userId,
                           std::uint32_t reserved) override;
  UCFResult SetParameterData(std::uint32_t id, void* data, std::uint32_t length) override;
  std::uint32_t RequestParameterData(std::int32_t id) override;
  std::uint32_t GetCurrentRole() override;
  UCFResult GetOwnIdentity(void* out) override;
  UCFResult GetPresenterUserId(std::uint32_t* out) override;
  UCFResult SetItemState(std::uint32_t item, std::uint32_t state, std::uint32_t reserved) override;

 private:
  RuntimeSetup setup_;
  ConferenceMember& member_;
  Conference& conference_;
  std::map<std::uint32_t, std::uint32_t> itemStates_;
};

}  // namespace meeting
