#include "meeting/Snapshot.h"

#include <png.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <utility>
#include <vector>

extern "C" {
#include <libswscale/swscale.h>
}

#include "meeting/OutputFile.h"

namespace meeting {

namespace {

constexpr std::uint32_t kBytesPerPixel = 3;
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

// The picture at the box's size; the picture itself, unscaled, when that is its size already.
struct Scaled {
  const std::uint8_t* pixels = nullptr;  // null when it cannot be scaled
  std::size_t bytesPerRow = 0;
  std::vector<std::uint8_t> storage;
};

Scaled atSize(const platform::Image& image, const Box& box) {
  Scaled result;
  if (static_cast<int>(image.width) == box.width && static_cast<int>(image.height) == box.height) {
    result.pixels = image.pixels;
    result.bytesPerRow = image.bytesPerRow;
    return result;
  }
  result.storage = scaled(image, box);
  if (result.storage.empty()) return result;
  result.pixels = result.storage.data();
  result.bytesPerRow = kBytesPerPixel * static_cast<std::size_t>(box.width);
  return result;
}

void draw(Canvas& canvas, const Scene::Layer& layer) {
  const platform::Image& image = *layer.image;
  if (image.width == 0 || image.height == 0) return;
  const Box box = fit(image, layer.frame);
  if (box.width <= 0 || box.height <= 0) return;
  const int left = std::max(box.x, 0);
  const int right = std::min(box.x + box.width, canvas.width);
  const int top = std::max(box.y, 0);
  const int bottom = std::min(box.y + box.height, canvas.height);
  if (left >= right) return;
  const Scaled picture = atSize(image, box);
  if (picture.pixels == nullptr) return;
  const auto offset = [](int x, int y, std::size_t bytesPerRow) {
    return static_cast<std::size_t>(y) * bytesPerRow + kBytesPerPixel * static_cast<std::size_t>(x);
  };
  const std::size_t canvasRow = kBytesPerPixel * static_cast<std::size_t>(canvas.width);
  for (int y = top; y < bottom; ++y)
    std::memcpy(canvas.pixels.data() + offset(left, y, canvasRow),
                picture.pixels + offset(left - box.x, y - box.y, picture.bytesPerRow),
                kBytesPerPixel * static_cast<std::size_t>(right - left));
}

void addLayers(Scene& scene, const platform::View& view, const platform::Point& origin) {
  if (auto contents = view.contents())
    scene.layers.push_back({std::move(contents), {origin, view.frame().size}});
  for (const auto& subview : view.subviews()) {
    const platform::Point& offset = subview->frame().origin;
    addLayers(scene, *subview, {origin.x + offset.x, origin.y + offset.y});
  }
}

}  // namespace

Scene captureScene(const platform::View& view) {
  Scene scene;
  scene.size = view.frame().size;
  addLayers(scene, view, {0, 0});
  return scene;
}

platform::Image render(const Scene& scene) {
  const auto whole = [](double points) {
    return std::max(1, static_cast<int>(std::lround(points)));
  };
  auto canvas = std::make_shared<Canvas>();
  canvas->width = whole(scene.size.width);
  canvas->height = whole(scene.size.height);
  canvas->pixels.resize(kBytesPerPixel * static_cast<std::size_t>(canvas->width) *
                        static_cast<std::size_t>(canvas->height));
  for (const Scene::Layer& layer : scene.layers) draw(*canvas, layer);
  platform::Image image;
  image.width = static_cast<std::uint32_t>(canvas->width);
  image.height = static_cast<std::uint32_t>(canvas->height);
  image.bytesPerRow = kBytesPerPixel * image.width;
  image.pixels = canvas->pixels.data();
  image.storage = canvas;
  return image;
}

platform::Image compose(const platform::View& view) { return render(captureScene(view)); }

int writePng(const platform::Image& image, const std::string& path) {
  png_image file{};
  file.version = PNG_IMAGE_VERSION;
  file.width = image.width;
  file.height = image.height;
  file.format = PNG_FORMAT_RGB;
  png_alloc_size_t size = 0;
  const auto encode = [&](char* memory) {  // null asks for the size
    return png_image_write_to_memory(&file, memory, &size, 0, image.pixels,
                                     static_cast<png_int_32>(image.bytesPerRow), nullptr) != 0;
  };
  if (!encode(nullptr)) return ENOMEM;  // nothing else can go wrong with a picture that is one
  std::vector<char> bytes(size);
  if (!encode(bytes.data())) return ENOMEM;
  OutputFile out(path);
  out.write(bytes.data(), static_cast<std::streamsize>(size));
  return out.finish();
}

}  // namespace meeting
