#include "avcapture/Canvas.h"

#include <cstdint>
#include <cstring>
#include <sstream>

#include "avcapture/Font.h"
#include "avcapture/FramePool.h"

namespace avcapture {

Canvas::Canvas(int width, int height)
    : surface_(cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height)),
      context_(cairo_create(surface_.get())) {
  if (cairo_font_face_t* font = textFont()) cairo_set_font_face(context(), font);
  setColor(kGround);
  cairo_paint(context());
}

void Canvas::setColor(Color color) {
  cairo_set_source_rgb(context(), color.red, color.green, color.blue);
}

void Canvas::setFontSize(double pixels) { cairo_set_font_size(context(), pixels); }

double Canvas::textWidth(const std::string& text) {
  cairo_text_extents_t extents;
  cairo_text_extents(context(), text.c_str(), &extents);
  return extents.x_advance;
}

std::vector<std::string> Canvas::wrapped(const std::string& text, double width) {
  std::vector<std::string> lines;
  std::istringstream words(text);
  for (std::string word; words >> word;) {
    if (!lines.empty() && textWidth(lines.back() + " " + word) <= width) {
      lines.back() += " " + word;
    } else {
      lines.push_back(word);
    }
  }
  return lines;
}

void Canvas::drawText(const std::string& line, double left, double baseline) {
  cairo_move_to(context(), left, baseline);
  cairo_show_text(context(), line.c_str());
}

std::shared_ptr<const platform::Image> Canvas::image() {
  cairo_surface_t* surface = surface_.get();
  cairo_surface_flush(surface);
  if (cairo_status(context()) != CAIRO_STATUS_SUCCESS) return nullptr;
  const std::uint8_t* source = cairo_image_surface_get_data(surface);
  const auto stride = static_cast<std::size_t>(cairo_image_surface_get_stride(surface));
  const auto picture =
      FramePool().take(static_cast<std::uint32_t>(cairo_image_surface_get_width(surface)),
                       static_cast<std::uint32_t>(cairo_image_surface_get_height(surface)));
  for (std::size_t y = 0; y < picture->image.height; ++y) {
    std::uint8_t* to = picture->pixels + y * picture->image.bytesPerRow;
    for (std::size_t x = 0; x < picture->image.width; ++x, to += 3) {
      std::uint32_t pixel = 0;  // 0x00RRGGBB
      std::memcpy(&pixel, source + y * stride + x * sizeof(pixel), sizeof(pixel));
      to[0] = static_cast<std::uint8_t>(pixel >> 16);
      to[1] = static_cast<std::uint8_t>(pixel >> 8);
      to[2] = static_cast<std::uint8_t>(pixel);
    }
  }
  return {picture, &picture->image};
}

}  // namespace avcapture
