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
#include <utility>

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

void closeOnce(int& end) {
  if (end >= 0) close(std::exchange(end, -1));
}

}  // namespace

Pipe::Pipe(std::size_t kept) : kept_(kept) {
  std::array<int, 2> ends{};
  check(pipe2(ends.data(), O_CLOEXEC) == 0 ? 0 : errno, "pipe");
  readEnd_ = ends[0];
  writeEnd_ = ends[1];
  fcntl(readEnd_, F_SETFL, O_NONBLOCK);
}

Pipe::~Pipe() {
  closeOnce(readEnd_);
  closeOnce(writeEnd_);
}

void Pipe::closeWriteEnd() { closeOnce(writeEnd_); }

bool Pipe::take() {
  if (readEnd_ < 0) return false;
  std::array<char, 1 << 16> bytes{};
  const ssize_t got = read(readEnd_, bytes.data(), bytes.size());
  if (got < 0 && (errno == EAGAIN || errno == EINTR)) return true;
  if (got <= 0) {
    closeOnce(readEnd_);
    return false;
  }
  text_.append(bytes.data(), static_cast<std::size_t>(got));
  if (text_.size() > kept_) text_.erase(0, text_.size() - kept_);
  return true;
}

ChildProcess::ChildProcess(const std::vector<std::string>& command,
                           const std::vector<std::string>& settings) {
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, output_.writeEnd(), STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&actions, errors_.writeEnd(), STDERR_FILENO);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);

  std::vector<std::string> words = command;
  std::vector<std::string> environment = environmentWith(settings);
  const int error = posix_spawn(&pid_, words.front().c_str(), &actions, &attributes,
                                pointers(words).data(), pointers(environment).data());
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&actions);
  output_.closeWriteEnd();
  errors_.closeWriteEnd();
  check(error, words.front().c_str());
}

ChildProcess::~ChildProcess() {
  kill(-pid_, SIGKILL);  // what it has left running, too
  if (!ended_) waitpid(pid_, &status_, 0);
}

void ChildProcess::readOutput(steady_clock::time_point deadline) {
  for (bool more = true; more;) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - steady_clock::now());
    std::array<pollfd, 2> readable{
        {{output_.readEnd(), POLLIN, 0}, {errors_.readEnd(), POLLIN, 0}}};
    const int ready = poll(readable.data(), readable.size(),
                           static_cast<int>(std::max<std::int64_t>(left.count(), 0)));
    if (ready < 0 && errno == EINTR) continue;
    if (ready <= 0) return;
    more = output_.take();
    errors_.take();
  }
}

bool ChildProcess::finish(steady_clock::time_point deadline) {
  readOutput(deadline);
  // Who has closed its output may still be busy, and who has ended may have left others writing.
  for (;;) {
    ended_ = waitpid(pid_, &status_, WNOHANG) == pid_;
    errors_.take();
    if (ended_) return true;
    if (steady_clock::now() >= deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
}

}  // namespace validator
