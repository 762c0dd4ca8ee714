// The container's runtime: meeting state, participant commands, parameter data. A container may
// have none.
#ifndef UCF_IUCFCONTAINERRUNTIME_H
#define UCF_IUCFCONTAINERRUNTIME_H

#include "ucf/Slots.h"
#include "ucf/Types.h"

// Ids of RequestParameterData that ask about the document instead of requesting data.
inline constexpr std::int32_t UCF_QUERY_OWN_DOCUMENT =
    -2;  // nonzero: own document; 0: agenda document
inline constexpr std::int32_t UCF_QUERY_LIVE_MEETING = -4;  // 0: recording playback (NBR mode)

// Runtime mode that makes every participant a listener.
inline constexpr std::uint32_t UCF_RUNTIME_MODE_LISTENER = 1;

// Role bits of GetCurrentRole and OnUserRoleChanged.
inline constexpr std::uint32_t UCF_ROLE_PRESENTER = 1U;
inline constexpr std::uint32_t UCF_ROLE_ATTENDEE = 2U;

// Item ids of SetItemState.
inline constexpr std::uint32_t UCF_ITEM_800 = 800;
inline constexpr std::uint32_t UCF_ITEM_801 = 801;
inline constexpr std::uint32_t UCF_ITEM_802 = 802;
inline constexpr std::uint32_t UCF_ITEM_803 = 803;

class UCF_INTERFACE IUCFContainerRuntime {
 public:
  UCF_SLOTS_BEGIN;

  // Nonzero when commands may be sent now. [main-thread; live]
  UCF_SLOT(0);
  virtual std::uint32_t CanSend() = 0;

  // Runtime mode; UCF_RUNTIME_MODE_LISTENER forces the listener channel. [main-thread; creating]
  UCF_SLOT(1);
  virtual std::uint32_t GetRuntimeMode() = 0;

  // Send a command record to all other participants, or to one. The data is copied; the last
  // argument is 0. [main-thread; live]
  UCF_SLOT(2);
  virtual UCFResult SendDataToAll(void* data, std::uint32_t length, std::uint32_t reserved) = 0;
  UCF_SLOT(3);
  virtual UCFResult SendDataToUser(void* data, std::uint32_t length, std::uint32_t userId,
                                   std::uint32_t reserved) = 0;

  UCF_RESERVED_SLOT(4)
  UCF_RESERVED_SLOT(5)
  UCF_RESERVED_SLOT(6)
  UCF_RESERVED_SLOT(7)
  UCF_RESERVED_SLOT(8)
  UCF_RESERVED_SLOT(9)
  UCF_RESERVED_SLOT(10)
  UCF_RESERVED_SLOT(11)

  // Publishes parameter data `id` of the document for all participants; copied. [main-thread; live]
  UCF_SLOT(12);
  virtual UCFResult SetParameterData(std::uint32_t id, void* data, std::uint32_t length) = 0;

  UCF_RESERVED_SLOT(13)

  // Ids 0 and 1: deliver that parameter data (again) through OnParameterData. The negative ids
  // above are answered at once. [main-thread; creating, live]
  UCF_SLOT(14);
  virtual std::uint32_t RequestParameterData(std::int32_t id) = 0;

  UCF_RESERVED_SLOT(15)
  UCF_RESERVED_SLOT(16)

  // This participant's role bits. [main-thread; creating, live]
  UCF_SLOT(17);
  virtual std::uint32_t GetCurrentRole() = 0;

  // Fills 8 bytes with this participant's identity; the first four are its user id.
  // [main-thread; live]
  UCF_SLOT(18);
  virtual UCFResult GetOwnIdentity(void* out) = 0;

  // Fills the presenter's user id. [main-thread; live]
  UCF_SLOT(19);
  virtual UCFResult GetPresenterUserId(std::uint32_t* out) = 0;

  UCF_RESERVED_SLOT(20)
  UCF_RESERVED_SLOT(21)
  UCF_RESERVED_SLOT(22)
  UCF_RESERVED_SLOT(23)
  UCF_RESERVED_SLOT(24)
  UCF_RESERVED_SLOT(25)
  UCF_RESERVED_SLOT(26)
  UCF_RESERVED_SLOT(27)
  UCF_RESERVED_SLOT(28)
  UCF_RESERVED_SLOT(29)
  UCF_RESERVED_SLOT(30)
  UCF_RESERVED_SLOT(31)
  UCF_RESERVED_SLOT(32)
  UCF_RESERVED_SLOT(33)
  UCF_RESERVED_SLOT(34)
  UCF_RESERVED_SLOT(35)
  UCF_RESERVED_SLOT(36)

  // Sets the state (0 or 1) of a host item; the last argument is 0. [main-thread; live, releasing]
  UCF_SLOT(37);
  virtual UCFResult SetItemState(std::uint32_t item, std::uint32_t state,
                                 std::uint32_t reserved) = 0;

 protected:
  ~IUCFContainerRuntime() = default;
};

#endif  // UCF_IUCFCONTAINERRUNTIME_H
