// Takes the place of the machine's loudspeaker.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <string>

namespace avcapture::test {

// Where sound goes: through a pipe, which the device stands still for while nobody reads it.
class Loudspeaker {
 public:
  // At that path.
  explicit Loudspeaker(const std::string& path) {
    std::signal(SIGPIPE, SIG_IGN);
    ::unlink(path.c_str());
    EXPECT_EQ(::mkfifo(path.c_str(), 0600), 0);
    end_ = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    EXPECT_EQ(::fcntl(end_, F_SETPIPE_SZ, kHolds), kHolds);
    ::setenv("SDL_DISKAUDIOFILE", path.c_str(), 1);
    ::setenv("SDL_AUDIODRIVER", "disk", 1);
  }
  ~Loudspeaker() {
    unplug();
    ::unsetenv("SDL_AUDIODRIVER");
  }
  Loudspeaker(const Loudspeaker&) = delete;
  Loudspeaker& operator=(const Loudspeaker&) = delete;
  bool standsStill() const {
    int held = 0;
    return ::ioctl(end_, FIONREAD, &held) == 0 && held == kHolds;
  }
  void unplug() {
    if (end_ >= 0) ::close(end_);
    end_ = -1;
  }

 private:
  static constexpr int kHolds = 4096;  // bytes: a page is the least

  int end_ = -1;
};

}  // namespace avcapture::test
