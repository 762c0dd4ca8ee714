// Turns pictures upright by the file's display matrix. One thread at a time.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>

#include "avcapture/Ffmpeg.h"

namespace avcapture {

using DisplayMatrix = std::array<std::int32_t, 9>;

// The filters that turn a picture with this matrix upright, as FFmpeg's filter graphs are written;
// empty when it is upright.
std::string uprightFilters(const DisplayMatrix& matrix);

class Upright {
 public:
  // `matrix` is the stream's; a frame that carries its own is turned by that.
  Upright(const std::optional<DisplayMatrix>& matrix, AVRational timeBase)
      : matrix_(matrix), timeBase_(timeBase) {}

  // The same picture, upright: `frame` itself, or one that is valid until the next call; null when
  // that is not possible.
  const AVFrame* turn(AVFrame& frame);

 private:
  bool rebuild(const AVFrame& frame, const std::string& filters);

  // What the graph was built for.
  struct Shape {
    int width = 0, height = 0, format = -1;
    std::string filters;
    friend bool operator==(const Shape&, const Shape&) = default;
  };

  std::optional<DisplayMatrix> matrix_;
  AVRational timeBase_;
  Shape shape_;
  FramePtr upright_ = makeFrame();
  GraphPtr graph_;
  AVFilterContext* in_ = nullptr;   // in graph_
  AVFilterContext* out_ = nullptr;  // in graph_
};

// The display matrix that goes with a stream, if any.
std::optional<DisplayMatrix> displayMatrixOf(const AVStream& stream);

}  // namespace avcapture
