#include "meeting/Snapshot.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace meeting {
namespace {

// A picture of one colour; rows are longer than they have to be.
std::shared_ptr<const platform::Image> picture(std::uint32_t width, std::uint32_t height,
                                               std::uint8_t red) {
  const std::uint32_t row = 3 * width + 5;
  auto pixels = std::make_shared<std::vector<std::uint8_t>>(std::size_t{row} * height, 0x55);
  for (std::uint32_t y = 0; y < height; ++y)
    for (std::uint32_t x = 0; x < width; ++x) {
      (*pixels)[y * row + 3 * x] = red;
      (*pixels)[y * row + 3 * x + 1] = 0;
      (*pixels)[y * row + 3 * x + 2] = 0;
    }
  return std::make_shared<platform::Image>(
      platform::Image{width, height, row, pixels->data(), pixels});
}

// The red values of a picture's row as letters: '.' for none.
std::string row(const platform::Image& image, std::uint32_t y) {
  std::string text;
  for (std::uint32_t x = 0; x < image.width; ++x) {
    const std::uint8_t red = image.pixels[y * image.bytesPerRow + 3 * x];
    text += red == 0 ? '.' : red == 100 ? 'a' : red == 200 ? 'b' : '?';
  }
  return text;
}

std::shared_ptr<platform::View> view(double x, double y, double width, double height) {
  return std::make_shared<platform::View>(platform::Rect{{x, y}, {width, height}});
}

TEST(SnapshotTest, ContentsKeepTheirAspectAndUpperViewsCoverLowerOnes) {
  const auto root = view(0, 0, 8, 4);
  root->setContents(picture(4, 4, 100));
  const auto upper = view(6, 2, 4, 2);  // reaches over the edge
  upper->setContents(picture(4, 2, 200));
  root->addSubview(upper);
  const platform::Image image = compose(*root);
  ASSERT_EQ(image.width, 8U);
  ASSERT_EQ(image.height, 4U);
  EXPECT_EQ(row(image, 0), "..aaaa..");
  EXPECT_EQ(row(image, 1), "..aaaa..");
  EXPECT_EQ(row(image, 2), "..aaaabb");
  EXPECT_EQ(row(image, 3), "..aaaabb");
}

TEST(SnapshotTest, ContentsAreScaledToTheirView) {
  const auto root = view(0, 0, 8, 8);
  root->setContents(picture(2, 1, 200));
  const platform::Image image = compose(*root);
  EXPECT_EQ(row(image, 1), "........");
  EXPECT_EQ(row(image, 2), "bbbbbbbb");
  EXPECT_EQ(row(image, 5), "bbbbbbbb");
  EXPECT_EQ(row(image, 6), "........");
}

TEST(SnapshotTest, AnEmptyViewIsBlackAndAtLeastOnePixel) {
  const platform::Image image = compose(*view(0, 0, 0, 0));
  ASSERT_EQ(image.width, 1U);
  ASSERT_EQ(image.height, 1U);
  EXPECT_EQ(row(image, 0), ".");
}

TEST(SnapshotTest, ASceneStandsStillWhileItsViewChanges) {
  const auto root = view(0, 0, 2, 1);
  root->setContents(picture(2, 1, 100));
  const Scene scene = captureScene(*root);
  EXPECT_EQ(scene, captureScene(*root));
  root->setContents(picture(2, 1, 200));
  EXPECT_NE(scene, captureScene(*root));
  EXPECT_EQ(row(render(scene), 0), "aa");
  root->setFrame({{0, 0}, {3, 1}});
  EXPECT_EQ(row(render(scene), 0), "aa");
}

}  // namespace
}  // namespace meeting
