#include "bench/BaselineStreams.h"

#include <cstdio>
#include <cstdlib>
#include <utility>

extern "C" {
#include <libavutil/channel_layout.h>
}

namespace bench {

namespace {

using avcapture::FramePtr;

// What the scaler's vectors may write behind the last row.
constexpr std::size_t kSpareBytes = 64;

void check(bool well, const char* what) {
  if (well) return;
  std::fprintf(stderr, "baseline: %s failed\n", what);
  std::_Exit(1);
}

avcapture::CodecPtr openCodec(const AVStream& stream, int threads) {
  const AVCodec* codec = avcodec_find_decoder(stream.codecpar->codec_id);
  avcapture::CodecPtr context(avcodec_alloc_context3(codec));
  check(context && avcodec_parameters_to_context(context.get(), stream.codecpar) >= 0, "a decoder");
  context->pkt_timebase = stream.time_base;
  context->thread_count = threads;
  check(avcodec_open2(context.get(), codec, nullptr) >= 0, "opening a decoder");
  return context;
}

std::int64_t toMicroseconds(const AVStream& stream, std::int64_t pts) {
  const std::int64_t start = stream.start_time == AV_NOPTS_VALUE ? 0 : stream.start_time;
  return av_rescale_q(pts - start, stream.time_base, avcapture::kMicroseconds);
}

// Calls `out` with each frame that the packet completes.
template <class Out>
void decodePacket(AVCodecContext& codec, const AVPacket* packet, Out&& out) {
  avcodec_send_packet(&codec, packet);
  for (;;) {
    FramePtr frame(av_frame_alloc());
    if (avcodec_receive_frame(&codec, frame.get()) < 0) return;
    frame->pts = frame->best_effort_timestamp;
    out(std::move(frame));
  }
}

}  // namespace

std::optional<Input> Input::open(const std::string& path) {
  AVFormatContext* format = nullptr;
  if (avformat_open_input(&format, path.c_str(), nullptr, nullptr) < 0) return std::nullopt;
  Input input;
  input.format_.reset(format);
  if (avformat_find_stream_info(format, nullptr) < 0) return std::nullopt;
  const auto best = [format](AVMediaType type) -> const AVStream* {
    const int index = av_find_best_stream(format, type, -1, -1, nullptr, 0);
    return index < 0 ? nullptr : format->streams[index];
  };
  input.video_ = best(AVMEDIA_TYPE_VIDEO);
  input.audio_ = best(AVMEDIA_TYPE_AUDIO);
  if (input.video_ == nullptr) return std::nullopt;
  return input;
}

bool Input::read(AVPacket& packet) {
  av_packet_unref(&packet);
  return av_read_frame(format_.get(), &packet) >= 0;
}

void Input::seek(std::int64_t microseconds) {
  const std::int64_t start = video_->start_time == AV_NOPTS_VALUE ? 0 : video_->start_time;
  const std::int64_t target =
      av_rescale_q(microseconds, avcapture::kMicroseconds, video_->time_base) + start;
  check(av_seek_frame(format_.get(), video_->index, target, AVSEEK_FLAG_BACKWARD) >= 0, "a seek");
}

std::int64_t Input::microseconds(const AVPacket& packet) const {
  return toMicroseconds(*format_->streams[packet.stream_index], packet.dts);
}

VideoPath::VideoPath(const AVStream& stream, int threads, bool ownThread, Sink& sink)
    : stream_(stream), sink_(sink), codec_(openCodec(stream, threads)) {
  if (ownThread) thread_ = std::thread([this] { convertLoop(); });
}

VideoPath::~VideoPath() { endThread(); }

void VideoPath::decode(const AVPacket* packet) {
  decodePacket(*codec_, packet, [this](FramePtr frame) { take(std::move(frame)); });
  if (packet == nullptr) endThread();
}

void VideoPath::restart(std::int64_t target) {
  avcodec_flush_buffers(codec_.get());
  target_ = target;
  arrived_ = false;
}

void VideoPath::take(FramePtr frame) {
  if (target_) {
    const std::int64_t end = toMicroseconds(stream_, frame->pts + frame->pkt_duration);
    if (arrived_ || end <= *target_) return;
  }
  if (!thread_.joinable()) return convert(*frame);
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return !waiting_; });
  waiting_ = std::move(frame);
  changed_.notify_all();
}

void VideoPath::convertLoop() {
  std::unique_lock lock(mutex_);
  for (;;) {
    changed_.wait(lock, [this] { return waiting_ || ended_; });
    if (!waiting_) return;
    const FramePtr frame = std::move(waiting_);
    changed_.notify_all();
    lock.unlock();
    convert(*frame);
    lock.lock();
  }
}

void VideoPath::endThread() {
  if (!thread_.joinable()) return;
  {
    const std::lock_guard lock(mutex_);
    ended_ = true;
    changed_.notify_all();
  }
  thread_.join();
}

void VideoPath::setUpScaler(const AVFrame& frame) {
  const auto format = static_cast<AVPixelFormat>(frame.format);
  scaler_.reset(sws_getContext(frame.width, frame.height, format, frame.width, frame.height,
                               AV_PIX_FMT_RGB24, SWS_BICUBIC, nullptr, nullptr, nullptr));
  check(scaler_ != nullptr, "scaling");
  const int* matrix = sws_getCoefficients(frame.colorspace);
  const int full = frame.color_range == AVCOL_RANGE_JPEG ? 1 : 0;
  sws_setColorspaceDetails(scaler_.get(), matrix, full, matrix, 1, 0, 1 << 16, 1 << 16);
}

void VideoPath::convert(const AVFrame& frame) {
  const int stride = (frame.width * 3 + 3) & ~3;
  if (!scaler_) {
    setUpScaler(frame);
    pixels_.resize(static_cast<std::size_t>(stride) * static_cast<std::size_t>(frame.height) +
                   kSpareBytes);
  }
  std::uint8_t* const planes[4] = {pixels_.data()};
  const int strides[4] = {stride};
  sws_scale(scaler_.get(), frame.data, frame.linesize, 0, frame.height, planes, strides);
  shown_ = toMicroseconds(stream_, frame.pts);
  sink_.picture(pixels_.data(), shown_);
  arrived_ = true;
}

AudioPath::AudioPath(const AVStream& stream, Sink& sink)
    : stream_(stream), sink_(sink), codec_(openCodec(stream, 1)) {
  SwrContext* resampler = nullptr;
  swr_alloc_set_opts2(&resampler, &codec_->ch_layout, AV_SAMPLE_FMT_S16, codec_->sample_rate,
                      &codec_->ch_layout, codec_->sample_fmt, codec_->sample_rate, 0, nullptr);
  resampler_.reset(resampler);
  check(resampler != nullptr && swr_init(resampler) >= 0, "resampling");
}

void AudioPath::decode(const AVPacket* packet) {
  decodePacket(*codec_, packet, [this](const FramePtr& frame) {
    bytes_.resize(static_cast<std::size_t>(frame->nb_samples) * 2 *
                  static_cast<std::size_t>(frame->ch_layout.nb_channels));
    std::uint8_t* const out[1] = {bytes_.data()};
    const auto* const* in = const_cast<const std::uint8_t* const*>(frame->extended_data);
    const int frames =
        swr_convert(resampler_.get(), const_cast<std::uint8_t**>(out), frame->nb_samples,
                    const_cast<const std::uint8_t**>(in), frame->nb_samples);
    sink_.sound(bytes_.data(), frames, toMicroseconds(stream_, frame->pts));
  });
}

}  // namespace bench
