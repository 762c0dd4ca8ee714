// A program in a process group of its own, for as long as this lives: what it writes on standard
// output, until a moment. Its standard error goes nowhere. [main-thread]
#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>
#include <vector>

namespace validator {

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

  const std::string& output() const { return output_; }
  int status() const { return status_; }  // as waitpid gives it, when finish() was true

 private:
  bool readAll(std::chrono::steady_clock::time_point deadline);

  pid_t pid_ = -1;
  int pipe_ = -1;
  std::string output_;
  int status_ = 0;
  bool ended_ = false;
};

}  // namespace validator
