// Turns pictures by a graph of FFmpeg's filters.
#include <array>
#include <cstdio>
#include <memory>
#include <new>
#include <string>

#include "avcapture/Export.h"
#include "avcapture/Upright.h"

extern "C" {
#include <libavfilter/avfilter.h>
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
}

namespace avcapture {

namespace {

using GraphPtr = std::unique_ptr<AVFilterGraph, FreeByAddress<avfilter_graph_free>>;

class FilterTurner final : public PictureTurner {
 public:
  bool turn(AVFrame& frame, AVFrame& upright, const std::string& filters,
            AVRational timeBase) override;

 private:
  // What the graph was built for.
  struct Shape {
    int width = 0, height = 0, format = -1;
    std::string filters;
    friend bool operator==(const Shape&, const Shape&) = default;
  };
  bool rebuild(const AVFrame& frame, const std::string& filters, AVRational timeBase);

  Shape shape_;
  GraphPtr graph_;
  AVFilterContext* in_ = nullptr;   // in graph_
  AVFilterContext* out_ = nullptr;  // in graph_
};

bool FilterTurner::turn(AVFrame& frame, AVFrame& upright, const std::string& filters,
                        AVRational timeBase) {
  const Shape shape{frame.width, frame.height, frame.format, filters};
  if (!graph_ || !(shape == shape_)) {
    if (!rebuild(frame, filters, timeBase)) return false;
    shape_ = shape;
  }
  if (av_buffersrc_add_frame_flags(in_, &frame, AV_BUFFERSRC_FLAG_KEEP_REF) >= 0 &&
      av_buffersink_get_frame(out_, &upright) >= 0) {
    return true;
  }
  graph_.reset();
  return false;
}

bool FilterTurner::rebuild(const AVFrame& frame, const std::string& filters, AVRational timeBase) {
  graph_.reset(avfilter_graph_alloc());
  if (!graph_) throw std::bad_alloc();
  graph_->nb_threads = 1;
  std::array<char, 160> source;
  std::snprintf(source.data(), source.size(), "buffer=video_size=%dx%d:pix_fmt=%d:time_base=%d/%d",
                frame.width, frame.height, frame.format, timeBase.num, timeBase.den);
  // Converted within the graph, as the ffmpeg program does: what a filter does not take as it is,
  // such as 4:2:2 turned by 90 degrees, is converted but once, and before it is turned.
  const std::string text = std::string(source.data()) + "," + filters + ",format=rgb24,buffersink";
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

}  // namespace

}  // namespace avcapture

// The part's maker.
extern "C" AVCAPTURE_API avcapture::PictureTurner* makePictureTurner() {
  return new avcapture::FilterTurner;
}
