#include "avcapture/Demuxer.h"

#include <algorithm>
#include <filesystem>
#include <limits>
#include <new>
#include <span>
#include <string_view>
#include <thread>
#include <vector>

namespace avcapture {

namespace {

// With opening, with a seek, and with each packet, whatever number of reads that takes.
constexpr std::chrono::milliseconds kPatienceAltogether{4500};
constexpr std::chrono::milliseconds kRetryDelay{5};
// A seek that lands behind its target goes back by this much, doubled each time.
constexpr std::int64_t kFirstStepBack = kMicrosecondsPerSecond;
// Blocks of compressed sound need some of those before them: one in AAC, three in MP3.
constexpr std::int64_t kSoundLeadIn = kMicrosecondsPerSecond / 10;
// How much later than it is decoded a picture may show.
constexpr std::int64_t kMostReordering = kMicrosecondsPerSecond;
// Packets kept meanwhile. Who finds no start within goes further back at once.
constexpr std::size_t kMostPeekedBytes = std::size_t{64} << 20;
constexpr auto kLeastTime = std::numeric_limits<std::int64_t>::min();
constexpr auto kGreatestTime = std::numeric_limits<std::int64_t>::max();
// A packet that begins that far from where the one before it ended belongs to another recording,
// or is damaged.
constexpr std::int64_t kLeapBack = kMicrosecondsPerSecond / 2;
constexpr std::int64_t kLeapAhead = 10 * kMicrosecondsPerSecond;

// While it lives, what the thread does has to be done within our patience.
class Deadline {
 public:
  explicit Deadline(SideThread& disk) : disk_(disk) { disk_.setPatience(kPatienceAltogether); }
  ~Deadline() { disk_.setPatience(std::nullopt); }
  Deadline(const Deadline&) = delete;
  Deadline& operator=(const Deadline&) = delete;

 private:
  SideThread& disk_;
};

bool isCoverArt(const AVStream& stream) {
  return (stream.disposition & AV_DISPOSITION_ATTACHED_PIC) != 0;
}

bool isTooLarge(const AVStream& stream) {
  const AVCodecParameters& codec = *stream.codecpar;
  return std::int64_t{codec.width} * codec.height > kMostPixels ||
         std::max(codec.width, codec.height) > kMostSide || codec.sample_rate > kMostSampleRate ||
         codec.ch_layout.nb_channels > kMostChannels;
}

// Decodes what it takes to know the streams, but no picture that is too large.
int findStreamInfo(AVFormatContext& format) {
  std::vector<AVDictionary*> options(format.nb_streams);
  for (AVDictionary*& each : options) av_dict_set_int(&each, "max_pixels", kMostPixels, 0);
  const int result = avformat_find_stream_info(&format, options.data());
  for (AVDictionary*& each : options) av_dict_free(&each);
  return result;
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
    if (stream->codecpar->codec_type != type) continue;
    if (isCoverArt(*stream) || isTooLarge(*stream)) continue;
    if (avcodec_find_decoder(stream->codecpar->codec_id) == nullptr) continue;
    if (best == nullptr || rank(*stream) > rank(*best)) best = stream;
  }
  return best;
}

std::span<AVStream* const> streamsOf(const AVFormatContext& format) {
  return {format.streams, format.nb_streams};
}

// When a picture begins to show, in microseconds of movie time: at the latest, where the container
// knows only when its decoding begins; at the beginning, where it knows nothing.
std::int64_t begins(const AVPacket& packet, const Timeline& timeline) {
  if (packet.pts != AV_NOPTS_VALUE) return timeline.microseconds(packet.pts);
  if (packet.dts != AV_NOPTS_VALUE) return timeline.microseconds(packet.dts) + kMostReordering;
  return 0;
}

// By what is in it, and by the extension where that decides; never a format that opens files by
// itself, as series of pictures do. Null when it is none that FFmpeg knows.
const AVInputFormat* formatOf(AVIOContext* context, const std::string& path) {
  const std::string extension = std::filesystem::path(path).extension().string();
  for (const std::string& name : {"movie" + extension, std::string("movie")}) {
    const AVInputFormat* format = nullptr;
    if (av_probe_input_buffer2(context, &format, name.c_str(), nullptr, 0, 0) < 0) break;
    if ((format->flags & AVFMT_NOFILE) == 0) return format;
  }
  return nullptr;
}

int refuseOtherFiles(AVFormatContext* /*format*/, AVIOContext** /*context*/, const char* /*url*/,
                     int /*flags*/, AVDictionary** /*options*/) {
  return AVERROR(EACCES);
}

// Where the container starts, in microseconds.
std::int64_t startOf(const AVFormatContext& format) {
  if (format.start_time != AV_NOPTS_VALUE) return format.start_time;
  std::int64_t start = kGreatestTime;
  for (const AVStream* stream : streamsOf(format)) {
    if (stream->start_time == AV_NOPTS_VALUE) continue;
    start = std::min(start, rescaled(stream->start_time, stream->time_base, kMicroseconds));
  }
  return start == kGreatestTime ? 0 : start;
}

bool isToldByHeader(const AVStream& stream) {
  const AVCodecParameters& codec = *stream.codecpar;
  if (stream.start_time == AV_NOPTS_VALUE || codec.extradata_size == 0) return false;
  if (codec.codec_id == AV_CODEC_ID_H264) return codec.width > 0 && stream.avg_frame_rate.num > 0;
  return codec.codec_id == AV_CODEC_ID_AAC && codec.ch_layout.nb_channels > 0;
}

// Whether the header of the file tells all that decoding the first packets in advance would: of MP4
// files with an index, when there is no choice between streams.
bool headerTellsAll(const AVFormatContext& format) {
  const auto streams = streamsOf(format);
  const bool distinct =
      streams.size() == 1 ||
      (streams.size() == 2 && streams[0]->codecpar->codec_id != streams[1]->codecpar->codec_id);
  return distinct && std::string_view(format.iformat->name).find("mp4") != std::string_view::npos &&
         std::all_of(streams.begin(), streams.end(),
                     [](const AVStream* stream) { return isToldByHeader(*stream); });
}

}  // namespace

