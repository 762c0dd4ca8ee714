// Plays a movie with GStreamer to an RGB and a 16-bit PCM appsink: what a programmer would write
// who takes GStreamer instead. MP4 with H.264 and AAC gets a pipeline built by hand, with a thread
// of its own for the conversion on --convert-thread; anything else goes through decodebin.
#include <gst/app/gstappsink.h>
#include <gst/gst.h>

#include <condition_variable>
#include <cstdio>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "bench/Options.h"
#include "bench/Record.h"

namespace {

using Clock = bench::Record::Clock;

struct Unref {
  void operator()(gpointer object) const { gst_object_unref(object); }
};
struct UnrefSample {
  void operator()(GstSample* sample) const { gst_sample_unref(sample); }
};
using Element = std::unique_ptr<GstElement, Unref>;
using Sample = std::unique_ptr<GstSample, UnrefSample>;

std::string pipelineText(const bench::Options& options) {
  const std::string sink = options.paced ? " sync=true" : " sync=false";
  const std::string video = " ! videoconvert ! video/x-raw,format=RGB ! appsink name=video" + sink;
  const std::string audio =
      " ! audioconvert ! audioresample ! audio/x-raw,format=S16LE,layout=interleaved"
      " ! appsink name=audio" +
      sink;
  const std::string source = "filesrc location=\"" + options.file + "\"";
  if (!options.file.ends_with(".mp4"))
    return source + " ! decodebin name=d  d. ! queue" + video + "  d. ! queue" + audio;
  const std::string between = options.convertThread ? " ! queue max-size-buffers=3" : "";
  return source + " ! qtdemux name=d  d.video_0 ! queue ! avdec_h264 max-threads=" +
         std::to_string(options.threads) + between + video + "  d.audio_0 ! queue ! avdec_aac" +
         audio;
}

// Loads what the pipeline needs, so that no figure holds the loading of libraries.
void load() {
  for (const char* name : {"filesrc", "qtdemux", "decodebin", "queue", "avdec_h264", "avdec_aac",
                           "videoconvert", "audioconvert", "audioresample", "appsink"}) {
    const Element element(gst_element_factory_make(name, nullptr));
    if (!element) std::fprintf(stderr, "gstreamer_peer: no element %s\n", name);
  }
}

class Player {
 public:
  Player(const bench::Options& options, bench::Record& record)
      : options_(options), record_(record) {}
  ~Player() {
    if (pipeline_) gst_element_set_state(pipeline_.get(), GST_STATE_NULL);
  }
  Player(const Player&) = delete;
  Player& operator=(const Player&) = delete;

  bool open() {
    GError* error = nullptr;
    pipeline_.reset(gst_parse_launch(pipelineText(options_).c_str(), &error));
    if (error != nullptr) std::fprintf(stderr, "gstreamer_peer: %s\n", error->message);
    g_clear_error(&error);
    if (!pipeline_) return false;
    listen("video", {.eos = nullptr,
                     .new_preroll = &onPreroll,
                     .new_sample = &onPicture,
                     .new_event = nullptr,
                     ._gst_reserved = {}});
    listen("audio", {.eos = nullptr,
                     .new_preroll = nullptr,
                     .new_sample = &onSound,
                     .new_event = nullptr,
                     ._gst_reserved = {}});
    return true;
  }

  // To the end, or to the wanted duration.
  void play() {
    gst_element_set_state(pipeline_.get(), GST_STATE_PLAYING);
    GstBus* bus = gst_element_get_bus(pipeline_.get());
    GstMessage* message = gst_bus_timed_pop_filtered(
        bus, GST_CLOCK_TIME_NONE,
        static_cast<GstMessageType>(GST_MESSAGE_EOS | GST_MESSAGE_ERROR | GST_MESSAGE_APPLICATION));
    if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR)
      std::fputs("gstreamer_peer: the pipeline failed\n", stderr);
    gst_message_unref(message);
    gst_object_unref(bus);
  }

