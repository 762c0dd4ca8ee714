#include "meeting/cli/StandardOutput.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace meeting {

StandardOutput::StandardOutput() : std::ostream(static_cast<std::streambuf*>(this)) {
  setp(buffer_.data(), buffer_.data() + buffer_.size());
}

int StandardOutput::finish() {
  sync();
  return error_;
}

void StandardOutput::holdClosedStreams() {
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (::fcntl(stream, F_GETFD) >= 0 || errno != EBADF) continue;
    // The lowest free descriptor is this very one.
    static_cast<void>(::open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY));
  }
}

std::streambuf::int_type StandardOutput::overflow(std::streambuf::int_type character) {
  using Traits = std::streambuf::traits_type;
  if (sync() != 0) return Traits::eof();
  if (!Traits::eq_int_type(character, Traits::eof())) sputc(Traits::to_char_type(character));
  return Traits::not_eof(character);
}

int StandardOutput::sync() {
  const char* next = pbase();
  while (error_ == 0 && next < pptr()) {
    const ssize_t written = ::write(STDOUT_FILENO, next, static_cast<std::size_t>(pptr() - next));
    if (written >= 0)
      next += written;
    else if (errno != EINTR)
      error_ = errno;
  }
  setp(buffer_.data(), buffer_.data() + buffer_.size());
  return error_ == 0 ? 0 : -1;
}

}  // namespace meeting
