#include "tests/faults/Culprit.h"

#include <dlfcn.h>
#include <execinfo.h>
#include <pthread.h>
#include <ucontext.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string_view>

#include "tests/faults/Injector.h"

namespace faults {

namespace {

unsigned long caseNumber = 0;
int oursExit = 1;
int othersExit = 1;
// Who jumped last: after a jump to nowhere, registers say nothing any more.
constinit thread_local void* jumper = nullptr;

bool startsWithOneOf(std::string_view text, const auto& beginnings) {
  return std::any_of(std::begin(beginnings), std::end(beginnings),
                     [&](const char* beginning) { return text.starts_with(beginning); });
}

// The file of the code at an address, when it is neither the language's nor the system's. Takes no
// memory: the fault may be in what gives it.
std::string_view moduleAt(void* address) {
  constexpr const char* kSystem[] = {"libc.so",  "libm.so",  "libstdc++",
                                     "libgcc_s", "ld-linux", "linux-vdso"};
  Dl_info info{};
  if (dladdr(address, &info) == 0) return {};
  std::string_view file = info.dli_fname;
  file.remove_prefix(file.rfind('/') + 1);
  // What stands before the C library's own below.
  constexpr std::string_view kJumps[] = {"longjmp", "_longjmp", "siglongjmp", "__longjmp_chk"};
  const std::string_view name = info.dli_sname == nullptr ? "" : info.dli_sname;
  if (std::find(std::begin(kJumps), std::end(kJumps), name) != std::end(kJumps)) return {};
  return startsWithOneOf(file, kSystem) ? std::string_view() : file;
}

bool isInOwnStack(std::uintptr_t address) {
  pthread_attr_t attributes;
  void* lowest = nullptr;
  std::size_t size = 0;
  if (pthread_getattr_np(pthread_self(), &attributes) != 0) return false;
  pthread_attr_getstack(&attributes, &lowest, &size);
  pthread_attr_destroy(&attributes);
  return address - reinterpret_cast<std::uintptr_t>(lowest) < size;
}

std::string_view innermostModule(const ucontext_t& context) {
  const auto& registers = context.uc_mcontext.gregs;
  const auto stack = static_cast<std::uintptr_t>(registers[REG_RSP]);
  // NOLINTBEGIN(performance-no-int-to-ptr): addresses as the machine keeps them
  void* const code = reinterpret_cast<void*>(registers[REG_RIP]);
  if (const auto module = moduleAt(code); !module.empty()) return module;
  // What calls nothing has left its return address on top of the stack.
  Dl_info info{};
  const bool inStack = isInOwnStack(stack);
  if (inStack && dladdr(code, &info) == 0) return moduleAt(*reinterpret_cast<void**>(stack));
  // NOLINTEND(performance-no-int-to-ptr)
  if (!inStack && jumper != nullptr) return moduleAt(jumper);
  std::array<void*, 100> frames{};
  const int count = backtrace(frames.data(), static_cast<int>(frames.size()));
  // Those of the handler come first.
  const auto end = std::next(frames.begin(), count);
  for (auto frame = std::find(frames.begin(), end, code); frame != end; ++frame)
    if (const auto module = moduleAt(*frame); !module.empty()) return module;
  return {};
}

void endWithName(int signal, siginfo_t* /*information*/, void* context) {
  const Exempt ours;
  constexpr const char* kOurs[] = {"movara", "lumtrace", "libavcapture", "libplatform", "faults"};
  const std::string_view module = innermostModule(*static_cast<const ucontext_t*>(context));
  const bool others = !module.empty() && !startsWithOneOf(module, kOurs);
  dprintf(STDERR_FILENO, "%lu: %s in %.*s%s\n", caseNumber, strsignal(signal),
          static_cast<int>(module.size()), module.data(), others ? "" : ", which is ours");
  const auto& registers = static_cast<const ucontext_t*>(context)->uc_mcontext.gregs;
  if (getenv("FAULTS_SHOW") != nullptr &&
      isInOwnStack(static_cast<std::uintptr_t>(registers[REG_RSP]))) {
    std::array<void*, 100> frames{};
    backtrace_symbols_fd(frames.data(), backtrace(frames.data(), 100), STDERR_FILENO);
  }
  _exit(others ? othersExit : oursExit);
}

}  // namespace

void useSignalStack() {
#ifndef FAULTS_SANITIZED  // which brings its own
  alignas(64) static thread_local std::array<std::byte, 64 << 10> memory;
  stack_t stack{};
  stack.ss_sp = memory.data();
  stack.ss_size = memory.size();
  sigaltstack(&stack, nullptr);
#endif
}

void nameCulprits(unsigned long number, int ours, int others) {
  caseNumber = number;
  oursExit = ours;
  othersExit = others;
  useSignalStack();
  // What it needs at its first use it gets now.
  void* frame = nullptr;
  backtrace(&frame, 1);
  struct sigaction action {};
  action.sa_sigaction = endWithName;
  action.sa_flags = SA_SIGINFO | SA_ONSTACK;
  for (const int signal : {SIGABRT, SIGSEGV, SIGBUS, SIGFPE}) sigaction(signal, &action, nullptr);
}

}  // namespace faults

// The address sanitizer has to know of each jump.
extern "C" [[gnu::weak]] void __asan_handle_no_return();

namespace {

using Jump = void (*)(void* target, int value);

[[noreturn, gnu::always_inline]] inline void jump(const char* how, void* who, void* target,
                                                  int value) {
  if (__asan_handle_no_return != nullptr) __asan_handle_no_return();
  faults::jumper = who;
  Jump real = nullptr;
  {
    const faults::Exempt ours;
    real = reinterpret_cast<Jump>(dlsym(RTLD_NEXT, how));
  }
  real(target, value);
  std::abort();
}

}  // namespace

// Instead of the C library's, whose declarations leave no room for ours.
#define FAULTS_JUMP(name)                                                                         \
  [[noreturn, gnu::visibility("default")]] void jumpBy##name(void* target, int value) asm(#name); \
  void jumpBy##name(void* target, int value) {                                                    \
    jump(#name, __builtin_return_address(0), target, value);                                      \
  }
FAULTS_JUMP(longjmp)
FAULTS_JUMP(_longjmp)
FAULTS_JUMP(siglongjmp)
FAULTS_JUMP(__longjmp_chk)
