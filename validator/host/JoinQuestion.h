// The command that this module's objects send each other: 2, whether the presenter's join failed.
#pragma once

#include <array>
#include <cstdint>

#include "mmp/ParticipantRecords.h"
#include "mmp/Records.h"

namespace hostcheck {

// Other objects pass over what lies behind the identity.
struct JoinQuestion {
  tagStmCommand head{sizeof(JoinQuestion), SVS_QUERY_JOINSEESION_FAILED_CMD};
  std::array<std::uint32_t, 2> identity{};  // the sender's; begins with its user id
  tagMSHead ids{};                          // what the sender's document has
  std::uint32_t receiver = 0;               // a user id, or SVS_USER_EVERYBODY
  std::uint32_t reserved = 0;
};
static_assert(sizeof(JoinQuestion) == 40);

}  // namespace hostcheck
