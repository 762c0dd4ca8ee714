// Owning handles for FFmpeg's objects, and its log kept quiet. [any-thread]
#pragma once

#include <cstdint>
#include <memory>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/common.h>
#include <libavutil/frame.h>
#include <libswresample/swresample.h>
#include <libswscale/swscale.h>
}

namespace avcapture {

// Deleter for functions that take the address of the pointer.
template <auto Free>
struct FreeByAddress {
  template <class T>
  void operator()(T* object) const {
    Free(&object);
  }
};
struct FreeScaler {
  void operator()(SwsContext* context) const { sws_freeContext(context); }
};

using FormatPtr = std::unique_ptr<AVFormatContext, FreeByAddress<avformat_close_input>>;
using CodecPtr = std::unique_ptr<AVCodecContext, FreeByAddress<avcodec_free_context>>;
using PacketPtr = std::unique_ptr<AVPacket, FreeByAddress<av_packet_free>>;
using FramePtr = std::unique_ptr<AVFrame, FreeByAddress<av_frame_free>>;
using ResamplerPtr = std::unique_ptr<SwrContext, FreeByAddress<swr_free>>;
using ScalerPtr = std::unique_ptr<SwsContext, FreeScaler>;

// Throw std::bad_alloc when there is no memory.
PacketPtr makePacket();
FramePtr makeFrame();

inline constexpr std::int64_t kMicrosecondsPerSecond = 1'000'000;
// Of a picture, twice the largest that is usual: a few damaged bytes can ask for gigabytes.
inline constexpr std::int64_t kMostPixels = std::int64_t{8192} * 8192;
// Of a picture's side: hosts are told of it in 16 bits.
inline constexpr int kMostSide = 0xFFFF;
// Samples a second, twice what the fastest converters make: a block's memory grows with them.
inline constexpr int kMostSampleRate = 1'536'000;
// Of sound, as many as FFmpeg's resampler takes.
inline constexpr int kMostChannels = 64;
inline constexpr AVRational kMicroseconds{1, 1'000'000};
inline constexpr AVRational kMilliseconds{1, 1000};

class PictureBuffers;

// Opens the decoder of a stream; null when there is none or it refuses. `threads` as
// AVCodecContext::thread_count. Its pictures lie in the buffers, which must outlive it.
CodecPtr openDecoder(const AVStream& stream, int threads, PictureBuffers& buffers);

// Silences FFmpeg's log, once. The environment variable MOVARA_FFMPEG_LOG sets another level by its
// name in FFmpeg: quiet (or off), panic, fatal, error, warning, info, verbose, debug, trace.
void setUpFfmpegLog();

}  // namespace avcapture
