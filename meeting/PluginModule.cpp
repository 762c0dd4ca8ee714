#include "meeting/PluginModule.h"

#include <filesystem>
#include <type_traits>
#include <utility>

namespace meeting {

namespace {

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

Failure PluginModule::noBundle(const std::string& path) {
  std::error_code none;
  return std::filesystem::exists(path, none)
             ? notAPlugin(path, "no bundle, nor the code of one")
             : Failure{ExitStatus::noPlugin, "no plug-in at " + path};
}

std::variant<PluginModule, Failure> PluginModule::load(std::string path) {
  if (path.empty()) path = ownPlugIns() + "/movara.bundle";
  PluginModule module;
  module.bundle_ = bundleAt(path);
  if (!module.bundle_) return noBundle(path);
  std::string error;
  if (!module.bundle_->load(&error)) return notAPlugin(path, error);
  if (const char* missing = module.findExports())
    return notAPlugin(path, std::string("an exported function is missing: ") + missing);
  const int version = module.getInterfaceVersion_();
  if (version != UCF_INTERFACE_VERSION)
    return notAPlugin(path, "interface version " + std::to_string(version) + " instead of " +
                                std::to_string(UCF_INTERFACE_VERSION));
  return module;
}

const char* PluginModule::findExports() {
  const auto misses = [this](const char* name, auto& function) {
    function = reinterpret_cast<std::remove_reference_t<decltype(function)>>(
        bundle_->functionPointer(name));
    return function == nullptr;
  };
  if (misses("UCFInitialize", initialize_)) return "UCFInitialize";
  if (misses("UCFCleanup", cleanup_)) return "UCFCleanup";
  if (misses("UCFCreateInstance", createInstance_)) return "UCFCreateInstance";
  if (misses("UCFDeleteInstance", deleteInstance_)) return "UCFDeleteInstance";
  if (misses("UCFGetInterfaceVersion", getInterfaceVersion_)) return "UCFGetInterfaceVersion";
  return nullptr;
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
