// A regular file as FFmpeg reads it. Every access to the disk is left to a thread that can be left
// behind. One thread at a time: the one that runs the disk thread's operations.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "avcapture/Ffmpeg.h"
#include "avcapture/SideThread.h"

namespace avcapture {

class FileInput {
 public:
  // `disk` must outlive it.
  explicit FileInput(SideThread& disk) : disk_(disk) {}
  ~FileInput();
  FileInput(const FileInput&) = delete;
  FileInput& operator=(const FileInput&) = delete;

  // Whether the path names a regular file that can be read; else `error` tells why. Once. Throws
  // std::bad_alloc.
  bool open(const std::string& path);
  // What FFmpeg reads it by. Ours; null until it is open.
  AVIOContext* context() const { return context_.get(); }

  // What went wrong since it was opened or since clearError, as an AVERROR: AVERROR_EOF when the
  // file has become shorter than it was; 0 when nothing has.
  int error() const { return error_; }
  void clearError() { error_ = context_->error = 0; }  // when open

 private:
  struct File;
  struct FreeContext {
    void operator()(AVIOContext* context) const;
  };
  static int readPacket(void* self, std::uint8_t* buffer, int size);
  static std::int64_t seekTo(void* self, std::int64_t offset, int whence);
  bool fetch();
  bool blockHasPosition() const { return position_ >= blockAt_ && position_ < blockEnd_; }

  SideThread& disk_;
  std::shared_ptr<File> file_;  // with the operation that is under way
  std::unique_ptr<AVIOContext, FreeContext> context_;
  std::int64_t size_ = 0;                    // when it was opened
  std::int64_t position_ = 0;                // where FFmpeg reads next
  std::int64_t blockAt_ = 0, blockEnd_ = 0;  // of the file, in the file's block
  int error_ = 0;
};

// What to tell a user about an error of a FileInput.
std::string fileFailure(int error);

}  // namespace avcapture
