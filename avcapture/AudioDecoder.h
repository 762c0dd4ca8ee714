// Decodes sound to interleaved 16-bit PCM at the file's own rate and channel count, cut to blocks
// of even length. One thread at a time.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "avcapture/Decoder.h"
#include "avcapture/Ffmpeg.h"

namespace avcapture {

struct SoundFormat {
  int rate = 0;  // Hz
  int channels = 0;
  std::size_t bytesPerFrame() const {
    return sizeof(std::int16_t) * static_cast<std::size_t>(channels);
  }
  friend bool operator==(const SoundFormat&, const SoundFormat&) = default;
};

// One piece of sound. The samples belong to who gave it and are valid until it is asked again.
struct SoundBlock {
  std::int64_t microseconds = 0;  // movie time of the first sample
  SoundFormat format;
  std::span<std::uint8_t> bytes;
  std::size_t frames() const { return bytes.size() / format.bytesPerFrame(); }
};

// Cuts what comes in pieces of any length to blocks of 20 ms.
class BlockCutter {
 public:
  // Whether the piece may be added; else take the rest first.
  bool accepts(const SoundBlock& piece) const { return empty() || follows(piece); }
  bool empty() const { return bytes_.size() == head_; }
  void add(const SoundBlock& piece);
  // A full block, or with `rest` also a shorter one; nothing when there is none. Valid until the
  // next add or clear.
  std::optional<SoundBlock> take(bool rest);
  void clear();

 private:
  // Whether the piece goes on, in format and time, where what was added ends.
  bool follows(const SoundBlock& piece) const;
  std::int64_t timeAfter(std::size_t bytes) const;

  SoundFormat format_;
  std::vector<std::uint8_t> bytes_;
  std::size_t head_ = 0;  // bytes taken
  // Time of a frame, counted from `anchor_`, so that rounding does not add up.
  std::int64_t anchor_ = 0;             // microseconds
  std::int64_t framesSinceAnchor_ = 0;  // of the head
};

class AudioDecoder {
 public:
  explicit AudioDecoder(std::unique_ptr<Decoder> decoder) : decoder_(std::move(decoder)) {}

  // Feeds one packet; null says that none follows.
  void send(const AVPacket* packet);
  // The next block of what was fed; nothing when it takes another packet, or at the end.
  std::optional<SoundBlock> next();
  bool wasInVain() const { return decoder_->wasInVain(); }
  bool finished() const { return drained_ && !decoded_ && cutter_.empty(); }
  // Starts over at a seek's target, in microseconds: sound before it is cut away. A target of 0
  // cuts nothing.
  void restart(std::int64_t target);

 private:
  std::optional<SoundBlock> decode();
  bool convert(AVFrame& frame);
  bool rebuild(AVFrame& frame);

  std::unique_ptr<Decoder> decoder_;
  std::int64_t target_ = 0;
  bool drained_ = false;  // no packet follows
  ResamplerPtr resampler_;
  SoundFormat format_;     // of the resampler
  int sampleFormat_ = -1;  // of the resampler's input
  std::vector<std::uint8_t> samples_;
  std::optional<SoundBlock> decoded_;  // waits until the cutter accepts it
  BlockCutter cutter_;
};

}  // namespace avcapture
