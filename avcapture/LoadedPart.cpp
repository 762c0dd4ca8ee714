#include "avcapture/LoadedPart.h"

#include <dlfcn.h>

#include <filesystem>

namespace avcapture {

void* findMaker(const char* library, const char* maker) {
  Dl_info own{};
  if (dladdr(reinterpret_cast<const void*>(&findMaker), &own) == 0) return nullptr;
  const auto path = std::filesystem::path(own.dli_fname).parent_path() / library;
  void* const code = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  return code != nullptr ? dlsym(code, maker) : nullptr;
}

}  // namespace avcapture
