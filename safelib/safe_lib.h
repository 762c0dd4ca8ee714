// Bounds-checked comparison and move with a runtime-constraint handler, in the manner of ISO/IEC TR
// 24731-1 (C11 Annex K). A violated constraint is reported to the installed handler and returned.
// The functions keep no state [any-thread]; handlers are installed at start-up, unlocked.
#pragma once

#include <cstdint>

#define SAFELIB_API __attribute__((visibility("default")))

// Error codes; 0 is success.
inline constexpr int SAFE_LIB_ERR_NULL = 400;          // a required pointer is null
inline constexpr int SAFE_LIB_ERR_ZERO_LENGTH = 401;   // a length is 0
inline constexpr int SAFE_LIB_ERR_TOO_LARGE = 403;     // a length is above its bound
inline constexpr int SAFE_LIB_ERR_UNTERMINATED = 407;  // no terminator within dmax characters

// memmove_s takes destinations smaller than this, in bytes.
inline constexpr std::uint32_t SAFE_LIB_MAX_MEM = 0x10000000;

extern "C" {

// Receives the message, null and the error code. It may return.
using safe_lib_constraint_handler_t = void (*)(const char* message, void* ptr, int error);

SAFELIB_API void safe_lib_default_constraint_handler(const char* message, void* ptr, int error);
SAFELIB_API void safe_lib_ignore_handler(const char* message, void* ptr, int error);

// Installs `handler`, or the default one for null; returns the handler that was in force.
SAFELIB_API safe_lib_constraint_handler_t
safe_lib_set_constraint_handler(safe_lib_constraint_handler_t handler);
SAFELIB_API void invoke_safe_lib_constraint_handler(const char* message, void* ptr, int error);

// Compares at most `dmax` characters of `dest` with `src`, ignoring case. `*indicator` receives 0
// when equal, a negative number when `dest` sorts first, a positive one when it sorts after.
SAFELIB_API int strcasecmp_s(const char* dest, std::uint32_t dmax, const char* src, int* indicator);

// Moves `smax` bytes into a buffer of `dmax` bytes; the areas may overlap. Where only the source or
// its length is at fault the destination is cleared.
SAFELIB_API int memmove_s(void* dest, std::uint32_t dmax, const void* src, std::uint32_t smax);
}
