// Writes a checksum line per picture: timestamp in milliseconds, bytes, MD5 of the pixels without
// row padding.
//
// The picture that stands before playing starts, and after a pause or a seek, arrives as a still;
// the live picture at the same place is the same one and gets no second line. [any-thread]
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "meeting/MultimediaPlatform.h"
#include "meeting/OutputFile.h"
#include "platform/Mutex.h"

struct AVMD5;

namespace meeting {

class FrameMd5Writer {
 public:
  explicit FrameMd5Writer(const std::string& path);
  ~FrameMd5Writer();
  FrameMd5Writer(const FrameMd5Writer&) = delete;
  FrameMd5Writer& operator=(const FrameMd5Writer&) = delete;

  void add(const VideoSample& sample) EXCLUDES(mutex_);
  // Nothing may be added afterwards. 0 if everything has reached the file, or else the first error,
  // as in errno.
  int close() EXCLUDES(mutex_);

 private:
  platform::Mutex mutex_;
  OutputFile file_ GUARDED_BY(mutex_);
  AVMD5* md5_ GUARDED_BY(mutex_);
  std::optional<std::uint64_t> lastTimestampMs_ GUARDED_BY(mutex_);
  bool lastStill_ GUARDED_BY(mutex_) = false;
};

}  // namespace meeting
