#include "avcapture/AVURLAsset.h"

#include <utility>

namespace avcapture {

std::shared_ptr<AVURLAsset> AVURLAsset::assetWithFilePath(const std::string& path) {
  return path.empty() ? nullptr : std::make_shared<AVURLAsset>(path);
}

AVURLAsset::AVURLAsset(std::string path) : path_(std::move(path)) {}

std::string AVURLAsset::description() const { return "<AVURLAsset file://" + path_ + ">"; }

}  // namespace avcapture
