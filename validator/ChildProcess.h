// A program in a process group of its own, for as long as this lives: what it writes on standard
// output, until a moment, and the end of what it writes on standard error. [main-thread]
#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

namespace validator {

// What one process writes and another reads, without waiting for it.
class Pipe {
 public:
  // Of what is read, the last `kept` bytes at least are remembered. Throws std::system_error.
  explicit Pipe(std::size_t kept = std::string::npos);
  ~Pipe();
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;

  // Reads as much as a pipe holds. False when nothing can come any more.
  bool take();
  const std::string& text() const { return text_; }

  int readEnd() const { return readEnd_; }  // -1 when nothing can come any more
  int writeEnd() const { return writeEnd_; }
  void closeWriteEnd();

 private:
  const std::size_t kept_;
  std::string text_;
  int readEnd_ = -1;
  int writeEnd_ = -1;
};

class ChildProcess {
 public:
  // `settings` are NAME=VALUE, besides the environment that there is.
  // Throws std::system_error when it cannot be started.
  ChildProcess(const std::vector<std::string>& command, const std::vector<std::string>& settings);
  ~ChildProcess();  // ends the group
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  // What it has written by its end. False when it still ran at the deadline.
  bool finish(std::chrono::steady_clock::time_point deadline);

  const std::string& output() const { return output_.text(); }
  const std::string& errors() const { return errors_.text(); }
  int status() const { return status_; }  // as waitpid gives it, when finish() was true

 private:
  void readOutput(std::chrono::steady_clock::time_point deadline);

  pid_t pid_ = -1;
  Pipe output_;
  Pipe errors_{4096};
  int status_ = 0;
  bool ended_ = false;
};

}  // namespace validator
