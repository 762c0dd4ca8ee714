#include "validator/ChildProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <system_error>
#include <thread>

namespace validator {

namespace {

using std::chrono::steady_clock;

std::vector<char*> pointers(std::vector<std::string>& texts) {
  std::vector<char*> list;
  list.reserve(texts.size() + 1);
  for (std::string& text : texts) list.push_back(text.data());
  list.push_back(nullptr);
  return list;
}

// The environment with the settings, which come first and so count.
std::vector<std::string> environmentWith(const std::vector<std::string>& settings) {
  std::vector<std::string> all = settings;
  for (char** entry = environ; *entry != nullptr; ++entry) all.emplace_back(*entry);
  return all;
}

void check(int error, const char* what) {
  if (error != 0) throw std::system_error(error, std::generic_category(), what);
}

}  // namespace

ChildProcess::ChildProcess(const std::vector<std::string>& command,
                           const std::vector<std::string>& settings) {
  std::array<int, 2> ends{};
  check(pipe2(ends.data(), O_CLOEXEC) == 0 ? 0 : errno, "pipe");
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);

  std::vector<std::string> words = command;
  std::vector<std::string> environment = environmentWith(settings);
  const int error = posix_spawn(&pid_, words.front().c_str(), &actions, &attributes,
                                pointers(words).data(), pointers(environment).data());
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&actions);
  close(ends[1]);
  pipe_ = ends[0];
  if (error != 0) {
    close(pipe_);
    check(error, words.front().c_str());
  }
}

ChildProcess::~ChildProcess() {
  kill(-pid_, SIGKILL);  // what it has left running, too
  if (!ended_) waitpid(pid_, &status_, 0);
  close(pipe_);
}

bool ChildProcess::readAll(steady_clock::time_point deadline) {
  std::array<char, 4096> bytes{};
  for (;;) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - steady_clock::now());
    pollfd readable{pipe_, POLLIN, 0};
    const int ready = poll(&readable, 1, static_cast<int>(std::max<std::int64_t>(left.count(), 0)));
    if (ready < 0 && errno == EINTR) continue;
    if (ready <= 0) return false;
    const ssize_t got = read(pipe_, bytes.data(), bytes.size());
    if (got <= 0) return true;
    output_.append(bytes.data(), static_cast<std::size_t>(got));
  }
}

bool ChildProcess::finish(steady_clock::time_point deadline) {
  readAll(deadline);
  // Who has closed its output may still be busy, and who has ended may have left others writing.
  for (;;) {
    ended_ = waitpid(pid_, &status_, WNOHANG) == pid_;
    if (ended_) return true;
    if (steady_clock::now() >= deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
}

}  // namespace validator
