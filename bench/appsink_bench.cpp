// What a picture costs on its way through GStreamer's appsink: a buffer that wraps the pixels is
// pushed to the sink, whose callback pulls the sample, maps it, and lets it go. The counterpart of
// what path_bench measures.
#include <benchmark/benchmark.h>
#include <gst/app/gstappsink.h>
#include <gst/gst.h>

#include <cstdint>
#include <vector>

namespace {

constexpr int kWidth = 1280, kHeight = 720;

GstFlowReturn take(GstAppSink* sink, gpointer count) {
  GstSample* sample = gst_app_sink_pull_sample(sink);
  GstMapInfo map;
  if (gst_buffer_map(gst_sample_get_buffer(sample), &map, GST_MAP_READ) != 0) {
    benchmark::DoNotOptimize(map.data);
    ++*static_cast<std::uint64_t*>(count);
    gst_buffer_unmap(gst_sample_get_buffer(sample), &map);
  }
  gst_sample_unref(sample);
  return GST_FLOW_OK;
}

// A playing sink with a pad before it to push into.
class Sink {
 public:
  Sink() : sink_(gst_element_factory_make("appsink", nullptr)) {
    gst_object_ref_sink(sink_);
    g_object_set(sink_, "sync", FALSE, "async", FALSE, nullptr);
    GstAppSinkCallbacks callbacks{};
    callbacks.new_sample = take;
    gst_app_sink_set_callbacks(GST_APP_SINK(sink_), &callbacks, &taken, nullptr);
    GstPad* sinkPad = gst_element_get_static_pad(sink_, "sink");
    gst_pad_set_active(pad_, TRUE);
    gst_pad_link(pad_, sinkPad);
    gst_object_unref(sinkPad);
    gst_element_set_state(sink_, GST_STATE_PLAYING);
    announce();
  }
  ~Sink() {
    gst_element_set_state(sink_, GST_STATE_NULL);
    gst_object_unref(pad_);
    gst_object_unref(sink_);
  }
  Sink(const Sink&) = delete;
  Sink& operator=(const Sink&) = delete;

  void push(GstBuffer* buffer) { gst_pad_push(pad_, buffer); }

  std::uint64_t taken = 0;

 private:
  void announce() {
    gst_pad_push_event(pad_, gst_event_new_stream_start("pictures"));
    GstCaps* caps = gst_caps_new_simple("video/x-raw", "format", G_TYPE_STRING, "RGB", "width",
                                        G_TYPE_INT, kWidth, "height", G_TYPE_INT, kHeight,
                                        "framerate", GST_TYPE_FRACTION, 30, 1, nullptr);
    gst_pad_push_event(pad_, gst_event_new_caps(caps));
    gst_caps_unref(caps);
    GstSegment segment;
    gst_segment_init(&segment, GST_FORMAT_TIME);
    gst_pad_push_event(pad_, gst_event_new_segment(&segment));
  }

  GstElement* const sink_;
  GstPad* const pad_ = gst_pad_new("src", GST_PAD_SRC);
};

void appsinkBuffer(benchmark::State& state) {
  Sink sink;
  std::vector<std::uint8_t> pixels(std::size_t{3} * kWidth * kHeight);
  GstClockTime time = 0;
  for (auto _ : state) {
    GstBuffer* buffer = gst_buffer_new_wrapped_full(
        GST_MEMORY_FLAG_READONLY, pixels.data(), pixels.size(), 0, pixels.size(), nullptr, nullptr);
    GST_BUFFER_PTS(buffer) = time += 40 * GST_MSECOND;
    sink.push(buffer);
  }
  if (sink.taken != static_cast<std::uint64_t>(state.iterations()))
    state.SkipWithError("buffers were dropped");
}

BENCHMARK(appsinkBuffer)->Repetitions(9);

}  // namespace

int main(int argc, char** argv) {
  gst_init(nullptr, nullptr);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
