#include <algorithm>
#include <csetjmp>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <stdexcept>

#include "tests/faults/Culprit.h"

// The C library's, which checks where the jump goes.
extern "C" [[noreturn]] void __longjmp_chk(jmp_buf target, int value);

namespace {

// Not known to the compiler, which would else see what is coming.
volatile int depth = 1 << 30;
char* volatile nowhere = nullptr;
void (*volatile nobody)() = nullptr;

void writesToNull() { *nowhere = 1; }

void callsNull() {
  nobody();
  depth = 0;  // so that the call is not the last thing, and leaves a return address
}

void passesNullOn() { std::strcpy(nowhere, "x"); }

void aborts() { std::abort(); }

int recurse(int levels) {
  volatile char frame[4096];
  frame[0] = static_cast<char>(levels);
  return levels == 0 ? 0 : recurse(levels - 1) + frame[0];
}
void runsOverItsStack() { depth = recurse(depth); }

void jumpsToNowhere() {
  jmp_buf target{};  // with no mask of signals to set
  std::fill(std::begin(target->__jmpbuf), std::end(target->__jmpbuf), 0x5A5A5A5A5A5A5A5A);
  std::longjmp(target, 1);
}

[[gnu::noinline]] void remember(jmp_buf target) {
  if (setjmp(target) != 0) depth = 0;
}
void jumpsToWhatHasReturned() {
  jmp_buf target;
  remember(target);
  __longjmp_chk(target, 1);
}

[[gnu::noinline]] void throws() { throw std::runtime_error("nobody catches this"); }
void throwsWhereNothingMay() noexcept { throws(); }

constexpr faults::Death kWays[] = {
    {"writes to null", writesToNull},
    {"calls null", callsNull},
    {"passes null to the system", passesNullOn},
    {"aborts", aborts},
    {"runs over its stack", runsOverItsStack},
    {"jumps to nowhere", jumpsToNowhere},
    {"jumps to what has returned", jumpsToWhatHasReturned},
    {"throws where nothing may", throwsWhereNothingMay},
};
static_assert(std::size(kWays) == faults::kDeaths);

}  // namespace

extern "C" [[gnu::visibility("default")]] const faults::Death* faults::waysToDie() { return kWays; }
