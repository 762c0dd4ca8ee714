#include "meeting/FrameMd5Writer.h"

#include <array>
#include <cinttypes>
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

std::unique_ptr<FrameMd5Writer> FrameMd5Writer::create(const std::string& path) {
  std::FILE* file = std::fopen(path.c_str(), "we");
  if (file == nullptr) return nullptr;
  return std::unique_ptr<FrameMd5Writer>(new FrameMd5Writer(file));
}

FrameMd5Writer::FrameMd5Writer(std::FILE* file) : file_(file), md5_(av_md5_alloc()) {
  if (md5_ == nullptr) throw std::bad_alloc();
  std::fputs("# timestamp_ms, bytes, md5\n", file_);
}

FrameMd5Writer::~FrameMd5Writer() {
  close();
  av_free(md5_);
}

void FrameMd5Writer::add(const VideoSample& sample) {
  const platform::Lock lock(mutex_);
  if (file_ == nullptr) return;
  const bool eitherStill = std::exchange(lastStill_, sample.still) || sample.still;
  const bool samePlace = lastTimestampMs_ == sample.timestampMs;
  lastTimestampMs_ = sample.timestampMs;
  if (eitherStill && samePlace) return;
  const Digest digest = digestOf(md5_, sample);
  std::fprintf(file_, "%" PRIu64 ", %" PRIu64 ", ", sample.timestampMs,
               std::uint64_t{sample.width} * 3 * sample.height);
  for (const std::uint8_t byte : digest) std::fprintf(file_, "%02x", unsigned{byte});
  std::fputc('\n', file_);
}

bool FrameMd5Writer::close() {
  const platform::Lock lock(mutex_);
  if (file_ == nullptr) return true;
  const bool failed = std::ferror(file_) != 0;
  const bool closed = std::fclose(std::exchange(file_, nullptr)) == 0;
  return closed && !failed;
}

}  // namespace meeting
