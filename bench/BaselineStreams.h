// The parts of the baseline: an input and a path for each stream. Failures end the program: it is
// for media that play.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "avcapture/Ffmpeg.h"

namespace bench {

using Clock = std::chrono::steady_clock;

// The consumer; pointers are valid during the call.
class Sink {
 public:
  virtual void picture(const std::uint8_t* pixels, std::int64_t microseconds) = 0;
  virtual void sound(const std::uint8_t* bytes, int frames, std::int64_t microseconds) = 0;

 protected:
  ~Sink() = default;
};

class Input {
 public:
  static std::optional<Input> open(const std::string& path);
  const AVStream& video() const { return *video_; }
  const AVStream* audio() const { return audio_; }
  // The next packet in place of the one that is there; false at the end.
  bool read(AVPacket& packet);
  // To the key frame at or before that time.
  void seek(std::int64_t microseconds);
  std::int64_t microseconds(const AVPacket& packet) const;

 private:
  avcapture::FormatPtr format_;
  const AVStream* video_ = nullptr;
  const AVStream* audio_ = nullptr;
};

// Decodes, scales, and hands on; scaling may have a thread of its own.
class VideoPath {
 public:
  VideoPath(const AVStream& stream, int threads, bool ownThread, Sink& sink);
  ~VideoPath();
  VideoPath(const VideoPath&) = delete;
  VideoPath& operator=(const VideoPath&) = delete;

  // Null decodes what is left; everything has been handed on when that returns.
  void decode(const AVPacket* packet);
  // After a seek of the input: the next picture is the one that shows at `target`, and the only
  // one.
  void restart(std::int64_t target);
  bool arrived() const { return arrived_; }
  std::int64_t shown() const { return shown_; }  // when the last picture begins, microseconds

 private:
  void take(avcapture::FramePtr frame);
  void convert(const AVFrame& frame);
  void setUpScaler(const AVFrame& frame);
  void convertLoop();
  void endThread();

  const AVStream& stream_;
  Sink& sink_;
  avcapture::CodecPtr codec_;
  avcapture::ScalerPtr scaler_;
  std::vector<std::uint8_t> pixels_;
  std::optional<std::int64_t> target_;
  bool arrived_ = false;
  std::int64_t shown_ = 0;

  std::thread thread_;
  std::mutex mutex_;
  std::condition_variable changed_;
  avcapture::FramePtr waiting_;  // guarded by mutex_
  bool ended_ = false;           // guarded by mutex_
};

class AudioPath {
 public:
  AudioPath(const AVStream& stream, Sink& sink);
  void decode(const AVPacket* packet);

 private:
  const AVStream& stream_;
  Sink& sink_;
  avcapture::CodecPtr codec_;
  avcapture::ResamplerPtr resampler_;
  std::vector<std::uint8_t> bytes_;
};

}  // namespace bench
