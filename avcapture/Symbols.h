// The signs of status views and control bars. [main-thread]
#pragma once

#include "avcapture/Canvas.h"

namespace avcapture {

enum class Symbol : std::uint8_t {
  kPlay,
  kPause,
  kStop,
  kSound,
  kSilence,
  kNote,
  kWait,
  kReconnect,
  kWarning,
  kFailure,
  kNoEntry,
};

// Draws it in the colour that is set, in a square of `size` pixels with that top left corner.
void drawSymbol(Canvas& canvas, Symbol symbol, double left, double top, double size);

}  // namespace avcapture
