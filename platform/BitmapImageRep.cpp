#include "platform/BitmapImageRep.h"

#include <tiffio.h>

#include <algorithm>
#include <cstdio>
#include <limits>
#include <memory>
#include <new>
#include <utility>

namespace platform {

namespace {

// A file in memory, in the terms of the TIFF library.
struct MemoryFile {
  std::vector<std::uint8_t> bytes;
  std::uint64_t position = 0;
};

MemoryFile& fileOf(thandle_t handle) { return *static_cast<MemoryFile*>(handle); }

tmsize_t readBytes(thandle_t handle, void* to, tmsize_t size) {
  MemoryFile& file = fileOf(handle);
  if (file.position >= file.bytes.size()) return 0;
  const auto count =
      std::min<std::uint64_t>(static_cast<std::uint64_t>(size), file.bytes.size() - file.position);
  std::copy_n(file.bytes.begin() + static_cast<std::ptrdiff_t>(file.position), count,
              static_cast<std::uint8_t*>(to));
  file.position += count;
  return static_cast<tmsize_t>(count);
}

tmsize_t writeBytes(thandle_t handle, void* from, tmsize_t size) try {
  MemoryFile& file = fileOf(handle);
  const std::uint64_t end = file.position + static_cast<std::uint64_t>(size);
  if (end > file.bytes.size()) file.bytes.resize(end);
  std::copy_n(static_cast<const std::uint8_t*>(from), size,
              file.bytes.begin() + static_cast<std::ptrdiff_t>(file.position));
  file.position = end;
  return size;
} catch (const std::bad_alloc&) {
  return 0;
}

toff_t seekTo(thandle_t handle, toff_t offset, int whence) {
  MemoryFile& file = fileOf(handle);
  if (whence == SEEK_CUR) offset += file.position;
  if (whence == SEEK_END) offset += file.bytes.size();
  file.position = offset;
  return offset;
}

int closeFile(thandle_t /*handle*/) { return 0; }

toff_t sizeOf(thandle_t handle) { return fileOf(handle).bytes.size(); }

// A picture that cannot be encoded is answered with an empty result; nothing goes to the terminal.
int ignoreError(TIFF* /*tiff*/, void* /*context*/, const char* /*module*/, const char* /*format*/,
                va_list /*arguments*/) {
  return 1;
}

using Tiff = std::unique_ptr<TIFF, decltype(&TIFFClose)>;
using TiffOptions = std::unique_ptr<TIFFOpenOptions, decltype(&TIFFOpenOptionsFree)>;

Tiff openForWriting(MemoryFile& file) {
  const TiffOptions options(TIFFOpenOptionsAlloc(), &TIFFOpenOptionsFree);
  if (!options) return {nullptr, &TIFFClose};
  TIFFOpenOptionsSetErrorHandlerExtR(options.get(), &ignoreError, nullptr);
  TIFFOpenOptionsSetWarningHandlerExtR(options.get(), &ignoreError, nullptr);
  return {TIFFClientOpenExt("memory", "w", &file, &readBytes, &writeBytes, &seekTo, &closeFile,
                            &sizeOf, nullptr, nullptr, options.get()),
          &TIFFClose};
}

bool writeFields(TIFF* tiff, const BitmapImageRep& image) {
  constexpr float kDotsPerInch = 72.0F;
  const auto samples = static_cast<std::uint16_t>(image.samplesPerPixel);
  const auto set = [tiff](std::uint32_t tag, auto value) {
    return TIFFSetField(tiff, tag, value) == 1;
  };
  return set(TIFFTAG_IMAGEWIDTH, image.pixelsWide) && set(TIFFTAG_IMAGELENGTH, image.pixelsHigh) &&
         set(TIFFTAG_BITSPERSAMPLE, 8) && set(TIFFTAG_SAMPLESPERPIXEL, int{samples}) &&
         set(TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) &&
         set(TIFFTAG_COMPRESSION, COMPRESSION_NONE) &&
         set(TIFFTAG_PHOTOMETRIC, samples == 1 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB) &&
         set(TIFFTAG_XRESOLUTION, double{kDotsPerInch}) &&
         set(TIFFTAG_YRESOLUTION, double{kDotsPerInch}) &&
         set(TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH) &&
         set(TIFFTAG_ROWSPERSTRIP, TIFFDefaultStripSize(tiff, 0));
}

bool writeRows(TIFF* tiff, const BitmapImageRep& image) {
  for (std::uint32_t y = 0; y < image.pixelsHigh; ++y) {
    const std::uint8_t* const row = image.pixels + std::size_t{y} * image.bytesPerRow;
    // The library does not write to the row: the samples are bytes and are not compressed.
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-const-cast)
    if (TIFFWriteScanline(tiff, const_cast<std::uint8_t*>(row), y) != 1) return false;
  }
  return true;
}

bool isEncodable(const BitmapImageRep& image) {
  const bool samples = image.samplesPerPixel == 1 || image.samplesPerPixel == 3;
  return samples && image.pixels != nullptr && image.pixelsWide > 0 && image.pixelsHigh > 0 &&
         image.bytesPerRow / image.samplesPerPixel >= image.pixelsWide;
}

}  // namespace

std::vector<std::uint8_t> BitmapImageRep::tiffRepresentation() const {
  if (!isEncodable(*this)) return {};
  MemoryFile file;
  {
    const Tiff tiff = openForWriting(file);
    if (!tiff || !writeFields(tiff.get(), *this) || !writeRows(tiff.get(), *this) ||
        TIFFFlush(tiff.get()) != 1) {
      return {};
    }
  }
  return std::move(file.bytes);
}

}  // namespace platform
