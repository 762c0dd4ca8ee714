// The runtime of one participant's container: answers from what the host knows about the
// participant, everything shared goes to the conference. [main-thread]
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "meeting/Conference.h"
#include "meeting/MessageJournal.h"
#include "ucf/IUCFContainerRuntime.h"

namespace meeting {

// Participant as its runtime describes it.
struct RuntimeSetup {
  std::uint32_t role;  // UCF_ROLE_*
  std::uint32_t mode;  // UCF_RUNTIME_MODE_LISTENER, or 0
  bool recording;      // plays a recorded meeting back
};

class Runtime final : public IUCFContainerRuntime {
 public:
  // All must outlive the runtime. `id` is the participant's in the journal.
  Runtime(const RuntimeSetup& setup, ConferenceMember& member, std::string id,
          Conference& conference, MessageJournal& journal);

  void setRole(std::uint32_t role) { setup_.role = role; }

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
  const std::string id_;
  Conference& conference_;
  MessageJournal& journal_;
  std::map<std::uint32_t, std::uint32_t> itemStates_;
};

}  // namespace meeting
