#include "meeting/MediaFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace meeting {

Failure cannotRead(const std::string& path, int error) {
  if (error == ENOENT) return {ExitStatus::unreadable, "no such file: " + path};
  return {ExitStatus::unreadable,
          "cannot read " + path + ": " + std::generic_category().message(error)};
}

std::optional<Failure> checkReadable(const std::string& path) {
  // Without O_NONBLOCK the end of a pipe would be waited for.
  const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (descriptor < 0) return cannotRead(path, errno);
  struct stat status {};
  const bool regular = ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
  ::close(descriptor);
  if (!regular) return Failure{ExitStatus::unreadable, "not a regular file: " + path};
  return std::nullopt;
}

}  // namespace meeting
