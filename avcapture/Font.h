// The font that words on a canvas are written in. [main-thread]
#pragma once

#include <cairo.h>

namespace avcapture {

// The machine's sans-serif font, loaded on first use and kept by us; null when it has none that can
// be read. Cairo, asked for a font by name, would do the same, and leave its traces in memory.
cairo_font_face_t* textFont();

}  // namespace avcapture
