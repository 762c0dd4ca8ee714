#include "avcapture/FileInput.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <new>
#include <system_error>
#include <utility>

namespace avcapture {

namespace {

// What is fetched at a time, and what FFmpeg takes at a time.
constexpr std::size_t kBlockBytes = std::size_t{128} << 10;
constexpr int kBufferBytes = 32 << 10;

std::int64_t orError(std::int64_t result) { return result < 0 ? AVERROR(errno) : result; }

}  // namespace

// What belongs to the disk thread while an operation is under way.
struct FileInput::File {
  File() = default;
  ~File() {
    if (descriptor >= 0) ::close(descriptor);
  }
  File(const File&) = delete;
  File& operator=(const File&) = delete;

  // Answers the size.
  std::int64_t open(const std::string& path) {
    // Without waiting for the other end of a pipe.
    descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    struct stat status {};
    if (descriptor < 0 || ::fstat(descriptor, &status) != 0) return AVERROR(errno);
    if (S_ISREG(status.st_mode)) return status.st_size;
    return S_ISDIR(status.st_mode) ? AVERROR(EISDIR) : AVERROR(ESPIPE);
  }
  // Answers how many bytes of the block are filled; 0 at the end.
  std::int64_t read(std::int64_t at) {
    for (;;) {
      const std::int64_t result = orError(::pread(descriptor, block.data(), block.size(), at));
      if (result != AVERROR(EINTR)) return result;
    }
  }

  int descriptor = -1;
  std::array<std::uint8_t, kBlockBytes> block;
};

void FileInput::FreeContext::operator()(AVIOContext* context) const {
  av_freep(static_cast<void*>(&context->buffer));
  avio_context_free(&context);
}

FileInput::~FileInput() {
  if (!file_) return;
  try {
    // Closing may take as long as reading. Whoever lets go last closes.
    disk_.post([file = std::move(file_)] { return 0; });
  } catch (const std::bad_alloc&) {
  }
}

bool FileInput::open(const std::string& path) {
  file_ = std::make_shared_for_overwrite<File>();
  size_ = disk_.run([file = file_, path] { return file->open(path); });
  if (size_ < 0) {
    error_ = static_cast<int>(size_);
    return false;
  }
  auto* buffer = static_cast<std::uint8_t*>(av_malloc(kBufferBytes));
  context_.reset(buffer == nullptr ? nullptr
                                   : avio_alloc_context(buffer, kBufferBytes, 0, this, readPacket,
                                                        nullptr, seekTo));
  if (context_) return true;
  av_free(buffer);
  throw std::bad_alloc();
}

// Called from C, which no exception may pass.
int FileInput::readPacket(void* self, std::uint8_t* buffer, int size) {
  auto& input = *static_cast<FileInput*>(self);
  if (!input.blockHasPosition() && !input.fetch()) {
    return input.error_ != 0 ? input.error_ : AVERROR_EOF;
  }
  const auto from = static_cast<std::size_t>(input.position_ - input.blockAt_);
  const std::int64_t bytes = std::min<std::int64_t>(size, input.blockEnd_ - input.position_);
  std::memcpy(buffer, input.file_->block.data() + from, static_cast<std::size_t>(bytes));
  input.position_ += bytes;
  return static_cast<int>(bytes);
}

// Fills the block from the position on. False at the end of the file, and on an error.
bool FileInput::fetch() {
  blockAt_ = blockEnd_ = position_;
  std::int64_t result = AVERROR(ENOMEM);
  try {
    result = disk_.run([file = file_, at = position_] { return file->read(at); });
  } catch (const std::bad_alloc&) {
  }
  blockEnd_ += std::max<std::int64_t>(0, result);
  if (result < 0) error_ = static_cast<int>(result);
  if (result == 0 && position_ < size_) error_ = AVERROR_EOF;
  return result > 0;
}

std::int64_t FileInput::seekTo(void* self, std::int64_t offset, int whence) {
  auto& input = *static_cast<FileInput*>(self);
  if ((whence & AVSEEK_SIZE) != 0) return input.size_;
  switch (whence & ~AVSEEK_FORCE) {
    case SEEK_SET:
      break;
    case SEEK_CUR:
      offset = av_sat_add64(offset, input.position_);
      break;
    case SEEK_END:
      offset = av_sat_add64(offset, input.size_);
      break;
    default:
      return AVERROR(EINVAL);
  }
  if (offset < 0) return AVERROR(EINVAL);
  return input.position_ = offset;
}

std::string fileFailure(int error) {
  switch (error) {
    case AVERROR(ETIMEDOUT):
      return "the disk does not answer";
    case AVERROR_EOF:
      return "the file has become shorter";
    case AVERROR_EXIT:
      return "interrupted";
    case AVERROR(ESPIPE):
      return "not a regular file";
    default:
      return std::generic_category().message(AVUNERROR(error));
  }
}

}  // namespace avcapture