int Demuxer::isInterrupted(void* self) {
  return static_cast<Demuxer*>(self)->disk_.givenUp() ? 1 : 0;
}

bool Demuxer::open(const std::string& path) {
  setUpFfmpegLog();
  const Deadline deadline(disk_);
  if (!input_.open(path)) return false;
  error_ = AVERROR_INVALIDDATA;
  const AVInputFormat* known = formatOf(input_.context(), path);
  if (known == nullptr) return false;
  AVFormatContext* format = avformat_alloc_context();
  if (format == nullptr) throw std::bad_alloc();
  format->interrupt_callback = {.callback = isInterrupted, .opaque = this};
  format->pb = input_.context();
  format->io_open = refuseOtherFiles;
  // Nor by those that open them, or sockets, past io_open: lists of files, descriptions of
  // sessions.
  format->protocol_whitelist = av_strdup("none");
  if (format->protocol_whitelist == nullptr) {
    avformat_free_context(format);
    throw std::bad_alloc();
  }
  error_ = avformat_open_input(&format, nullptr, known, nullptr);
  if (error_ < 0) return false;  // has freed the context
  format_.reset(format);
  if (!headerTellsAll(*format)) error_ = findStreamInfo(*format);
  if (error_ < 0) return false;
  mayLeap_ = (format->iformat->flags & AVFMT_TS_DISCONT) != 0;
  end_ = av_sat_add64(startOf(*format), durationMicroseconds());
  video_ = bestStream(streamsOf(*format), AVMEDIA_TYPE_VIDEO);
  audio_ = bestStream(streamsOf(*format), AVMEDIA_TYPE_AUDIO);
  return true;
}

std::string Demuxer::failure() const {
  if (const int error = input_.error()) return fileFailure(error);
  if (error_ == AVERROR_EXIT) return disk_.interrupted() ? "interrupted" : "takes too long to read";
  if (error_ == AVERROR(ENOMEM)) return "out of memory";
  return error_ == 0 || error_ == AVERROR_EOF ? std::string() : "damaged, or of an unknown format";
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
  if (format_->duration == AV_NOPTS_VALUE) return 0;
  return std::clamp<std::int64_t>(format_->duration, 0, kMostMicroseconds);
}

