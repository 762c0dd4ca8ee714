#include "platform/BitmapImageRep.h"

#include <gtest/gtest.h>
#include <tiffio.h>

#include <filesystem>
#include <fstream>
#include <numeric>

#include "tests/platform/TemporaryFolder.h"

namespace platform {
namespace {

TEST(BitmapImageRep, KeepsEveryPixel) {
  const struct {
    std::uint32_t width, height, samples;
    std::size_t bytesPerRow;
  } cases[] = {{5, 3, 3, 15}, {5, 3, 3, 16}, {7, 2, 1, 7}, {300, 200, 3, 900}};
  for (const auto& row : cases) {
    std::vector<std::uint8_t> pixels(row.bytesPerRow * row.height);
    std::iota(pixels.begin(), pixels.end(), std::uint8_t{0});
    const BitmapImageRep image{pixels.data(), row.width, row.height, row.samples, row.bytesPerRow};

    const TemporaryFolder folder;
    const std::string path = folder / "image.tif";
    ASSERT_TRUE(writeFileAtomically(path, image.tiffRepresentation()));
    const std::unique_ptr<TIFF, decltype(&TIFFClose)> file(TIFFOpen(path.c_str(), "r"), &TIFFClose);
    ASSERT_NE(file, nullptr);
    std::uint32_t width = 0, height = 0;
    std::uint16_t photometric = 0;
    TIFFGetField(file.get(), TIFFTAG_IMAGEWIDTH, &width);
    TIFFGetField(file.get(), TIFFTAG_IMAGELENGTH, &height);
    TIFFGetField(file.get(), TIFFTAG_PHOTOMETRIC, &photometric);
    EXPECT_EQ(width, row.width);
    EXPECT_EQ(height, row.height);
    EXPECT_EQ(photometric, row.samples == 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK);
    EXPECT_EQ(TIFFNumberOfDirectories(file.get()), 1U);
    const std::size_t lineBytes = std::size_t{row.width} * row.samples;
    ASSERT_EQ(static_cast<std::size_t>(TIFFScanlineSize(file.get())), lineBytes);
    std::vector<std::uint8_t> line(lineBytes);
    for (std::uint32_t y = 0; y < height; ++y) {
      ASSERT_EQ(TIFFReadScanline(file.get(), line.data(), y), 1);
      EXPECT_TRUE(std::equal(line.begin(), line.end(),
                             pixels.begin() + static_cast<std::ptrdiff_t>(y * row.bytesPerRow)));
    }
  }
}

TEST(BitmapImageRep, AnswersNothingForWhatItCannotEncode) {
  const std::vector<std::uint8_t> pixels(64);
  const BitmapImageRep cases[] = {
      {nullptr, 4, 4, 3, 12},
      {pixels.data(), 0, 4, 3, 12},
      {pixels.data(), 4, 0, 3, 12},
      {pixels.data(), 4, 4, 3, 11},
      {pixels.data(), 4, 4, 4, 16},
      {pixels.data(), 4, 4, 0, 12},
      {pixels.data(), 0xffffffff, 1, 3, 64},
  };
  for (const BitmapImageRep& image : cases) EXPECT_TRUE(image.tiffRepresentation().empty());
}

TEST(WriteFileAtomically, ReplacesTheFileAndLeavesNothingBeside) {
  const TemporaryFolder folder;
  const std::string path = folder / "file";
  EXPECT_TRUE(writeFileAtomically(path, {'l', 'o', 'n', 'g', 'e', 'r'}));
  EXPECT_TRUE(writeFileAtomically(path, {'n', 'e', 'w'}));
  std::string content;
  std::ifstream(path) >> content;
  EXPECT_EQ(content, "new");
  EXPECT_EQ(folder.entries(), 1);
}

TEST(WriteFileAtomically, LeavesNothingWhenItFails) {
  const TemporaryFolder folder;
  EXPECT_FALSE(writeFileAtomically(folder / "missing/file", {1}));
  std::filesystem::create_directory(folder / "folder");
  EXPECT_FALSE(writeFileAtomically(folder / "folder", {1}));  // fails when it is renamed
  EXPECT_EQ(folder.entries(), 1);
}

}  // namespace
}  // namespace platform
