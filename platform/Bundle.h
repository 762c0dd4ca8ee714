// Application and plug-in bundles.
//
// A bundle NAME.EXT is a folder whose code lies at Contents/Linux/NAME. The main bundle of a
// program that runs from X/Contents/Linux/PROGRAM is X; that of any other program is the folder
// that it lies in. [any-thread]
#pragma once

#include <atomic>
#include <memory>
#include <string>

#include "platform/Export.h"

namespace platform {

class PLATFORM_API Bundle {
 public:
  // The running program's bundle; null when the program's own path cannot be found out.
  static std::shared_ptr<Bundle> mainBundle();
  // The bundle in the folder `path`, or null when that is not a folder. Code is not loaded yet.
  static std::shared_ptr<Bundle> create(const std::string& path);
  ~Bundle();
  Bundle(const Bundle&) = delete;
  Bundle& operator=(const Bundle&) = delete;

  const std::string& path() const { return path_; }  // absolute, links resolved
  std::string executablePath() const;                // Contents/Linux/NAME below path()
  std::string plugInsPath() const;                   // Contents/PlugIns below path()
  std::string parentPath() const;                    // the folder that contains the bundle

  // Loads the bundle's code if needed. False when there is none or it cannot be loaded; `error`
  // then receives one line that says why. Code stays loaded when the Bundle ends.
  bool load(std::string* error = nullptr);
  // The address of an exported function, loading the code if needed; null when there is none.
  void* functionPointer(const char* name);

 private:
  explicit Bundle(std::string path);
  std::string path_;
  std::atomic<void*> handle_{nullptr};
};

}  // namespace platform