double Demuxer::framesPerSecond() const {
  if (video_ == nullptr) return 0.0;
  for (const AVRational rate : {video_->avg_frame_rate, video_->r_frame_rate}) {
    if (rate.num > 0 && rate.den > 0) return av_q2d(rate);
  }
  return 0.0;
}

PictureSize Demuxer::pictureSize() const {
  const AVCodecParserContext* parser = av_stream_get_parser(video_);
  const bool turned =
      av_stream_get_side_data(video_, AV_PKT_DATA_DISPLAYMATRIX, nullptr) != nullptr;
  if (parser == nullptr || turned || parser->width <= 0 || parser->height <= 0) return {};
  return {static_cast<std::uint32_t>(parser->width), static_cast<std::uint32_t>(parser->height)};
}

PacketPtr Demuxer::read() {
  if (error_ == AVERROR_EXIT) return nullptr;  // given up, until the next seek
  if (peeked_.empty()) {
    const Deadline deadline(disk_);
    return readFile();
  }
  PacketPtr packet = std::move(peeked_.front());
  peeked_.pop_front();
  return packet;
}

PacketPtr Demuxer::readFile() {
  PacketPtr packet = makePacket();
  while (!disk_.interrupted()) {
    const int result = av_read_frame(format_.get(), packet.get());
    if (result == AVERROR(EAGAIN) && !disk_.givenUp()) {
      std::this_thread::sleep_for(kRetryDelay);
      continue;
    }
    if (result < 0) {  // also ENOMEM: damaged files claim sizes that nobody has
      error_ = result == AVERROR(EAGAIN) ? AVERROR_EXIT : result;
      return nullptr;
    }
    const AVStream* stream = format_->streams[packet->stream_index];
    if (stream == video_ || stream == audio_) {
      boundTimes(*packet);
      fold(*packet);
      return packet;
    }
    av_packet_unref(packet.get());
  }
  return nullptr;
}

// How far the movie goes at least, in the timestamps of picture (0) or sound (1): to where the
// other of them has come, and, where the format allows for no leaps, as far as the file says.
std::int64_t Demuxer::known(std::size_t which) const {
  const std::int64_t told = mayLeap_ ? kLeastTime : end_;
  const std::optional<std::int64_t>& other = expected_[1 - which];
  return other ? std::max(told, av_sat_sub64(*other, folded_[mayLeap_ ? 0 : which])) : told;
}

// Joins what follows a leap of the timestamps to what came before it. Only one to far beyond what
// is known is one, and, where the format allows for no leaps, the way back from there: a gap within
// the movie is its own, however long.
void Demuxer::fold(AVPacket& packet) {
  if (packet.dts == AV_NOPTS_VALUE) return;
  const AVStream* stream = format_->streams[packet.stream_index];
  const std::size_t which = stream == video_ ? 0 : 1;
  std::int64_t& folded = folded_[mayLeap_ ? 0 : which];
  std::optional<std::int64_t>& expected = expected_[which];
  const std::int64_t begin = rescaled(packet.dts, stream->time_base, kMicroseconds);
  const std::int64_t gap = expected ? av_sat_sub64(av_sat_add64(begin, folded), *expected) : 0;
  const bool back = gap < -kLeapBack && (mayLeap_ || folded != 0);
  const bool ahead = gap > kLeapAhead && begin > av_sat_add64(known(which), kLeapAhead);
  if (back || ahead) {
    folded = av_sat_sub64(folded, gap);
    leapt_ = true;
  }
  const std::int64_t length = rescaled(packet.duration, stream->time_base, kMicroseconds);
  expected = av_sat_add64(av_sat_add64(begin, folded), length);
  const std::int64_t shift = rescaled(folded, kMicroseconds, stream->time_base);
  packet.dts = av_sat_add64(packet.dts, shift);
  if (packet.pts != AV_NOPTS_VALUE) packet.pts = av_sat_add64(packet.pts, shift);
}

