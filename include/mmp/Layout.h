// Static checks of a wire record: placed right behind each struct.
#ifndef MMP_LAYOUT_H
#define MMP_LAYOUT_H

#include <cstddef>
#include <cstdint>
#include <type_traits>

#define MMP_RECORD(type, bytes)                                                                  \
  static_assert(std::is_standard_layout<type>::value && std::is_trivially_copyable<type>::value, \
                #type " must be plain data");                                                    \
  static_assert(sizeof(type) == (bytes), #type " size")

#define MMP_FIELD(type, field, at, bytes)                                        \
  static_assert(offsetof(type, field) == (at) && sizeof(type::field) == (bytes), \
                #type "::" #field " layout")

#endif  // MMP_LAYOUT_H
