#include "avcapture/Demuxer.h"

#include <sys/stat.h>

#include <algorithm>
#include <limits>
#include <new>
#include <span>
#include <thread>

namespace avcapture {

namespace {

constexpr std::chrono::seconds kOpenTimeout{10};
constexpr std::chrono::milliseconds kRetryDelay{5};
// A seek that lands behind its target goes back by this much, doubled each time.
constexpr std::int64_t kFirstStepBack = kMicrosecondsPerSecond;

bool isRegularFile(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

bool isCoverArt(const AVStream& stream) {
  return (stream.disposition & AV_DISPOSITION_ATTACHED_PIC) != 0;
}

// Streams that have packets go before those marked as default, these before the larger ones.
std::int64_t rank(const AVStream& stream) {
  const AVCodecParameters& parameters = *stream.codecpar;
  std::int64_t score = parameters.codec_type == AVMEDIA_TYPE_VIDEO
                           ? std::int64_t{parameters.width} * parameters.height
                           : parameters.ch_layout.nb_channels;
  if ((stream.event_flags & AVSTREAM_EVENT_FLAG_NEW_PACKETS) != 0) score += 100'000'000;
  if ((stream.disposition & AV_DISPOSITION_DEFAULT) != 0) score += 5'000'000;
  return score;
}

const AVStream* bestStream(std::span<AVStream* const> streams, AVMediaType type) {
  const AVStream* best = nullptr;
  for (const AVStream* stream : streams) {
    if (stream->codecpar->codec_type != type || isCoverArt(*stream)) continue;
    if (avcodec_find_decoder(stream->codecpar->codec_id) == nullptr) continue;
    if (best == nullptr || rank(*stream) > rank(*best)) best = stream;
  }
  return best;
}

std::span<AVStream* const> streamsOf(const AVFormatContext& format) {
  return {format.streams, format.nb_streams};
}

std::int64_t startOf(const AVFormatContext& format) {
  return format.start_time == AV_NOPTS_VALUE ? 0 : format.start_time;
}

}  // namespace

std::int64_t Timeline::microseconds(std::int64_t pts) const {
  return av_rescale_q(pts - start, base, kMicroseconds);
}

std::uint32_t Timeline::milliseconds(std::int64_t pts) const {
  const std::int64_t value = av_rescale_q(pts - start, base, kMilliseconds);
  return static_cast<std::uint32_t>(
      std::clamp<std::int64_t>(value, 0, std::numeric_limits<std::uint32_t>::max()));
}

int Demuxer::isInterrupted(void* self) {
  const auto& demuxer = *static_cast<const Demuxer*>(self);
  return demuxer.interrupted_->load(std::memory_order_relaxed) ||
                 std::chrono::steady_clock::now() > demuxer.openDeadline_
             ? 1
             : 0;
}

bool Demuxer::open(const std::string& path) {
  setUpFfmpegLog();
  if (!isRegularFile(path)) return false;  // a pipe would block, a folder is none
  AVFormatContext* format = avformat_alloc_context();
  if (format == nullptr) throw std::bad_alloc();
  format->interrupt_callback = {.callback = isInterrupted, .opaque = this};
  openDeadline_ = std::chrono::steady_clock::now() + kOpenTimeout;
  // A playlist must not make us fetch anything from elsewhere.
  AVDictionary* options = nullptr;
  av_dict_set(&options, "protocol_whitelist", "file", 0);
  const int opened = avformat_open_input(&format, ("file:" + path).c_str(), nullptr, &options);
  av_dict_free(&options);
  if (opened < 0) return false;  // has freed the context
  format_.reset(format);
  if (avformat_find_stream_info(format, nullptr) < 0) return false;
  openDeadline_ = std::chrono::steady_clock::time_point::max();
  video_ = bestStream(streamsOf(*format), AVMEDIA_TYPE_VIDEO);
  audio_ = bestStream(streamsOf(*format), AVMEDIA_TYPE_AUDIO);
  return true;
}

void Demuxer::discardOthers() {
  for (AVStream* stream : streamsOf(*format_)) {
    if (stream != video_ && stream != audio_) stream->discard = AVDISCARD_ALL;
  }
}

Timeline Demuxer::timeline(const AVStream& stream) const {
  return {stream.time_base, av_rescale_q(startOf(*format_), kMicroseconds, stream.time_base)};
}

std::int64_t Demuxer::durationMicroseconds() const {
  return format_->duration == AV_NOPTS_VALUE ? 0 : std::max<std::int64_t>(0, format_->duration);
}

double Demuxer::framesPerSecond() const {
  if (video_ == nullptr) return 0.0;
  for (const AVRational rate : {video_->avg_frame_rate, video_->r_frame_rate}) {
    if (rate.num > 0 && rate.den > 0) return av_q2d(rate);
  }
  return 0.0;
}

PacketPtr Demuxer::read() {
  if (peeked_.empty()) return readFile();
  PacketPtr packet = std::move(peeked_.front());
  peeked_.pop_front();
  return packet;
}

PacketPtr Demuxer::readFile() {
  PacketPtr packet = makePacket();
  while (!interrupted_->load(std::memory_order_relaxed)) {
    const int result = av_read_frame(format_.get(), packet.get());
    if (result == AVERROR(EAGAIN)) {
      std::this_thread::sleep_for(kRetryDelay);
      continue;
    }
    if (result == AVERROR(ENOMEM)) throw std::bad_alloc();
    if (result < 0) return nullptr;
    const AVStream* stream = format_->streams[packet->stream_index];
    if (stream == video_ || stream == audio_) return packet;
    av_packet_unref(packet.get());
  }
  return nullptr;
}

bool Demuxer::reposition(std::int64_t microseconds) {
  peeked_.clear();
  constexpr auto kFirst = std::numeric_limits<std::int64_t>::min();
  constexpr auto kLast = std::numeric_limits<std::int64_t>::max();
  const std::int64_t target = startOf(*format_) + microseconds;
  AVFormatContext* format = format_.get();
  return avformat_seek_file(format, -1, kFirst, target, target, 0) >= 0 ||
         av_seek_frame(format, -1, target, AVSEEK_FLAG_BACKWARD) >= 0 ||
         avformat_seek_file(format, -1, kFirst, target, kLast, 0) >= 0 ||
         av_seek_frame(format, -1, 0, AVSEEK_FLAG_BYTE) >= 0;  // without timestamps: the beginning
}

// Reads on to the first packet of the picture (of the sound, when there is none) that decoding can
// start from. Without one there is none at or before the target either.
bool Demuxer::startsAtOrBefore(std::int64_t microseconds) {
  const AVStream* leading = video_ != nullptr ? video_ : audio_;
  while (PacketPtr packet = readFile()) {
    const bool leads =
        packet->stream_index == leading->index && (packet->flags & AV_PKT_FLAG_KEY) != 0;
    const std::int64_t pts = packet->pts != AV_NOPTS_VALUE ? packet->pts : packet->dts;
    peeked_.push_back(std::move(packet));
    if (leads) {
      return pts == AV_NOPTS_VALUE || timeline(*leading).microseconds(pts) <= microseconds;
    }
  }
  return false;
}

void Demuxer::seek(std::int64_t microseconds) {
  std::int64_t from = microseconds;
  for (std::int64_t back = kFirstStepBack;; back *= 2) {
    const bool sought = reposition(from);
    if (from <= 0 || (sought && startsAtOrBefore(microseconds))) return;
    from = std::max<std::int64_t>(0, microseconds - back);
  }
}

}  // namespace avcapture
