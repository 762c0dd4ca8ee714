// Writes a checksum line per picture: timestamp in milliseconds, bytes, MD5 of the pixels without
// row padding.
//
// The picture that stands before playing starts, and after a pause or a seek, arrives as a still;
// the live picture at the same place is the same one and gets no second line. [any-thread]
#pragma once

#include <cstdio>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "meeting/MultimediaPlatform.h"

struct AVMD5;

namespace meeting {

class FrameMd5Writer {
 public:
  // Nothing when the file cannot be written; errno says why.
  static std::unique_ptr<FrameMd5Writer> create(const std::string& path);
  ~FrameMd5Writer();
  FrameMd5Writer(const FrameMd5Writer&) = delete;
  FrameMd5Writer& operator=(const FrameMd5Writer&) = delete;

  void add(const VideoSample& sample);
  // Whether everything has reached the file; nothing may be added afterwards.
  bool close();

 private:
  explicit FrameMd5Writer(std::FILE* file);

  std::mutex mutex_;
  // Guarded by mutex_:
  std::FILE* file_;
  AVMD5* md5_;
  std::optional<std::uint64_t> lastTimestampMs_;
  bool lastStill_ = false;
};

}  // namespace meeting
