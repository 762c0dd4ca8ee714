#include "avcapture/MemPrimitives.h"

#include <cstring>
#include <functional>

namespace {

constexpr int kNullPointer = 400;
constexpr int kZeroLength = 401;
constexpr int kTooLarge = 403;
constexpr int kOverlap = 404;

// std::less orders pointers into different objects, which the built-in comparison does not promise.
bool overlaps(const char* dest, std::uint32_t destLength, const char* src,
              std::uint32_t srcLength) {
  const std::less<> before;
  return before(src, dest + destLength) && before(dest, src + srcLength);
}

// The first violation among the arguments that follow a valid destination, or 0.
int sourceViolation(const void* dest, std::uint32_t dmax, const void* src, std::uint32_t smax) {
  if (smax == 0) return kZeroLength;
  if (smax > dmax) return kTooLarge;
  if (src == nullptr) return kNullPointer;
  if (overlaps(static_cast<const char*>(dest), smax, static_cast<const char*>(src), smax)) {
    return kOverlap;
  }
  return 0;
}

}  // namespace

int memcpy_s(void* dest, std::uint32_t dmax, const void* src, std::uint32_t smax) {
  if (dest == nullptr) return kNullPointer;
  if (dmax == 0) return kZeroLength;
  const int violation = sourceViolation(dest, dmax, src, smax);
  if (violation != 0) {
    std::memset(dest, 0, dmax);
    return violation;
  }
  std::memcpy(dest, src, smax);
  return 0;
}

int cs_memset_s(void* dest, std::uint32_t length, std::uint8_t value) {
  if (dest == nullptr) return kNullPointer;
  if (length == 0) return kZeroLength;
  std::memset(dest, value, length);
  return 0;
}

void mem_prim_set(void* dest, std::uint32_t length, std::uint8_t value) {
  std::memset(dest, value, length);
}

void mem_prim_move(void* dest, const void* src, std::uint32_t length) {
  std::memmove(dest, src, length);
}
