// The plug-in as the component framework knows it: a bundle with five exported functions.
// [main-thread]
#pragma once

#include <memory>
#include <string>
#include <variant>

#include "meeting/ExitStatus.h"
#include "platform/Bundle.h"
#include "ucf/Exports.h"

namespace meeting {

class PluginModule {
 public:
  // The bundle in the folder `path`, or whose code is the file `path`, or of that name beside our
  // own plug-in when there is neither here; null when there is none of them.
  static std::shared_ptr<platform::Bundle> bundleAt(const std::string& path);
  // What to say where bundleAt finds none.
  static Failure noBundle(const std::string& path);
  // The plug-in of the bundle `path` (empty: movara.bundle in the program's plug-ins
  // folder), with every export found and the interface version checked.
  static std::variant<PluginModule, Failure> load(std::string path);

  void initialize() const { initialize_(); }
  void cleanup() const { cleanup_(); }
  // A new object, which ends in its own Release; null when the plug-in reports failure.
  IUCFObjectBase* createInstance(IUCFContainerBase& container, const std::string& name,
                                 UCFCtx context, const std::string& fileName) const;

 private:
  PluginModule() = default;
  // The first that is missing; null when there are all.
  const char* findExports();

  std::shared_ptr<platform::Bundle> bundle_;
  UCFInitializeFn initialize_ = nullptr;
  UCFCleanupFn cleanup_ = nullptr;
  UCFCreateInstanceFn createInstance_ = nullptr;
  UCFDeleteInstanceFn deleteInstance_ = nullptr;
  UCFGetInterfaceVersionFn getInterfaceVersion_ = nullptr;
};

}  // namespace meeting
