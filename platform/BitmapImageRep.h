// Wraps pixels, without copying, to write them out as TIFF.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/Export.h"

namespace platform {

// 8 bits a sample, samples interleaved, no alpha. The pixels stay the caller's.
struct PLATFORM_API BitmapImageRep {
  const std::uint8_t* pixels = nullptr;
  std::uint32_t pixelsWide = 0;
  std::uint32_t pixelsHigh = 0;
  std::uint32_t samplesPerPixel = 3;
  std::size_t bytesPerRow = 0;

  // A complete, uncompressed TIFF file of 1 (grey) or 3 (R, G, B) samples per pixel, or empty when
  // the picture is empty or cannot be encoded. [any-thread]
  std::vector<std::uint8_t> tiffRepresentation() const;
};

// Writes all of `data` or nothing: a temporary file beside `path` that is renamed over it. Answers
// false, leaving no file behind, when that fails. [any-thread]
PLATFORM_API bool writeFileAtomically(const std::string& path,
                                      const std::vector<std::uint8_t>& data);

}  // namespace platform
