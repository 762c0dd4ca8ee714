#include "avcapture/Upright.h"

#include <cmath>
#include <cstring>

extern "C" {
#include <libavutil/display.h>
}

#include "avcapture/LoadedPart.h"

namespace avcapture {

namespace {

constexpr double kToleranceDegrees = 1.0;

std::optional<DisplayMatrix> readMatrix(const std::uint8_t* bytes, std::size_t size) {
  DisplayMatrix matrix;
  if (bytes == nullptr || size < sizeof(matrix)) return std::nullopt;
  std::memcpy(matrix.data(), bytes, sizeof(matrix));
  return matrix;
}

// Clockwise turn that makes the picture upright, 0 to just under 360 degrees.
double clockwiseDegrees(const DisplayMatrix& matrix) {
  const double theta = -std::round(av_display_rotation_get(matrix.data()));
  // A hair below a full turn counts as none.
  return theta - 360.0 * std::floor(theta / 360.0 + 0.9 / 360.0);
}

bool isAbout(double degrees, double wanted) {
  return std::fabs(degrees - wanted) < kToleranceDegrees;
}

}  // namespace

std::string uprightFilters(const DisplayMatrix& matrix) {
  const double degrees = clockwiseDegrees(matrix);
  if (isAbout(degrees, 90)) return matrix[3] > 0 ? "transpose=cclock_flip" : "transpose=clock";
  if (isAbout(degrees, 180)) {
    if (matrix[0] < 0) return matrix[4] < 0 ? "hflip,vflip" : "hflip";
    return matrix[4] < 0 ? "vflip" : "";
  }
  if (isAbout(degrees, 270)) return matrix[3] < 0 ? "transpose=clock_flip" : "transpose=cclock";
  if (std::fabs(degrees) > kToleranceDegrees) {
    // Whole: with a fraction, it would depend on the locale how it is written and read.
    return "rotate=" + std::to_string(std::lround(degrees)) + "*PI/180";
  }
  return matrix[4] < 0 ? "vflip" : "";
}

std::optional<DisplayMatrix> displayMatrixOf(const AVStream& stream) {
  std::size_t size = 0;
  const std::uint8_t* bytes = av_stream_get_side_data(&stream, AV_PKT_DATA_DISPLAYMATRIX, &size);
  return readMatrix(bytes, size);
}

const AVFrame* Upright::turn(AVFrame& frame) {
  std::optional<DisplayMatrix> matrix = matrix_;
  if (const AVFrameSideData* own = av_frame_get_side_data(&frame, AV_FRAME_DATA_DISPLAYMATRIX)) {
    matrix = readMatrix(own->data, own->size);
  }
  const std::string filters = matrix ? uprightFilters(*matrix) : std::string();
  if (filters.empty()) return &frame;
  if (!turner_) {
    turner_ = makeFromPart<PictureTurner>("libavcapture-turning.so", "makePictureTurner");
    if (!turner_) return nullptr;
  }
  av_frame_unref(upright_.get());
  if (!turner_->turn(frame, *upright_, filters, timeBase_)) return nullptr;
  return upright_.get();
}

}  // namespace avcapture
