// Memory functions that clients of the framework share. Lengths are bytes. [any-thread]
#pragma once

#include <cstdint>

#include "avcapture/Export.h"

extern "C" {

// Copies `smax` bytes into a buffer of `dmax`; the areas must not overlap. Returns 0, or, leaving
// `dest` zeroed where it is valid, 400 (null pointer), 401 (zero length), 403 (too large) or 404
// (overlap).
AVCAPTURE_API int memcpy_s(void* dest, std::uint32_t dmax, const void* src, std::uint32_t smax);

// Fills `length` bytes with `value`. Returns 0, 400 (null pointer) or 401 (zero length).
AVCAPTURE_API int cs_memset_s(void* dest, std::uint32_t length, std::uint8_t value);

// Unchecked: fill, and move between areas that may overlap.
AVCAPTURE_API void mem_prim_set(void* dest, std::uint32_t length, std::uint8_t value);
AVCAPTURE_API void mem_prim_move(void* dest, const void* src, std::uint32_t length);
}
