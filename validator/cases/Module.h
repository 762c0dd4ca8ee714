// The five exports of a bundle of the plug-in, loaded for as long as this lives. [main-thread]
#pragma once

#include <dlfcn.h>

#include <array>
#include <string>

#include "ucf/Exports.h"

namespace contract {

// The code of the plug-in that the program looks at; each program says which.
const char* pluginCode();

class Module {
 public:
  explicit Module(const char* code = pluginCode()) : code_(dlopen(code, RTLD_NOW | RTLD_LOCAL)) {
    if (code_ == nullptr) error_ = dlerror();  // NOLINT(concurrency-mt-unsafe): keeps it per thread
  }
  ~Module() {
    if (code_ != nullptr) dlclose(code_);
  }
  Module(const Module&) = delete;
  Module& operator=(const Module&) = delete;

  // One for all cases that do not care.
  static const Module& loaded() {
    static const Module module;
    return module;
  }

  static constexpr std::array kExports = {"UCFInitialize", "UCFCleanup", "UCFCreateInstance",
                                          "UCFDeleteInstance", "UCFGetInterfaceVersion"};

  const std::string& error() const { return error_; }  // empty when it was loaded
  // Of the code and of the libraries that it needs; null when there is none of the name.
  void* symbol(const char* name) const { return code_ != nullptr ? dlsym(code_, name) : nullptr; }
  // Why no object can be made; empty when it can.
  std::string unusable() const {
    if (!error_.empty()) return "the code cannot be loaded";
    std::string missing;
    for (const char* const name : kExports)
      if (symbol(name) == nullptr) missing += (missing.empty() ? "" : ", ") + std::string(name);
    return missing.empty() ? missing : "an export is missing: " + missing;
  }
  // Whether its objects and their players have movara's tables behind what the contract says: only
  // then can they be looked into. movara alone exports this key of its player's store.
  bool isMovaraInside() const { return symbol("kAVMovieCurrentPresenterRole") != nullptr; }

 private:
  template <class Function>
  Function function(const char* name) const {
    return reinterpret_cast<Function>(symbol(name));
  }

  void* const code_;
  std::string error_;

 public:
  const UCFInitializeFn initialize = function<UCFInitializeFn>("UCFInitialize");
  const UCFCleanupFn cleanup = function<UCFCleanupFn>("UCFCleanup");
  const UCFCreateInstanceFn createInstance = function<UCFCreateInstanceFn>("UCFCreateInstance");
  const UCFDeleteInstanceFn deleteInstance = function<UCFDeleteInstanceFn>("UCFDeleteInstance");
  const UCFGetInterfaceVersionFn getInterfaceVersion =
      function<UCFGetInterfaceVersionFn>("UCFGetInterfaceVersion");
};

// What a host does before it makes objects of the module, and when all of them are gone. A module
// that cannot be used is left alone.
class Loading {
 public:
  explicit Loading(const Module& module) : module_(module), usable_(module.unusable().empty()) {
    if (!usable_) return;
    module_.getInterfaceVersion();  // what it answers is a matter of a case of its own
    module_.initialize();
  }
  ~Loading() {
    if (usable_) module_.cleanup();
  }
  Loading(const Loading&) = delete;
  Loading& operator=(const Loading&) = delete;

 private:
  const Module& module_;
  const bool usable_;
};

}  // namespace contract
