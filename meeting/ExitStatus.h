// How the program ends, whatever it was asked to do. Every status but `done` comes with one line on
// standard error.
#pragma once

#include <span>
#include <string>

namespace meeting {

// A run ended by a signal exits with 128 plus the signal's number instead.
enum class ExitStatus : int {
  done = 0,
  negative = 1,  // what was asked is not so
  usage = 2,
  unreadable = 3,
  wrongFile = 4,
  noPlugin = 5,
  refused = 6,
  noRoom = 7,
  outputFailed = 8,  // or something that no status stands for
  incomplete = 9,
};

struct ExitStatusText {
  const char* number;  // one, or several with commas between
  const char* meaning;
};

// What help and manual say of the statuses, those of signals too, in ascending order.
std::span<const ExitStatusText> exitStatusTexts();

struct Failure {
  ExitStatus status;
  std::string line;  // for people; without the program's name and without a line end
};

// How a subcommand ended; the line is empty when there is nothing to say.
struct Outcome {
  int exitStatus = static_cast<int>(ExitStatus::done);
  std::string line;
};

inline Outcome outcomeOf(const Failure& failure) {
  return {static_cast<int>(failure.status), failure.line};
}

}  // namespace meeting
