#include "tests/support/Process.h"

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <iterator>
#include <sstream>
#include <stdexcept>
#include <utility>

extern char** environ;  // NOLINT(readability-redundant-declaration)

namespace support {

namespace {

struct Stream {
  int ours;
  int theirs;
};

// What is written to a terminal comes through it as it is.
Stream openStream(bool terminal) {
  int ends[2];
  if (!terminal) {
    if (::pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipes");
    return {ends[0], ends[1]};
  }
  termios raw{};
  ::cfmakeraw(&raw);
  if (::openpty(&ends[0], &ends[1], nullptr, &raw, nullptr) != 0)
    throw std::runtime_error("no terminals");
  for (const int end : ends) ::fcntl(end, F_SETFD, FD_CLOEXEC);
  return {ends[0], ends[1]};
}

// False at the end of the pipe, or of the terminal.
bool readSome(int descriptor, std::string& text) {
  char buffer[4096];
  const ssize_t length = ::read(descriptor, buffer, sizeof buffer);
  if (length > 0) text.append(buffer, static_cast<std::size_t>(length));
  return length > 0;
}

}  // namespace

Process::Process(const std::vector<std::string>& command, Terminals terminals) {
  const Stream out = openStream(terminals.out);
  const Stream err = openStream(terminals.err);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_adddup2(&actions, out.theirs, STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&actions, err.theirs, STDERR_FILENO);
  std::vector<std::string> copy = command;
  std::vector<char*> arguments;
  for (std::string& argument : copy) arguments.push_back(argument.data());
  arguments.push_back(nullptr);
  const int failure =
      ::posix_spawnp(&pid_, arguments[0], &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  ::close(out.theirs);
  ::close(err.theirs);
  out_ = out.ours;
  err_ = err.ours;
  if (failure != 0) throw std::runtime_error("cannot start " + command[0]);
}

Process::~Process() {
  if (pid_ > 0) {
    ::kill(pid_, SIGKILL);
    finish();
  }
}

bool Process::waitForError(const std::string& text) {
  while (errText_.find(text) == std::string::npos)
    if (!readSome(err_, errText_)) return false;
  return true;
}

void Process::send(int signal) const { ::kill(pid_, signal); }

Finished Process::finish() {
  pollfd sources[] = {{out_, POLLIN, 0}, {err_, POLLIN, 0}};
  std::string* texts[] = {&outText_, &errText_};
  while (sources[0].fd >= 0 || sources[1].fd >= 0) {
    if (::poll(sources, 2, -1) < 0) continue;
    for (std::size_t i = 0; i < 2; ++i)
      if (sources[i].revents != 0 && !readSome(sources[i].fd, *texts[i])) {
        ::close(sources[i].fd);
        sources[i].fd = -1;
      }
  }
  int status = 0;
  ::waitpid(std::exchange(pid_, -1), &status, 0);
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status), outText_, errText_};
}

Finished run(const std::vector<std::string>& command) { return Process(command).finish(); }

std::vector<std::string> words(const std::string& text) {
  std::istringstream stream(text);
  return {std::istream_iterator<std::string>(stream), {}};
}

}  // namespace support
