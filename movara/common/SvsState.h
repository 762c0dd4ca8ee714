// State of a document's streaming channel, kept by SVSMgr and followed by the player.
#pragma once

#include <cstdint>

enum SvsState : std::uint32_t {
  SVS_INIT = 0,
  SVS_JOINSESSION_SUCCESS = 1,
  SVS_JOINSESSION_FAILED = 2,
  SVS_OPENFILE_SUCCESS = 3,
  SVS_OPENFILE_FAILED = 4,
  SVS_OPENFILE_FAILED_2012 = 5,
  SVS_REGISTERCHANNEL_PENDING = 6,  // the platform has created the channel
  SVS_REGISTERCHANNEL_SUCCESS = 7,  // the channel is joined: requests and samples flow
  SVS_REGISTERCHANNEL_FAILED = 8,
  SVS_FAILOVER = 9,  // shown by the player; nothing in the module enters it
  SVS_MAX_ATTENDEE_REACHED = 10,
  SVS_STOPPED_FOR_BANDWIDTH = 11,
  SVS_SESSION_LEFT = 12,
};
