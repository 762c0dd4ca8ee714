// The five exports of a bundle of the plug-in, loaded for as long as this lives.
#pragma once

#include <dlfcn.h>

#include "ucf/Exports.h"

namespace contract {

class Module {
 public:
  explicit Module(const char* code = MOVARA_BUNDLE_CODE)
      : code_(dlopen(code, RTLD_NOW | RTLD_LOCAL)) {}
  ~Module() {
    if (code_ != nullptr) dlclose(code_);
  }
  Module(const Module&) = delete;
  Module& operator=(const Module&) = delete;

  // One for all tests that do not care.
  static const Module& loaded() {
    static const Module module;
    return module;
  }

 private:
  template <class Function>
  Function function(const char* name) const {
    return reinterpret_cast<Function>(code_ != nullptr ? dlsym(code_, name) : nullptr);
  }

  void* const code_;

 public:
  const UCFInitializeFn initialize = function<UCFInitializeFn>("UCFInitialize");
  const UCFCleanupFn cleanup = function<UCFCleanupFn>("UCFCleanup");
  const UCFCreateInstanceFn createInstance = function<UCFCreateInstanceFn>("UCFCreateInstance");
  const UCFDeleteInstanceFn deleteInstance = function<UCFDeleteInstanceFn>("UCFDeleteInstance");
  const UCFGetInterfaceVersionFn getInterfaceVersion =
      function<UCFGetInterfaceVersionFn>("UCFGetInterfaceVersion");
};

}  // namespace contract
