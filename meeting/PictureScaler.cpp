#include "meeting/PictureScaler.h"

#include <algorithm>
#include <cmath>

extern "C" {
#include <libswscale/swscale.h>
}

namespace meeting {

namespace {
// As near to the exact filter as the library comes (over 60 dB), at the price of its area filter.
constexpr int kFlags = SWS_BILINEAR | SWS_FULL_CHR_H_INP | SWS_FULL_CHR_H_INT;
}  // namespace

PixelSize fitted(const PixelSize& picture, const PixelSize& bounds) {
  if (picture.width == 0 || picture.height == 0 || bounds.width == 0 || bounds.height == 0)
    return {};
  const double scale = std::min(static_cast<double>(bounds.width) / picture.width,
                                static_cast<double>(bounds.height) / picture.height);
  const auto length = [scale](std::uint32_t pixels) {
    return std::max(1U, static_cast<std::uint32_t>(std::lround(pixels * scale)));
  };
  return {length(picture.width), length(picture.height)};
}

void PictureScaler::Free::operator()(SwsContext* context) const { sws_freeContext(context); }

FrameRef PictureScaler::scaled(const FrameRef& picture, const PixelSize& size) {
  if (size.width == 0 || size.height == 0) return {};
  if (size == PixelSize{picture->width, picture->height}) return picture;
  return picture->rendition(size.width, size.height, [&] { return makeScaled(*picture, size); });
}

FrameRef PictureScaler::makeScaled(const Frame& picture, const PixelSize& size) {
  const auto number = [](std::uint32_t value) { return static_cast<int>(value); };
  context_.reset(sws_getCachedContext(context_.release(), number(picture.width),
                                      number(picture.height), AV_PIX_FMT_RGB24, number(size.width),
                                      number(size.height), AV_PIX_FMT_RGB24, kFlags, nullptr,
                                      nullptr, nullptr));
  if (!context_) return {};
  const FramePool::Shape shape{size.width, size.height, 3 * size.width};
  return pool_.make(picture.timestampMs, shape, [&](std::uint8_t* pixels) {
    const std::uint8_t* const source[] = {picture.pixels.get()};
    const int sourceRow[] = {number(picture.bytesPerRow)};
    std::uint8_t* const target[] = {pixels};
    const int targetRow[] = {number(shape.bytesPerRow)};
    sws_scale(context_.get(), source, sourceRow, 0, number(picture.height), target, targetRow);
  });
}

}  // namespace meeting
