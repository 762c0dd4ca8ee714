// A media file, named but not yet opened.
#pragma once

#include <memory>
#include <string>

#include "avcapture/Export.h"
#include "platform/Object.h"

namespace avcapture {

class AVCAPTURE_API AVURLAsset : public platform::Object {
 public:
  // The asset of the file at the UTF-8 path; null when the path is empty. The file is looked at
  // only when a player view is given the asset. [any-thread]
  static std::shared_ptr<AVURLAsset> assetWithFilePath(const std::string& path);

  explicit AVURLAsset(std::string path);
  const std::string& path() const { return path_; }
  // Text for logs.
  std::string description() const;

 private:
  std::string path_;
};

}  // namespace avcapture
