// The host's container of one object. It outlives the object; the object never releases it.
#ifndef UCF_IUCFCONTAINERBASE_H
#define UCF_IUCFCONTAINERBASE_H

#include "ucf/Slots.h"
#include "ucf/Types.h"

// Container property ids read at creation: where the shared file lies. A UCFVT_STR or UCFVT_WSTR.
inline constexpr std::uint32_t UCF_PROPERTY_FILE_PATH = 8;
inline constexpr std::uint32_t UCF_PROPERTY_FILE_PATH_FALLBACK = 5;

class UCF_INTERFACE IUCFContainerBase {
 public:
  UCF_SLOTS_BEGIN;

  // Stores the container's runtime or the framework's message router in `*out`, or null. The
  // pointer is borrowed and valid as long as the container. [main-thread; creating]
  UCF_SLOT(0);
  virtual UCFResult GetUCFInterface(UCFInterfaceID id, void** out) = 0;

  UCF_RESERVED_SLOT(1)
  UCF_RESERVED_SLOT(2)
  UCF_RESERVED_SLOT(3)
  UCF_RESERVED_SLOT(4)
  UCF_RESERVED_SLOT(5)

  // Gives back what a successful GetProperty or GetSharedProperty put into the variant.
  // [main-thread; creating, live]
  UCF_SLOT(6);
  virtual void FreeVariant(tagUCFVariant* variant) = 0;

  UCF_RESERVED_SLOT(7)
  UCF_RESERVED_SLOT(8)
  UCF_RESERVED_SLOT(9)
  UCF_RESERVED_SLOT(10)

  // Fills `*out` and returns 0, or returns nonzero and leaves it alone. [main-thread; creating]
  UCF_SLOT(11);
  virtual UCFResult GetProperty(std::uint32_t id, tagUCFVariant* out) = 0;

  UCF_RESERVED_SLOT(12)
  UCF_RESERVED_SLOT(13)
  UCF_RESERVED_SLOT(14)
  UCF_RESERVED_SLOT(15)
  UCF_RESERVED_SLOT(16)
  UCF_RESERVED_SLOT(17)
  UCF_RESERVED_SLOT(18)

  // Properties that the host keeps for the object from one activation to the next; if it does not,
  // both return nonzero. Get fills `*out` with what Set has copied, and returns 0.
  // [main-thread; live, releasing]
  UCF_SLOT(19);
  virtual UCFResult GetSharedProperty(std::uint32_t id, tagUCFVariant* out) = 0;
  UCF_SLOT(20);
  virtual UCFResult SetSharedProperty(std::uint32_t id, tagUCFVariant* in) = 0;

 protected:
  ~IUCFContainerBase() = default;
};

#endif  // UCF_IUCFCONTAINERBASE_H
