// Opens a media file, picks its picture and its sound, reads their packets in file order.
//
// One thread at a time: the opener's until it has been opened, the demux thread's afterwards.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>

#include "avcapture/Ffmpeg.h"
#include "avcapture/FileInput.h"
#include "avcapture/SideThread.h"
#include "avcapture/Timeline.h"

namespace avcapture {

// In pixels.
struct PictureSize {
  std::uint32_t width = 0, height = 0;
  friend bool operator==(const PictureSize&, const PictureSize&) = default;
};

class Demuxer {
 public:
  // Throws std::system_error when there is no thread to read on.
  Demuxer() = default;
  Demuxer(const Demuxer&) = delete;
  Demuxer& operator=(const Demuxer&) = delete;

  // Whether the path names a regular file in a format that FFmpeg knows; else `failure` tells why.
  // Nothing but that file is ever read: one that only refers to others is refused.
  bool open(const std::string& path);
  // Gives up all reading, for good. [any-thread]
  void interrupt() { disk_.interrupt(); }
  // Why the file could not be opened, or not be read further since the last seek; empty when it
  // could.
  std::string failure() const;

  // The streams to play; null when there is none. Cover art is no picture, and what has more than
  // kMostPixels, kMostSide or kMostSampleRate is not played.
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

  // The size at which the pictures that were read last will be shown; nothing when their packets do
  // not tell, or decoding decides.
  PictureSize pictureSize() const;

  // The next packet of a played stream; null at the end, or when the file can't be read further.
  PacketPtr read();
  // Goes to where decoding must start so that the picture at `microseconds` of movie time comes out
  // right.
  void seek(std::int64_t microseconds);

 private:
  static int isInterrupted(void* self);
  PacketPtr readFile();
  std::int64_t known(std::size_t which) const;
  void fold(AVPacket& packet);
  void boundTimes(AVPacket& packet) const;
  void forget();
  bool reposition(std::int64_t microseconds);
  void rewind();
  bool rewindBytes();
  bool startsAtOrBefore(std::int64_t microseconds);

  SideThread disk_{"av-disk"};
  FileInput input_{disk_};
  FormatPtr format_;
  int error_ = 0;  // FFmpeg's, where the file itself could be read
  const AVStream* video_ = nullptr;
  const AVStream* audio_ = nullptr;
  std::deque<PacketPtr> peeked_;  // read by seek, to be handed out first
  // Where timestamps leap: what is added to those of picture and sound, together where the format
  // allows for leaps, else to each its own; and when the next packet of each should begin. In
  // microseconds of the container.
  bool mayLeap_ = false;
  std::int64_t end_ = 0;  // as the file says; its beginning where it does not
  std::array<std::int64_t, 2> folded_{};
  std::array<std::optional<std::int64_t>, 2> expected_;
  std::atomic<bool> leapt_{false};
};

}  // namespace avcapture
