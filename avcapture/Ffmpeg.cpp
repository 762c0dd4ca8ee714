#include "avcapture/Ffmpeg.h"

#include <array>
#include <cstdlib>
#include <mutex>
#include <new>
#include <string_view>
#include <utility>

#include "avcapture/PictureBuffers.h"

extern "C" {
#include <libavutil/log.h>
}

namespace avcapture {

namespace {

int levelFromEnvironment() {
  static constexpr std::array<std::pair<std::string_view, int>, 10> kLevels{{
      {"off", AV_LOG_QUIET},
      {"quiet", AV_LOG_QUIET},
      {"panic", AV_LOG_PANIC},
      {"fatal", AV_LOG_FATAL},
      {"error", AV_LOG_ERROR},
      {"warning", AV_LOG_WARNING},
      {"info", AV_LOG_INFO},
      {"verbose", AV_LOG_VERBOSE},
      {"debug", AV_LOG_DEBUG},
      {"trace", AV_LOG_TRACE},
  }};
  // Read once, before any of our threads runs.
  const char* wanted = std::getenv("MOVARA_FFMPEG_LOG");  // NOLINT(concurrency-mt-unsafe)
  if (wanted != nullptr) {
    for (const auto& [name, level] : kLevels) {
      if (name == wanted) return level;
    }
    av_log(nullptr, AV_LOG_ERROR, "MOVARA_FFMPEG_LOG: no such level: %s\n", wanted);
  }
  return AV_LOG_QUIET;
}

}  // namespace

PacketPtr makePacket() {
  PacketPtr packet(av_packet_alloc());
  if (!packet) throw std::bad_alloc();
  return packet;
}

FramePtr makeFrame() {
  FramePtr frame(av_frame_alloc());
  if (!frame) throw std::bad_alloc();
  return frame;
}

CodecPtr openDecoder(const AVStream& stream, int threads, PictureBuffers& buffers) {
  const AVCodec* codec = avcodec_find_decoder(stream.codecpar->codec_id);
  if (codec == nullptr) return nullptr;
  CodecPtr context(avcodec_alloc_context3(codec));
  if (!context) throw std::bad_alloc();
  if (avcodec_parameters_to_context(context.get(), stream.codecpar) < 0) return nullptr;
  // Without it the decoder can't trim the priming samples that the container marks.
  context->pkt_timebase = stream.time_base;
  context->thread_count = threads;
  context->max_pixels = kMostPixels;
  buffers.serve(*context);
  if (avcodec_open2(context.get(), codec, nullptr) < 0) return nullptr;
  return context;
}

void setUpFfmpegLog() {
  static std::once_flag once;
  std::call_once(once, [] { av_log_set_level(levelFromEnvironment()); });
}

}  // namespace avcapture
