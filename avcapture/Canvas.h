// A picture to be drawn on, for what a player view itself shows. [main-thread]
#pragma once

#include <cairo.h>

#include <memory>
#include <string>
#include <vector>

#include "platform/View.h"

namespace avcapture {

struct Color {
  double red = 0, green = 0, blue = 0;  // 0.0 to 1.0
};

// What everything is drawn in, on what.
inline constexpr Color kGround{0.11, 0.12, 0.14};
inline constexpr Color kInk{0.93, 0.94, 0.95};

class Canvas {
 public:
  // Pixels across and down; filled with kGround.
  Canvas(int width, int height);

  // For shapes. Lengths in pixels, origin at the top left.
  cairo_t* context() { return context_.get(); }
  void setColor(Color color);
  void setFontSize(double pixels);
  // Of one line in the font that is set.
  double textWidth(const std::string& text);
  // Broken at blanks so that each line is as narrow as `width`, where its words allow that.
  std::vector<std::string> wrapped(const std::string& text, double width);
  // A line whose letters stand on `baseline`.
  void drawText(const std::string& line, double left, double baseline);

  // What has been drawn so far; null when there was no memory for it.
  std::shared_ptr<const platform::Image> image();

 private:
  struct Free {
    void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
    void operator()(cairo_t* context) const { cairo_destroy(context); }
  };
  std::unique_ptr<cairo_surface_t, Free> surface_;
  std::unique_ptr<cairo_t, Free> context_;
};

}  // namespace avcapture
