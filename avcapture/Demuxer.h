// Opens a media file, picks its picture and its sound, reads their packets in file order.
//
// One thread at a time: the opener's until it has been opened, the demux thread's afterwards.
#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>

#include "avcapture/Ffmpeg.h"

namespace avcapture {

// Movie time of a stream's timestamps: 0 where the container starts.
struct Timeline {
  AVRational base{1, 1};
  std::int64_t start = 0;  // in `base`

  // Kept within a hundred years: what lies beyond is damage.
  std::int64_t microseconds(std::int64_t pts) const;
  // Of a length of time.
  std::int64_t duration(std::int64_t units) const;
  // Rounded to the nearest; what lies before the start counts as 0.
  std::uint32_t milliseconds(std::int64_t pts) const;
};

class Demuxer {
 public:
  // All reading is given up while `interrupted` is set.
  explicit Demuxer(const std::atomic<bool>& interrupted) : interrupted_(&interrupted) {}
  Demuxer(const Demuxer&) = delete;
  Demuxer& operator=(const Demuxer&) = delete;

  // Whether the path names a regular file in a format that FFmpeg knows.
  bool open(const std::string& path);

  // The streams to play; null when there is none. Cover art is no picture.
  const AVStream* video() const { return video_; }
  const AVStream* audio() const { return audio_; }
  // Plays without that stream, whose decoder does not open.
  void dropVideo() { video_ = nullptr; }
  void dropAudio() { audio_ = nullptr; }
  // Leaves the streams that are not played out of reading. Once, after the choice is final.
  void discardOthers();

  Timeline timeline(const AVStream& stream) const;
  std::int64_t durationMicroseconds() const;  // 0 when unknown
  // Whether timestamps have leapt since the last seek: the file's own duration is then wrong.
  // [any-thread]
  bool leapt() const { return leapt_.load(std::memory_order_relaxed); }
  double framesPerSecond() const;  // of the picture, 0.0 when unknown

  // The next packet of a played stream; null at the end, or when the file can't be read further.
  PacketPtr read();
  // Goes to where decoding must start so that the picture at `microseconds` of movie time comes out
  // right.
  void seek(std::int64_t microseconds);

 private:
  static int isInterrupted(void* self);
  PacketPtr readFile();
  void fold(AVPacket& packet);
  bool reposition(std::int64_t microseconds);
  bool rewindBytes();
  bool startsAtOrBefore(std::int64_t microseconds);

  const std::atomic<bool>* interrupted_;
  std::chrono::steady_clock::time_point openDeadline_ =
      std::chrono::steady_clock::time_point::max();
  FormatPtr format_;
  const AVStream* video_ = nullptr;
  const AVStream* audio_ = nullptr;
  std::deque<PacketPtr> peeked_;  // read by seek, to be handed out first
  // Where timestamps may leap: what is added to them, and when the next packet of picture and sound
  // should begin. In microseconds of the container.
  std::int64_t folded_ = 0;
  std::atomic<bool> leapt_{false};
  std::array<std::optional<std::int64_t>, 2> expected_;
};

}  // namespace avcapture