  // Stands at the first picture.
  void preroll() {
    gst_element_set_state(pipeline_.get(), GST_STATE_PAUSED);
    waitForPreroll();
  }

  void seek(double seconds) {
    gst_element_get_state(pipeline_.get(), nullptr, nullptr, GST_CLOCK_TIME_NONE);
    const Clock::time_point asked = Clock::now();
    gst_element_seek_simple(pipeline_.get(), GST_FORMAT_TIME,
                            static_cast<GstSeekFlags>(GST_SEEK_FLAG_FLUSH | GST_SEEK_FLAG_ACCURATE),
                            static_cast<gint64>(seconds * GST_SECOND));
    record_.sought(asked, waitForPreroll());
  }

 private:
  void listen(const char* name, GstAppSinkCallbacks callbacks) {
    const Element sink(gst_bin_get_by_name(GST_BIN(pipeline_.get()), name));
    gst_app_sink_set_callbacks(GST_APP_SINK(sink.get()), &callbacks, this, nullptr);
  }

  // Movie time of the sample, whose bytes are looked at as a consumer would.
  static std::int64_t look(GstSample& sample) {
    GstBuffer* buffer = gst_sample_get_buffer(&sample);
    GstMapInfo map;
    if (gst_buffer_map(buffer, &map, GST_MAP_READ) != 0) gst_buffer_unmap(buffer, &map);
    const GstClockTime time = gst_segment_to_stream_time(gst_sample_get_segment(&sample),
                                                         GST_FORMAT_TIME, GST_BUFFER_PTS(buffer));
    return static_cast<std::int64_t>(time / GST_USECOND);
  }

  static GstFlowReturn onPicture(GstAppSink* sink, gpointer self) {
    auto& player = *static_cast<Player*>(self);
    const Sample sample(gst_app_sink_pull_sample(sink));
    const std::int64_t microseconds = look(*sample);
    player.record_.picture(microseconds);
    const double duration = player.options_.duration;
    if (duration > 0 && static_cast<double>(microseconds) >= duration * 1'000'000)
      gst_element_post_message(
          GST_ELEMENT(sink),
          gst_message_new_application(GST_OBJECT(sink), gst_structure_new_empty("enough")));
    return GST_FLOW_OK;
  }

  static GstFlowReturn onSound(GstAppSink* sink, gpointer self) {
    const Sample sample(gst_app_sink_pull_sample(sink));
    static_cast<Player*>(self)->record_.sound(look(*sample));
    return GST_FLOW_OK;
  }

  static GstFlowReturn onPreroll(GstAppSink* sink, gpointer self) {
    auto& player = *static_cast<Player*>(self);
    const Sample sample(gst_app_sink_pull_preroll(sink));
    const std::int64_t microseconds = look(*sample);
    if (player.options_.first) player.record_.picture(microseconds);
    const std::lock_guard lock(player.mutex_);
    player.prerolled_ = microseconds;
    player.changed_.notify_all();
    return GST_FLOW_OK;
  }

  std::int64_t waitForPreroll() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return prerolled_.has_value(); });
    return *std::exchange(prerolled_, std::nullopt);
  }

  const bench::Options& options_;
  bench::Record& record_;
  Element pipeline_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::optional<std::int64_t> prerolled_;  // guarded by mutex_
};

}  // namespace

int main(int argc, char** argv) {
  const bench::Options options = bench::parseOptions(argc, argv, "Plays a movie with GStreamer.");
  gst_init(nullptr, nullptr);
  load();
  bench::Record record;
  record.begin();
  Player player(options, record);
  if (!player.open()) return 1;
  if (options.first || !options.seeks.empty()) {
    player.preroll();
    for (const double seconds : options.seeks) player.seek(seconds);
  } else {
    player.play();
  }
  record.end();
  record.print();
  return 0;
}
