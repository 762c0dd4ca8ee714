#include "avcapture/AudioDecoder.h"

#include <algorithm>
#include <cstdlib>
#include <new>

namespace avcapture {

namespace {

constexpr int kBlocksPerSecond = 50;
// Timestamps jitter by what their container rounds; only more than this is a gap.
constexpr std::int64_t kGapMicroseconds = 40'000;

std::int64_t framesToMicroseconds(std::int64_t frames, int rate) {
  return av_rescale(frames, kMicrosecondsPerSecond, rate);
}

}  // namespace

bool BlockCutter::follows(const SoundBlock& piece) const {
  return piece.format == format_ &&
         std::llabs(piece.microseconds - timeAfter(bytes_.size() - head_)) <= kGapMicroseconds;
}

void BlockCutter::add(const SoundBlock& piece) {
  if (!follows(piece)) {
    format_ = piece.format;
    anchor_ = piece.microseconds;
    framesSinceAnchor_ = 0;
  }
  bytes_.erase(bytes_.begin(), bytes_.begin() + static_cast<std::ptrdiff_t>(head_));
  head_ = 0;
  bytes_.insert(bytes_.end(), piece.bytes.begin(), piece.bytes.end());
}

std::optional<SoundBlock> BlockCutter::take(bool rest) {
  const std::size_t waiting = bytes_.size() - head_;
  if (waiting == 0) return std::nullopt;
  const auto even = static_cast<std::size_t>(std::max(1, format_.rate / kBlocksPerSecond)) *
                    format_.bytesPerFrame();
  if (waiting < even && !rest) return std::nullopt;
  const std::size_t length = std::min(waiting, even);
  SoundBlock block{timeAfter(0), format_, std::span(bytes_).subspan(head_, length)};
  head_ += length;
  framesSinceAnchor_ += static_cast<std::int64_t>(block.frames());
  return block;
}

void BlockCutter::clear() {
  bytes_.clear();
  head_ = 0;
  format_ = {};
}

// When begins what comes so many bytes behind the head.
std::int64_t BlockCutter::timeAfter(std::size_t bytes) const {
  const auto frames = static_cast<std::int64_t>(bytes / format_.bytesPerFrame());
  return anchor_ + framesToMicroseconds(framesSinceAnchor_ + frames, format_.rate);
}

void AudioDecoder::send(const AVPacket* packet) {
  drained_ = packet == nullptr;
  decoder_->send(packet);
}

std::optional<SoundBlock> AudioDecoder::next() {
  for (;;) {
    if (auto block = cutter_.take(false)) return block;
    if (!decoded_) decoded_ = decode();
    if (!decoded_) return cutter_.take(drained_);
    // What comes before a change of format or a gap goes out in its own format, at its own time.
    if (!cutter_.accepts(*decoded_)) return cutter_.take(true);
    cutter_.add(*decoded_);
    decoded_.reset();
  }
}

std::optional<SoundBlock> AudioDecoder::decode() {
  while (const FramePtr frame = decoder_->receive()) {
    if (!convert(*frame)) continue;
    SoundBlock piece{decoder_->timeline().microseconds(frame->pts), format_, samples_};
    if (target_ > 0 && piece.microseconds < target_) {
      const std::int64_t early =
          av_rescale(target_ - piece.microseconds, format_.rate, kMicrosecondsPerSecond);
      const std::size_t cut = std::min(static_cast<std::size_t>(early), piece.frames());
      piece.bytes = piece.bytes.subspan(cut * format_.bytesPerFrame());
      piece.microseconds += framesToMicroseconds(static_cast<std::int64_t>(cut), format_.rate);
    }
    if (!piece.bytes.empty()) return piece;
  }
  return std::nullopt;
}

void AudioDecoder::restart(std::int64_t target) {
  decoder_->flush();
  target_ = target;
  drained_ = false;
  decoded_.reset();
  cutter_.clear();
}

bool AudioDecoder::convert(AVFrame& frame) {
  const SoundFormat format{frame.sample_rate, frame.ch_layout.nb_channels};
  if (format.rate <= 0 || format.channels <= 0 || frame.nb_samples <= 0) return false;
  if (format.rate > kMostSampleRate) return false;
  if ((!resampler_ || !(format == format_) || frame.format != sampleFormat_) && !rebuild(frame)) {
    return false;
  }
  samples_.resize(static_cast<std::size_t>(frame.nb_samples) * format.bytesPerFrame());
  std::uint8_t* out[1] = {samples_.data()};
  auto* in = const_cast<const std::uint8_t**>(frame.extended_data);
  const int converted = swr_convert(resampler_.get(), out, frame.nb_samples, in, frame.nb_samples);
  if (converted == AVERROR(ENOMEM)) throw std::bad_alloc();
  return converted == frame.nb_samples;
}

bool AudioDecoder::rebuild(AVFrame& frame) {
  format_ = {frame.sample_rate, frame.ch_layout.nb_channels};
  sampleFormat_ = frame.format;
  SwrContext* resampler = nullptr;
  int made = swr_alloc_set_opts2(&resampler, &frame.ch_layout, AV_SAMPLE_FMT_S16, frame.sample_rate,
                                 &frame.ch_layout, static_cast<AVSampleFormat>(frame.format),
                                 frame.sample_rate, 0, nullptr);
  resampler_.reset(resampler);
  if (made >= 0) made = swr_init(resampler);
  if (made < 0) resampler_.reset();  // half made, it would be taken for whole by the next frame
  if (made == AVERROR(ENOMEM)) throw std::bad_alloc();
  return resampler_ != nullptr;
}

}  // namespace avcapture
