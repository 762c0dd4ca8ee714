#include "avcapture/Upright.h"

#include <cmath>
#include <cstdio>
#include <cstring>
#include <new>

extern "C" {
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
#include <libavutil/display.h>
}

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
  const Shape shape{frame.width, frame.height, frame.format, filters};
  if (!graph_ || !(shape == shape_)) {
    if (!rebuild(frame, filters)) return nullptr;
    shape_ = shape;
  }
  av_frame_unref(upright_.get());
  if (av_buffersrc_add_frame_flags(in_, &frame, AV_BUFFERSRC_FLAG_KEEP_REF) < 0 ||
      av_buffersink_get_frame(out_, upright_.get()) < 0) {
    graph_.reset();
    return nullptr;
  }
  return upright_.get();
}

bool Upright::rebuild(const AVFrame& frame, const std::string& filters) {
  graph_.reset(avfilter_graph_alloc());
  if (!graph_) throw std::bad_alloc();
  graph_->nb_threads = 1;
  std::array<char, 160> source;
  std::snprintf(source.data(), source.size(), "buffer=video_size=%dx%d:pix_fmt=%d:time_base=%d/%d",
                frame.width, frame.height, frame.format, timeBase_.num, timeBase_.den);
  const std::string text = std::string(source.data()) + "," + filters + ",buffersink";
  AVFilterInOut* inputs = nullptr;
  AVFilterInOut* outputs = nullptr;
  const int parsed = avfilter_graph_parse2(graph_.get(), text.c_str(), &inputs, &outputs);
  avfilter_inout_free(&inputs);
  avfilter_inout_free(&outputs);
  if (parsed < 0 || avfilter_graph_config(graph_.get(), nullptr) < 0) {
    graph_.reset();
    return false;
  }
  in_ = graph_->filters[0];
  // The last one that the text names; format conversions that were put in between come after it.
  for (unsigned i = 0; i < graph_->nb_filters; ++i) {
    if (graph_->filters[i]->nb_outputs == 0) out_ = graph_->filters[i];
  }
  return true;
}

}  // namespace avcapture