// What would wait until far beyond the end to be shown, or stay for as long, is damaged: when or
// for how long is unknown then, which decoders make up for.
void Demuxer::boundTimes(AVPacket& packet) const {
  if (packet.dts == AV_NOPTS_VALUE) return;
  const AVStream* stream = format_->streams[packet.stream_index];
  const std::int64_t begin = rescaled(packet.dts, stream->time_base, kMicroseconds);
  const std::int64_t end = std::max({begin, end_, known(stream == video_ ? 0 : 1)});
  const std::int64_t left = av_sat_sub64(av_sat_add64(end, kLeapAhead), begin);
  const std::int64_t most = rescaled(left, kMicroseconds, stream->time_base);
  if (durationMicroseconds() > 0 && packet.duration > most) packet.duration = 0;
  const bool late = av_sat_sub64(packet.pts, packet.dts) > most;
  if (packet.pts != AV_NOPTS_VALUE && late) packet.pts = AV_NOPTS_VALUE;
}

// What was read, and what it showed.
void Demuxer::forget() {
  error_ = 0;
  input_.clearError();
  peeked_.clear();
  folded_ = {};
  leapt_ = false;
  expected_ = {};
}

bool Demuxer::reposition(std::int64_t microseconds) {
  forget();
  const std::int64_t target = av_sat_add64(startOf(*format_), microseconds);
  AVFormatContext* format = format_.get();
  return (microseconds <= 0 && rewindBytes()) ||
         avformat_seek_file(format, -1, kLeastTime, target, target, 0) >= 0 ||
         av_seek_frame(format, -1, target, AVSEEK_FLAG_BACKWARD) >= 0 ||
         avformat_seek_file(format, -1, kLeastTime, target, kGreatestTime, 0) >= 0 ||
         av_seek_frame(format, -1, 0, AVSEEK_FLAG_BYTE) >= 0;  // without timestamps: the beginning
}

// A broadcast stream is searched by its timestamps, which finds what follows its first picture.
bool Demuxer::rewindBytes() {
  const int flags = format_->iformat->flags;
  return (flags & AVFMT_TS_DISCONT) != 0 && (flags & AVFMT_GENERIC_INDEX) == 0 &&
         av_seek_frame(format_.get(), -1, 0, AVSEEK_FLAG_BYTE) >= 0;
}

// An index of pictures leads to the first of them, which may be far behind the first sound.
void Demuxer::rewind() {
  reposition(0);
  if (video_ == nullptr || audio_ == nullptr) return;
  PacketPtr first = readFile();
  if (!first) return;
  const AVStream& stream = *format_->streams[first->stream_index];
  const bool late = begins(*first, timeline(stream)) > kMostReordering;
  peeked_.push_back(std::move(first));
  if (!late) return;
  forget();
  if (av_seek_frame(format_.get(), audio_->index, timeline(*audio_).start, AVSEEK_FLAG_BACKWARD) <
      0) {
    reposition(0);
  }
}

// Reads on to the first packet of the picture (of the sound, when there is none) that decoding can
// start from. Without one there is none at or before the target either.
bool Demuxer::startsAtOrBefore(std::int64_t microseconds) {
  const AVStream* leading = video_ != nullptr ? video_ : audio_;
  std::size_t bytes = 0;
  while (PacketPtr packet = bytes < kMostPeekedBytes ? readFile() : nullptr) {
    bytes += static_cast<std::size_t>(packet->size) + sizeof(AVPacket);
    const bool leads =
        packet->stream_index == leading->index && (packet->flags & AV_PKT_FLAG_KEY) != 0;
    const bool shows = !leads || begins(*packet, timeline(*leading)) <= microseconds;
    peeked_.push_back(std::move(packet));
    if (leads) return shows;
  }
  return false;
}

void Demuxer::seek(std::int64_t microseconds) {
  const Deadline deadline(disk_);
  // Where there is a picture, sound is read from its key frame on.
  std::int64_t from =
      std::max<std::int64_t>(0, microseconds - (video_ == nullptr ? kSoundLeadIn : 0));
  for (std::int64_t back = kFirstStepBack;; back *= 2) {
    if (from <= 0) rewind();
    const bool found = from <= 0 || (reposition(from) && startsAtOrBefore(microseconds));
    if (disk_.givenUp()) break;
    if (found) return;
    from = std::max<std::int64_t>(0, microseconds - back);
  }
  peeked_.clear();
  error_ = AVERROR_EXIT;
}

}  // namespace avcapture
