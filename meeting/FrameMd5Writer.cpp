#include "meeting/FrameMd5Writer.h"

#include <array>
#include <new>
#include <utility>

extern "C" {
#include <libavutil/md5.h>
#include <libavutil/mem.h>
}

namespace meeting {

namespace {

using Digest = std::array<std::uint8_t, 16>;

Digest digestOf(AVMD5* md5, const VideoSample& sample) {
  const std::size_t row = std::size_t{sample.width} * 3;
  Digest digest;
  av_md5_init(md5);
  if (row == sample.bytesPerRow) {
    av_md5_update(md5, sample.pixels, row * sample.height);
  } else {
    for (std::size_t y = 0; y < sample.height; ++y)
      av_md5_update(md5, sample.pixels + y * sample.bytesPerRow, row);
  }
  av_md5_final(md5, digest.data());
  return digest;
}

}  // namespace

FrameMd5Writer::FrameMd5Writer(const std::string& path) : file_(path), md5_(av_md5_alloc()) {
  if (md5_ == nullptr) throw std::bad_alloc();
  file_ << "# timestamp_ms, bytes, md5\n";
}

FrameMd5Writer::~FrameMd5Writer() { av_free(md5_); }

void FrameMd5Writer::add(const VideoSample& sample) {
  const platform::Lock lock(mutex_);
  const bool eitherStill = std::exchange(lastStill_, sample.still) || sample.still;
  const bool samePlace = lastTimestampMs_ == sample.timestampMs;
  lastTimestampMs_ = sample.timestampMs;
  if (eitherStill && samePlace) return;
  const Digest digest = digestOf(md5_, sample);
  file_ << sample.timestampMs << ", " << std::uint64_t{sample.width} * 3 * sample.height << ", ";
  constexpr const char* kDigits = "0123456789abcdef";
  for (const std::uint8_t byte : digest) file_ << kDigits[byte >> 4] << kDigits[byte & 15];
  file_ << '\n';
}

int FrameMd5Writer::close() {
  const platform::Lock lock(mutex_);
  return file_.finish();
}

}  // namespace meeting
