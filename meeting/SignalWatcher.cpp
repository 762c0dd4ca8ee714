#include "meeting/SignalWatcher.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <optional>
#include <system_error>
#include <utility>

namespace meeting {

namespace {

// Some senders signal a program and then its group: that is one request.
constexpr std::chrono::milliseconds kSameRequest{300};

sigset_t watchedSignals() {
  sigset_t set;
  ::sigemptyset(&set);
  ::sigaddset(&set, SIGINT);
  ::sigaddset(&set, SIGTERM);
  ::sigaddset(&set, SIGHUP);
  return set;
}

void endAtOnce(int number) {
  struct sigaction action {};
  action.sa_handler = SIG_DFL;
  ::sigaction(number, &action, nullptr);
  const sigset_t set = watchedSignals();
  ::pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
  ::raise(number);
}

}  // namespace

SignalWatcher::SignalWatcher(std::function<void(int)> onSignal) : onSignal_(std::move(onSignal)) {
  const sigset_t set = watchedSignals();
  ::pthread_sigmask(SIG_BLOCK, &set, nullptr);
  signals_ = ::signalfd(-1, &set, SFD_CLOEXEC);
  ending_ = ::eventfd(0, EFD_CLOEXEC);
  if (signals_ < 0 || ending_ < 0)
    throw std::system_error(errno, std::generic_category(), "cannot watch for signals");
  thread_ = std::thread([this] { watch(); });
}

SignalWatcher::~SignalWatcher() {
  const std::uint64_t one = 1;
  while (::write(ending_, &one, sizeof one) < 0 && errno == EINTR) {
  }
  thread_.join();
  ::close(signals_);
  ::close(ending_);
  const sigset_t set = watchedSignals();
  ::pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
}

void SignalWatcher::watch() {
  pollfd sources[] = {{signals_, POLLIN, 0}, {ending_, POLLIN, 0}};
  std::optional<std::chrono::steady_clock::time_point> asked;
  while (true) {
    if (::poll(sources, 2, -1) < 0) continue;
    if (sources[1].revents != 0) return;
    signalfd_siginfo info{};
    if (::read(signals_, &info, sizeof info) != sizeof info) continue;
    const int number = static_cast<int>(info.ssi_signo);
    const auto now = std::chrono::steady_clock::now();
    if (asked && now - *asked < kSameRequest) continue;
    if (asked) endAtOnce(number);
    asked = now;
    onSignal_(number);
  }
}

}  // namespace meeting
