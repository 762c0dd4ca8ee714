#include "avcapture/Symbols.h"

#include <array>
#include <numbers>
#include <span>
#include <utility>

namespace avcapture {

namespace {

constexpr double kPi = std::numbers::pi;
constexpr double kLine = 0.1;  // width of a stroke

// All draw in a square of side 1.
using Draw = void (*)(cairo_t* to);
using Corner = std::pair<double, double>;

void outline(cairo_t* to, std::span<const Corner> corners) {
  cairo_new_path(to);
  for (const auto& [x, y] : corners) cairo_line_to(to, x, y);
  cairo_close_path(to);
}

void polygon(cairo_t* to, std::initializer_list<Corner> corners) {
  outline(to, {corners.begin(), corners.size()});
  cairo_fill(to);
}

void line(cairo_t* to, Corner from, Corner until) {
  cairo_move_to(to, from.first, from.second);
  cairo_line_to(to, until.first, until.second);
  cairo_stroke(to);
}

void disc(cairo_t* to, double x, double y, double radius) {
  cairo_arc(to, x, y, radius, 0, 2 * kPi);
  cairo_fill(to);
}

void ring(cairo_t* to) {
  cairo_arc(to, 0.5, 0.5, 0.42, 0, 2 * kPi);
  cairo_stroke(to);
}

void play(cairo_t* to) { polygon(to, {{0.2, 0.1}, {0.9, 0.5}, {0.2, 0.9}}); }

void pause(cairo_t* to) {
  polygon(to, {{0.15, 0.1}, {0.4, 0.1}, {0.4, 0.9}, {0.15, 0.9}});
  polygon(to, {{0.6, 0.1}, {0.85, 0.1}, {0.85, 0.9}, {0.6, 0.9}});
}

void stop(cairo_t* to) { polygon(to, {{0.15, 0.15}, {0.85, 0.15}, {0.85, 0.85}, {0.15, 0.85}}); }

void loudspeaker(cairo_t* to) {
  polygon(to, {{0.05, 0.35}, {0.22, 0.35}, {0.48, 0.12}, {0.48, 0.88}, {0.22, 0.65}, {0.05, 0.65}});
}

void sound(cairo_t* to) {
  loudspeaker(to);
  for (const double radius : {0.2, 0.4}) {
    cairo_new_sub_path(to);
    cairo_arc(to, 0.5, 0.5, radius, -0.3 * kPi, 0.3 * kPi);
    cairo_stroke(to);
  }
}

void silence(cairo_t* to) {
  loudspeaker(to);
  line(to, {0.62, 0.36}, {0.92, 0.64});
  line(to, {0.62, 0.64}, {0.92, 0.36});
}

void note(cairo_t* to) {
  disc(to, 0.27, 0.8, 0.15);
  disc(to, 0.73, 0.7, 0.15);
  line(to, {0.37, 0.8}, {0.37, 0.2});
  line(to, {0.83, 0.7}, {0.83, 0.1});
  polygon(to, {{0.32, 0.15}, {0.88, 0.05}, {0.88, 0.25}, {0.32, 0.35}});
}

void wait(cairo_t* to) {
  ring(to);
  line(to, {0.5, 0.5}, {0.5, 0.24});
  line(to, {0.5, 0.5}, {0.68, 0.6});
}

void reconnect(cairo_t* to) {
  cairo_arc(to, 0.5, 0.5, 0.36, -0.2 * kPi, 1.4 * kPi);
  cairo_stroke(to);
  polygon(to, {{0.3, 0.02}, {0.64, 0.16}, {0.34, 0.36}});
}

void warning(cairo_t* to) {
  static constexpr std::array<Corner, 3> kTriangle{{{0.5, 0.1}, {0.94, 0.88}, {0.06, 0.88}}};
  outline(to, kTriangle);
  cairo_stroke(to);
  line(to, {0.5, 0.38}, {0.5, 0.6});
  disc(to, 0.5, 0.74, 0.055);
}

void failure(cairo_t* to) {
  ring(to);
  line(to, {0.35, 0.35}, {0.65, 0.65});
  line(to, {0.65, 0.35}, {0.35, 0.65});
}

void noEntry(cairo_t* to) {
  ring(to);
  line(to, {0.28, 0.5}, {0.72, 0.5});
}

// By Symbol.
constexpr std::array<Draw, 11> kDraw{play, pause,     stop,    sound,   silence, note,
                                     wait, reconnect, warning, failure, noEntry};

}  // namespace

void drawSymbol(Canvas& canvas, Symbol symbol, double left, double top, double size) {
  cairo_t* to = canvas.context();
  cairo_save(to);
  cairo_translate(to, left, top);
  cairo_scale(to, size, size);
  cairo_set_line_width(to, kLine);
  cairo_set_line_cap(to, CAIRO_LINE_CAP_ROUND);
  cairo_set_line_join(to, CAIRO_LINE_JOIN_ROUND);
  cairo_new_path(to);
  kDraw[static_cast<std::size_t>(symbol)](to);
  cairo_restore(to);
}

}  // namespace avcapture
