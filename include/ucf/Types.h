// Records, identifiers and result codes that cross the boundary between the host's component
// framework and a plug-in module. Layouts are fixed: little-endian, natural alignment.
#ifndef UCF_TYPES_H
#define UCF_TYPES_H

#include <cstddef>
#include <cstdint>

// Result of operations across the boundary: 0 for success, top bit set for failure.
using UCFResult = std::uint32_t;
inline constexpr UCFResult UCF_OK = 0;
inline constexpr UCFResult UCF_E_NOINTERFACE = 0x80000004U;    // identifier not served
inline constexpr UCFResult UCF_E_NO_CONTAINER = 0x80000005U;   // object has no container
inline constexpr UCFResult UCF_E_INVALID_ARG = 0x80000008U;    // null parent view or rectangle
inline constexpr UCFResult UCF_E_CREATE_FAILED = 0x80000019U;  // could not be made

// Creation context: 0 for an object in the meeting's document area (embed mode), anything else for
// an object created for a named file outside of it.
using UCFCtx = std::uint32_t;

enum UCFInterfaceID : std::uint32_t {
  UCF_IID_CONTAINER_RUNTIME = 1,           // of the container: IUCFContainerRuntime
  UCF_IID_OBJECT_BASE = 3,                 // of the object: IUCFObjectBase
  UCF_IID_OBJECT_BASE_2 = 4,               // of the object: IUCFObjectBase as well
  UCF_IID_OBJECT_RUNTIME = 5,              // of the object: IUCFObjectRuntime
  UCF_IID_OBJECT_MSG_ROUTER = 0x1FFFFFFF,  // of either: its IUCFMsgRouter
};

// Senders and receivers of routed messages.
enum enumMODULE_TYPE : std::uint32_t {
  MODULE_TYPE_SVS = 0,   // streaming video sharing: this plug-in
  MODULE_TYPE_MMP = 1,   // the meeting's multimedia platform
  MODULE_TYPE_CONF = 2,  // the conference
};

// How the host uses the object at the moment. The module knows two values.
enum UCFUsageMode : std::uint32_t {
  UCF_USAGE_DEFAULT = 10,           // assumed before the host says anything
  UCF_USAGE_KEEP_ITEM_STATES = 11,  // deactivation leaves the host's item states alone
};

enum UCFSysCmd : std::uint32_t {};
enum UCFUsersChange : std::uint32_t {};

// Rectangle in view points; width is right - left, height is bottom - top.
struct tagUCFRect {
  std::int32_t left;
  std::int32_t top;
  std::int32_t right;
  std::int32_t bottom;
};
static_assert(sizeof(tagUCFRect) == 16 && offsetof(tagUCFRect, left) == 0 &&
                  offsetof(tagUCFRect, top) == 4 && offsetof(tagUCFRect, right) == 8 &&
                  offsetof(tagUCFRect, bottom) == 12,
              "tagUCFRect layout");

enum UCFVariantType : std::uint32_t {
  UCFVT_I1 = 1,     // one byte, held sign-extended in lVal
  UCFVT_I4 = 6,     // signed 32-bit integer in lVal
  UCFVT_STR = 10,   // zero-terminated narrow string, owned by whoever filled the variant
  UCFVT_WSTR = 12,  // zero-terminated UTF-16LE string, owned by whoever filled the variant
};

// Tagged value. One that the container filled is given back with its FreeVariant.
struct tagUCFVariant {
  std::uint32_t vt;        // UCFVariantType
  std::uint32_t reserved;  // never read
  union {
    std::int32_t lVal;
    const char* pszVal;
    const char16_t* pwszVal;
    std::uint64_t ullVal;
  };
};
static_assert(sizeof(tagUCFVariant) == 16 && offsetof(tagUCFVariant, vt) == 0 &&
                  offsetof(tagUCFVariant, lVal) == 8 && offsetof(tagUCFVariant, pszVal) == 8,
              "tagUCFVariant layout");

// Host record of the block data callbacks; modules never look inside.
struct tagUCFVdData;

#endif  // UCF_TYPES_H
