// For the recording trace bundles: where their code was loaded from.
#pragma once

#include <dlfcn.h>

inline const char* origin(const void* addressInBundle) {
  Dl_info info{};
  return dladdr(addressInBundle, &info) != 0 ? info.dli_fname : "unknown";
}
