#include "meeting/PluginModule.h"

#include <filesystem>
#include <utility>

namespace meeting {

namespace {

template <class Function>
bool find(platform::Bundle& bundle, const char* name, Function& function) {
  function = reinterpret_cast<Function>(bundle.functionPointer(name));
  return function != nullptr;
}

std::string ownPlugIns() {
  const auto main = platform::Bundle::mainBundle();
  return main ? main->plugInsPath() : std::string(".");
}

Failure notAPlugin(const std::string& path, const std::string& why) {
  return Failure{ExitStatus::noPlugin, "not a plug-in: " + path + ": " + why};
}

// The bundle whose code the file is, or null.
std::shared_ptr<platform::Bundle> bundleOfCode(const std::string& path) {
  std::error_code error;
  const auto code = std::filesystem::canonical(path, error);
  if (error) return nullptr;
  auto bundle = platform::Bundle::create(code.parent_path().parent_path().parent_path().string());
  return bundle && bundle->executablePath() == code ? bundle : nullptr;
}

}  // namespace

std::shared_ptr<platform::Bundle> PluginModule::bundleAt(const std::string& path) {
  auto bundle = platform::Bundle::create(path);
  if (!bundle) bundle = bundleOfCode(path);
  if (bundle || path.find('/') != std::string::npos) return bundle;
  return platform::Bundle::create(ownPlugIns() + "/" + path);
}

std::variant<PluginModule, Failure> PluginModule::load(std::string path) {
  if (path.empty()) path = ownPlugIns() + "/movara.bundle";
  PluginModule module;
  module.bundle_ = bundleAt(path);
  if (!module.bundle_) return Failure{ExitStatus::noPlugin, "no plug-in at " + path};
  std::string error;
  if (!module.bundle_->load(&error)) return notAPlugin(path, error);
  if (!module.findExports()) return notAPlugin(path, "an exported function is missing");
  const int version = module.getInterfaceVersion_();
  if (version != UCF_INTERFACE_VERSION)
    return notAPlugin(path, "interface version " + std::to_string(version) + " instead of " +
                                std::to_string(UCF_INTERFACE_VERSION));
  return module;
}

bool PluginModule::findExports() {
  return find(*bundle_, "UCFInitialize", initialize_) && find(*bundle_, "UCFCleanup", cleanup_) &&
         find(*bundle_, "UCFCreateInstance", createInstance_) &&
         find(*bundle_, "UCFDeleteInstance", deleteInstance_) &&
         find(*bundle_, "UCFGetInterfaceVersion", getInterfaceVersion_);
}

IUCFObjectBase* PluginModule::createInstance(IUCFContainerBase& container, const std::string& name,
                                             UCFCtx context, const std::string& fileName) const {
  // The contract takes both texts as writable; the copies keep ours out of reach.
  std::string nameCopy = name;
  std::string fileNameCopy = fileName;
  IUCFObjectBase* object = nullptr;
  const UCFResult result = createInstance_(&container, nameCopy.data(), context,
                                           fileNameCopy.data(), nullptr, 0, &object);
  return result == UCF_OK ? object : nullptr;
}

}  // namespace meeting
