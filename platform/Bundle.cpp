#include "platform/Bundle.h"

#include <dlfcn.h>

#include <filesystem>
#include <system_error>
#include <utility>

namespace platform {

namespace fs = std::filesystem;

namespace {

constexpr const char* kContents = "Contents";
constexpr const char* kCode = "Linux";

fs::path bundleOfProgram(const fs::path& program) {
  const fs::path folder = program.parent_path();
  const bool bundled = folder.filename() == kCode && folder.parent_path().filename() == kContents;
  return bundled ? folder.parent_path().parent_path() : folder;
}

}  // namespace

Bundle::Bundle(std::string path) : path_(std::move(path)) {}

Bundle::~Bundle() = default;

std::shared_ptr<Bundle> Bundle::mainBundle() {
  static const std::shared_ptr<Bundle> bundle = []() -> std::shared_ptr<Bundle> {
    std::error_code error;
    const fs::path program = fs::read_symlink("/proc/self/exe", error);
    return error ? nullptr : create(bundleOfProgram(program).string());
  }();
  return bundle;
}

std::shared_ptr<Bundle> Bundle::create(const std::string& path) {
  std::error_code error;
  const fs::path folder = fs::canonical(path, error);
  if (error || !fs::is_directory(folder, error)) return nullptr;
  return std::shared_ptr<Bundle>(new Bundle(folder.string()));
}

std::string Bundle::executablePath() const {
  const fs::path folder(path_);
  return (folder / kContents / kCode / folder.stem()).string();
}

std::string Bundle::plugInsPath() const {
  return (fs::path(path_) / kContents / "PlugIns").string();
}

std::string Bundle::parentPath() const { return fs::path(path_).parent_path().string(); }

bool Bundle::load(std::string* error) {
  if (handle_.load() != nullptr) return true;
  // Two threads may both get here: they receive the same handle.
  void* const handle = dlopen(executablePath().c_str(), RTLD_NOW | RTLD_LOCAL);
  if (handle == nullptr && error != nullptr) {
    const char* const reason = dlerror();  // NOLINT(concurrency-mt-unsafe): kept by thread
    *error = reason != nullptr ? reason : "cannot load " + executablePath();
  }
  if (handle != nullptr) handle_.store(handle);
  return handle != nullptr;
}

void* Bundle::functionPointer(const char* name) {
  return load() ? dlsym(handle_.load(), name) : nullptr;
}

}  // namespace platform
