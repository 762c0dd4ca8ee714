#include "avcapture/Decoder.h"

#include <algorithm>
#include <new>
#include <thread>

namespace avcapture {

namespace {

// Below, a second thread costs more than it gives.
constexpr int kPixelsWorthTwoThreads = 1280 * 720;
constexpr int kPixelsWorthFourThreads = 3840 * 2160;
// Failures in a row; a decoder that goes on failing must not keep us for ever.
constexpr int kMostDamaged = 64;

// Whether pictures that are marked as such are never referred to, and skipping them leaves all
// others as they are.
bool skipsSafely(AVCodecID codec) {
  return codec == AV_CODEC_ID_H264 || codec == AV_CODEC_ID_MPEG2VIDEO;
}

}  // namespace

int decoderThreads(const AVCodecParameters& picture, int wanted) {
  // Frame threads of this decoder don't give the same pictures each time.
  if (picture.codec_id == AV_CODEC_ID_THEORA) return 1;
  if (wanted > 0) return wanted;
  const int cores = static_cast<int>(std::max(1U, std::thread::hardware_concurrency()));
  const std::int64_t pixels = std::int64_t{picture.width} * picture.height;
  if (pixels < kPixelsWorthTwoThreads) return 1;
  return std::min(cores, pixels < kPixelsWorthFourThreads ? 2 : 4);
}

std::unique_ptr<Decoder> Decoder::open(const AVStream& stream, const Timeline& timeline,
                                       int threads) {
  auto buffers = std::make_unique<PictureBuffers>();
  CodecPtr codec = openDecoder(stream, threads, *buffers);
  if (!codec) return nullptr;
  return std::unique_ptr<Decoder>(new Decoder(std::move(buffers), std::move(codec), timeline));
}

void Decoder::send(const AVPacket* packet, bool shown) {
  if (packet != nullptr && packet->size == 0) return;  // would be taken for the end
  fed_ = fed_ || packet != nullptr;
  codec_->skip_frame =
      shown || !skipsSafely(codec_->codec_id) ? AVDISCARD_DEFAULT : AVDISCARD_NONREF;
  if (avcodec_send_packet(codec_.get(), packet) == AVERROR(ENOMEM)) throw std::bad_alloc();
}

FramePtr Decoder::receive() {
  FramePtr frame = makeFrame();
  for (int damaged = 0; damaged < kMostDamaged; ++damaged) {
    const int result = avcodec_receive_frame(codec_.get(), frame.get());
    if (result == 0) {
      gave_ = true;
      completePts(*frame);
      return frame;
    }
    if (result == AVERROR(ENOMEM)) throw std::bad_alloc();
    if (result == AVERROR(EAGAIN) || result == AVERROR_EOF) return nullptr;
  }
  return nullptr;
}

void Decoder::completePts(AVFrame& frame) {
  frame.pts =
      frame.best_effort_timestamp != AV_NOPTS_VALUE ? frame.best_effort_timestamp : nextPts_;
  std::int64_t length = frame.pkt_duration;
  if (frame.nb_samples > 0 && frame.sample_rate > 0) {
    length = av_rescale_q(frame.nb_samples, AVRational{1, frame.sample_rate}, timeline_.base);
  }
  nextPts_ = av_sat_add64(frame.pts, std::max<std::int64_t>(0, length));
}

void Decoder::flush() {
  avcodec_flush_buffers(codec_.get());
  nextPts_ = timeline_.start;  // a stream without timestamps can only begin anew
}

}  // namespace avcapture
