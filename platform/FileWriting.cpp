#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>

#include "platform/BitmapImageRep.h"

namespace platform {

namespace {

// A new file beside `path`, or -1. mkstemp would make it unreadable for others, whatever the
// user's mask says.
int createBeside(const std::string& path, std::string& name) {
  static std::atomic<unsigned> counter{0};
  constexpr mode_t kReadWriteForAll = 0666;
  for (;;) {
    name = path + '.' + std::to_string(getpid()) + '-' + std::to_string(counter.fetch_add(1));
    const int file = open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kReadWriteForAll);
    if (file >= 0 || errno != EEXIST) return file;
  }
}

bool writeAll(int file, const std::vector<std::uint8_t>& data) {
  std::size_t done = 0;
  while (done < data.size()) {
    const ssize_t count = write(file, data.data() + done, data.size() - done);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    done += static_cast<std::size_t>(count);
  }
  return true;
}

}  // namespace

bool writeFileAtomically(const std::string& path, const std::vector<std::uint8_t>& data) {
  std::string temporary;
  const int file = createBeside(path, temporary);
  if (file < 0) return false;
  const bool written = writeAll(file, data);
  const bool closed = close(file) == 0;
  if (written && closed && std::rename(temporary.c_str(), path.c_str()) == 0) return true;
  unlink(temporary.c_str());
  return false;
}

}  // namespace platform
