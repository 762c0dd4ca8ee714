#include "validator/host/MemoryInUse.h"

#include <dlfcn.h>
#include <malloc.h>

#include <memory>

namespace hostcheck {

namespace {

using Ask = std::size_t (*)();

std::size_t askLibrary() { return mallinfo2().uordblks; }

// A sanitizer's allocator has a function of its own.
Ask source() {
  void* const sanitizer = dlsym(RTLD_DEFAULT, "__sanitizer_get_current_allocated_bytes");
  return sanitizer != nullptr ? reinterpret_cast<Ask>(sanitizer) : &askLibrary;
}

// Another allocator may have taken the library's place: then what it tells does not move.
bool tells(Ask ask) {
  constexpr std::size_t kSample = 4096;
  const std::size_t before = ask();
  const std::unique_ptr<volatile char[]> sample(new volatile char[kSample]);
  sample[0] = 1;
  return ask() != before;
}

}  // namespace

std::optional<std::size_t> memoryInUse() {
  static const Ask ask = source();
  static const bool known = tells(ask);
  return known ? std::optional(ask()) : std::nullopt;
}

}  // namespace hostcheck
