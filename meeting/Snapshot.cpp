#include "meeting/Snapshot.h"

#include <png.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

extern "C" {
#include <libswscale/swscale.h>
}

namespace meeting {

namespace {

constexpr std::size_t kSpareBytes = 64;  // the scaler writes in whole vectors

struct Canvas {
  int width;
  int height;
  std::vector<std::uint8_t> pixels;  // rows of 3 * width bytes
};

// Whole pixels on the canvas.
struct Box {
  int x, y, width, height;
};

// The largest box of the picture's aspect in the middle of the frame.
Box fit(const platform::Image& image, const platform::Rect& frame) {
  const double scale = std::min(frame.size.width / image.width, frame.size.height / image.height);
  const double width = image.width * scale;
  const double height = image.height * scale;
  return {static_cast<int>(std::lround(frame.origin.x + (frame.size.width - width) / 2)),
          static_cast<int>(std::lround(frame.origin.y + (frame.size.height - height) / 2)),
          static_cast<int>(std::lround(width)), static_cast<int>(std::lround(height))};
}

// The picture at the box's size, rows of 3 * box.width bytes; empty when it cannot be scaled.
std::vector<std::uint8_t> scaled(const platform::Image& image, const Box& box) {
  const int row = 3 * box.width;
  std::vector<std::uint8_t> pixels(
      static_cast<std::size_t>(row) * static_cast<std::size_t>(box.height) + kSpareBytes);
  SwsContext* scaler = sws_getContext(static_cast<int>(image.width), static_cast<int>(image.height),
                                      AV_PIX_FMT_RGB24, box.width, box.height, AV_PIX_FMT_RGB24,
                                      SWS_AREA, nullptr, nullptr, nullptr);
  if (scaler == nullptr) return {};
  const std::uint8_t* const source[] = {image.pixels};
  const int sourceRow[] = {static_cast<int>(image.bytesPerRow)};
  std::uint8_t* const target[] = {pixels.data()};
  const int targetRow[] = {row};
  sws_scale(scaler, source, sourceRow, 0, static_cast<int>(image.height), target, targetRow);
  sws_freeContext(scaler);
  return pixels;
}

void drawPicture(Canvas& canvas, const platform::Image& image, const platform::Rect& frame) {
  if (image.width == 0 || image.height == 0) return;
  const Box box = fit(image, frame);
  if (box.width <= 0 || box.height <= 0) return;
  const std::vector<std::uint8_t> pixels = scaled(image, box);
  if (pixels.empty()) return;
  const int left = std::max(box.x, 0);
  const int right = std::min(box.x + box.width, canvas.width);
  const int top = std::max(box.y, 0);
  const int bottom = std::min(box.y + box.height, canvas.height);
  if (left >= right) return;
  const auto offset = [](int x, int y, int width) {
    return 3 * (static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                static_cast<std::size_t>(x));
  };
  for (int y = top; y < bottom; ++y)
    std::memcpy(canvas.pixels.data() + offset(left, y, canvas.width),
                pixels.data() + offset(left - box.x, y - box.y, box.width),
                3 * static_cast<std::size_t>(right - left));
}

void drawView(Canvas& canvas, const platform::View& view, const platform::Point& origin) {
  if (const auto contents = view.contents())
    drawPicture(canvas, *contents, {origin, view.frame().size});
  for (const auto& subview : view.subviews()) {
    const platform::Point& offset = subview->frame().origin;
    drawView(canvas, *subview, {origin.x + offset.x, origin.y + offset.y});
  }
}

}  // namespace

platform::Image compose(const platform::View& view) {
  const auto size = [](double points) {
    return std::max(1, static_cast<int>(std::lround(points)));
  };
  auto canvas = std::make_shared<Canvas>();
  canvas->width = size(view.frame().size.width);
  canvas->height = size(view.frame().size.height);
  canvas->pixels.resize(3 * static_cast<std::size_t>(canvas->width) *
                        static_cast<std::size_t>(canvas->height));
  drawView(*canvas, view, {0, 0});
  platform::Image image;
  image.width = static_cast<std::uint32_t>(canvas->width);
  image.height = static_cast<std::uint32_t>(canvas->height);
  image.bytesPerRow = 3 * image.width;
  image.pixels = canvas->pixels.data();
  image.storage = canvas;
  return image;
}

bool writePng(const platform::Image& image, const std::string& path) {
  png_image file{};
  file.version = PNG_IMAGE_VERSION;
  file.width = image.width;
  file.height = image.height;
  file.format = PNG_FORMAT_RGB;
  return png_image_write_to_file(&file, path.c_str(), 0, image.pixels,
                                 static_cast<png_int_32>(image.bytesPerRow), nullptr) != 0;
}

}  // namespace meeting
