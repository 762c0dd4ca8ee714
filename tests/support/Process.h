// Runs a program and collects what it says.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace support {

struct Finished {
  int status;  // exit status, or -N when signal N ended it
  std::string out;
  std::string err;
};

// Which streams of a program are terminals of its own, and not pipes.
struct Terminals {
  bool out = false;
  bool err = false;
};

class Process {
 public:
  explicit Process(const std::vector<std::string>& command, Terminals terminals = {});
  ~Process();
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  // Reads standard error until it contains the text; false when it ends first.
  bool waitForError(const std::string& text);
  void send(int signal) const;
  Finished finish();

 private:
  pid_t pid_ = -1;
  int out_ = -1;
  int err_ = -1;
  std::string outText_;
  std::string errText_;
};

Finished run(const std::vector<std::string>& command);
// The parts of a text that blanks separate.
std::vector<std::string> words(const std::string& text);

}  // namespace support
