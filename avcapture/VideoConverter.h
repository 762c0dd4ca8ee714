// Converts decoded pictures to 24-bit R, G, B in buffers of a pool. One thread at a time.
//
// The result is bit for bit what the ffmpeg program gives for "-pix_fmt rgb24": bicubic scaler
// flags, the matrix and range of each frame. Follows changes of size, format and colour in
// mid-file.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "avcapture/Ffmpeg.h"
#include "avcapture/FramePool.h"
#include "avcapture/Upright.h"

namespace avcapture {

class VideoConverter {
 public:
  explicit VideoConverter(const AVStream& stream)
      : upright_(displayMatrixOf(stream), stream.time_base) {}

  // Null when the picture has no conversion. Throws std::bad_alloc.
  std::shared_ptr<Picture> convert(AVFrame& decoded);

 private:
  // What decides how pixels are converted.
  struct Shape {
    int width = 0, height = 0, format = -1, matrix = -1, range = -1;
    friend bool operator==(const Shape&, const Shape&) = default;
  };
  bool rebuild(const Shape& shape);
  bool scale(const AVFrame& frame, std::uint8_t* pixels, int row);

  Upright upright_;
  Shape shape_;
  ScalerPtr scaler_;
  std::vector<std::uint8_t> roomy_;  // a picture with longer rows; empty where none is needed
  FramePool pool_;
};

}  // namespace avcapture
