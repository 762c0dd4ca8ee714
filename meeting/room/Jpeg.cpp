#include "meeting/room/Jpeg.h"

#include <turbojpeg.h>

#include <cstdint>
#include <limits>

namespace meeting {

namespace {
// No visible artefacts at the size of a tile, an eighth of the bytes of the best quality.
constexpr int kQuality = 80;
}  // namespace

JpegEncoder::JpegEncoder() : compressor_(nullptr, tjDestroy) {}

std::vector<unsigned char> JpegEncoder::encode(const platform::Image& image) {
  const int width = static_cast<int>(image.width);
  const int height = static_cast<int>(image.height);
  if (compressor_ == nullptr) compressor_.reset(tjInitCompress());
  if (compressor_ == nullptr || width <= 0 || height <= 0) return {};
  unsigned long size = tjBufSize(width, height, TJSAMP_420);
  if (size == std::numeric_limits<unsigned long>::max()) return {};
  std::vector<unsigned char> file(size);
  unsigned char* target = file.data();
  const int failed = tjCompress2(compressor_.get(), image.pixels, width,
                                 static_cast<int>(image.bytesPerRow), height, TJPF_RGB, &target,
                                 &size, TJSAMP_420, kQuality, TJFLAG_NOREALLOC | TJFLAG_FASTDCT);
  if (failed != 0) return {};
  file.resize(size);
  return file;
}

}  // namespace meeting
