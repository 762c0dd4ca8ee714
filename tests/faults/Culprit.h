// Whose code it is that ends the process: what another library does not survive is not ours to
// mend, and what ours does not survive must never pass for another's.
#pragma once

namespace faults {

// From now on a fault ends the process with `othersExit` when the innermost code at it that is
// neither the language's nor the system's belongs to another library, else with `oursExit`; and
// says so on standard error, with `number` in front. [main-thread], which gets a signal stack too
void nameCulprits(unsigned long number, int oursExit, int othersExit);

// Gives the calling thread another stack for signals: its own may be what has run over. Each thread
// needs one.
void useSignalStack();

// The ways in which code ends a process when it runs out of memory and does not look.
struct Death {
  const char* name;
  void (*die)();
};
constexpr int kDeaths = 8;
// Built into the program, where it stands for our own code, and into a library, as another's.
extern "C" const Death* waysToDie();

}  // namespace faults
