// Turns pictures upright by the file's display matrix. One thread at a time.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "avcapture/Ffmpeg.h"

namespace avcapture {

using DisplayMatrix = std::array<std::int32_t, 9>;

// The filters that turn a picture with this matrix upright, as FFmpeg's filter graphs are written;
// empty when it is upright.
std::string uprightFilters(const DisplayMatrix& matrix);

// Turns pictures by such filters. One thread at a time.
class PictureTurner {
 public:
  PictureTurner() = default;
  virtual ~PictureTurner() = default;
  PictureTurner(const PictureTurner&) = delete;
  PictureTurner& operator=(const PictureTurner&) = delete;

  // Fills the empty `upright`, with 24-bit R, G, B. False when it can't be done.
  virtual bool turn(AVFrame& frame, AVFrame& upright, const std::string& filters,
                    AVRational timeBase) = 0;
};

class Upright {
 public:
  // `matrix` is the stream's; a frame that carries its own is turned by that.
  Upright(const std::optional<DisplayMatrix>& matrix, AVRational timeBase)
      : matrix_(matrix), timeBase_(timeBase) {}

  // The same picture, upright: `frame` itself, or one in R, G, B that is valid until the next call;
  // null when that is not possible.
  const AVFrame* turn(AVFrame& frame);

 private:
  std::optional<DisplayMatrix> matrix_;
  AVRational timeBase_;
  FramePtr upright_ = makeFrame();
  std::unique_ptr<PictureTurner> turner_;  // once there was something to turn
};

// The display matrix that goes with a stream, if any.
std::optional<DisplayMatrix> displayMatrixOf(const AVStream& stream);

}  // namespace avcapture
