#include "meeting/OutputFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <utility>

namespace meeting {

namespace {

constexpr mode_t kForAll = 0666;  // less the umask

bool isAmong(const std::vector<std::string>& files, const std::string& path) {
  return std::any_of(files.begin(), files.end(), [&path](const std::string& file) {
    std::error_code none;
    return std::filesystem::equivalent(path, file, none);
  });
}

}  // namespace

OutputFile::OutputFile(int descriptor)
    : std::ostream(static_cast<std::streambuf*>(this)), owned_(false), descriptor_(descriptor) {
  setp(buffer_.data(), buffer_.data() + buffer_.size());
}

OutputFile::OutputFile(const std::string& path)
    : std::ostream(static_cast<std::streambuf*>(this)),
      owned_(true),
      descriptor_(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, kForAll)),
      error_(descriptor_ < 0 ? errno : 0) {
  setp(buffer_.data(), buffer_.data() + buffer_.size());
}

OutputFile::~OutputFile() { finish(); }

int OutputFile::finish() {
  sync();
  const int descriptor = std::exchange(descriptor_, -1);
  if (owned_ && descriptor >= 0 && ::close(descriptor) != 0 && error_ == 0) error_ = errno;
  return error_;
}

std::streambuf::int_type OutputFile::overflow(std::streambuf::int_type character) {
  using Traits = std::streambuf::traits_type;
  if (sync() != 0) return Traits::eof();
  if (!Traits::eq_int_type(character, Traits::eof())) sputc(Traits::to_char_type(character));
  return Traits::not_eof(character);
}

int OutputFile::sync() {
  const char* next = pbase();
  while (error_ == 0 && next < pptr()) {
    const ssize_t written = ::write(descriptor_, next, static_cast<std::size_t>(pptr() - next));
    if (written >= 0)
      next += written;
    else if (errno != EINTR)
      error_ = errno;
  }
  setp(buffer_.data(), buffer_.data() + buffer_.size());
  return error_ == 0 ? 0 : -1;
}

Failure cannotWrite(const std::string& path, int error) {
  const std::string why = error == 0 ? "" : ": " + std::generic_category().message(error);
  return {ExitStatus::outputFailed, "cannot write " + path + why};
}

std::optional<Failure> checkOutputs(const std::vector<std::string>& paths,
                                    const std::vector<std::string>& shared) {
  std::vector<std::string> made;  // files; /dev/null takes any number of outputs
  for (const std::string& path : paths) {
    if (path.empty()) continue;
    if (isAmong(shared, path))
      return Failure{ExitStatus::usage, "would overwrite the shared file: " + path};
    if (isAmong(made, path))
      return Failure{ExitStatus::usage, "would write two outputs into one file: " + path};
    if (!std::ofstream(path, std::ios::app)) return cannotWrite(path, errno);
    std::error_code none;
    if (std::filesystem::is_regular_file(path, none)) made.push_back(path);
  }
  return std::nullopt;
}

}  // namespace meeting
