#include "safelib/safe_lib.h"

#include <cctype>

#include "avcapture/MemPrimitives.h"

namespace {

constinit safe_lib_constraint_handler_t current_constraint_handler =
    safe_lib_default_constraint_handler;
constinit safe_lib_constraint_handler_t previous_constraint_handler =
    safe_lib_default_constraint_handler;

int violated(const char* message, int error) {
  invoke_safe_lib_constraint_handler(message, nullptr, error);
  return error;
}

// For violations after which the destination is known to be valid: no stale bytes stay in it.
int violatedAfterClearing(void* dest, std::uint32_t dmax, const char* message, int error) {
  mem_prim_set(dest, dmax, 0);
  return violated(message, error);
}

int upper(char character) { return std::toupper(static_cast<unsigned char>(character)); }

}  // namespace

void safe_lib_default_constraint_handler(const char* /*message*/, void* /*ptr*/, int /*error*/) {}

void safe_lib_ignore_handler(const char* /*message*/, void* /*ptr*/, int /*error*/) {}

safe_lib_constraint_handler_t safe_lib_set_constraint_handler(
    safe_lib_constraint_handler_t handler) {
  previous_constraint_handler = current_constraint_handler;
  current_constraint_handler = handler != nullptr ? handler : safe_lib_default_constraint_handler;
  return previous_constraint_handler;
}

void invoke_safe_lib_constraint_handler(const char* message, void* ptr, int error) {
  if (current_constraint_handler != nullptr) current_constraint_handler(message, ptr, error);
}

int strcasecmp_s(const char* dest, std::uint32_t dmax, const char* src, int* indicator) {
  if (indicator == nullptr) {
    return violated("strcasecmp_s: indicator is null", SAFE_LIB_ERR_NULL);
  }
  *indicator = 0;
  if (dest == nullptr) return violated("strcasecmp_s: dest is null", SAFE_LIB_ERR_NULL);
  if (src == nullptr) return violated("strcasecmp_s: src is null", SAFE_LIB_ERR_NULL);
  if (dmax == 0) return violated("strcasecmp_s: dmax is 0", SAFE_LIB_ERR_ZERO_LENGTH);

  // The count is looked at only after the terminators, so a string of exactly dmax characters is
  // accepted when its terminator follows.
  for (std::uint32_t remaining = dmax; *dest != '\0' && *src != '\0'; --remaining, ++dest, ++src) {
    if (remaining == 0) {
      return violated("strcasecmp_s: dest is unterminated", SAFE_LIB_ERR_UNTERMINATED);
    }
    if (upper(*dest) != upper(*src)) break;
  }
  *indicator = upper(*dest) - upper(*src);
  return 0;
}

int memmove_s(void* dest, std::uint32_t dmax, const void* src, std::uint32_t smax) {
  if (dest == nullptr) return violated("memmove_s: dest is null", SAFE_LIB_ERR_NULL);
  if (dmax == 0) return violated("memmove_s: dmax is 0", SAFE_LIB_ERR_ZERO_LENGTH);
  if (dmax >= SAFE_LIB_MAX_MEM) {
    return violated("memmove_s: dmax exceeds max", SAFE_LIB_ERR_TOO_LARGE);
  }
  if (smax == 0) {
    return violatedAfterClearing(dest, dmax, "memmove_s: smax is 0", SAFE_LIB_ERR_ZERO_LENGTH);
  }
  if (smax > dmax) {
    return violatedAfterClearing(dest, dmax, "memmove_s: smax exceeds max", SAFE_LIB_ERR_TOO_LARGE);
  }
  if (src == nullptr) {
    return violatedAfterClearing(dest, dmax, "memmove_s: src is null", SAFE_LIB_ERR_NULL);
  }
  mem_prim_move(dest, src, smax);
  return 0;
}
