// Runs a scene again and again, in a process of its own each time, with the first request for
// memory (or for a thread) failing, then the second, until the scene asks for no more; and after
// each asks whether all is well again: the scene comes to its proper end, and nothing is left
// behind.
//
// usage: faults SCENE memory|thread once|forever [FROM [STRIDE]]
// Ends with a line "CASES FAILURES OTHERS", OTHERS being the cases in which the code of another
// library ended the process by itself: nobody can play on from there. Exits with 0 if nothing
// failed. With FAULTS_SHOW set, says for each case on standard error who asked for what could not
// be had.
#include <malloc.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <string>
#include <thread>

#include "tests/faults/Culprit.h"
#include "tests/faults/Scene.h"
#include "tests/support/Sanitizers.h"

namespace {

using faults::Fault;
using faults::Kind;
using faults::Scene;

constexpr unsigned kHangSeconds = 60;
enum Result : int { kSurvived = 0, kFailed = 1, kNothingFailed = 2, kOthersFault = 3 };

// The sanitizer sets memory aside.
constexpr bool kCountsMeanSomething = !kAddressSanitizer;
// What caches make of a difference, and the one picture with its pool that libavcodec loses when it
// cannot make a reference to it (0.2 MB).
constexpr std::ptrdiff_t kSlackBytes = 256 << 10;

std::ptrdiff_t entries(const char* folder) {
  return std::distance(std::filesystem::directory_iterator(folder), {});
}

struct Held {
  std::ptrdiff_t threads = 0, descriptors = 0, bytes = 0;

  static Held now() {
    return {entries("/proc/self/task"), entries("/proc/self/fd"),
            static_cast<std::ptrdiff_t>(mallinfo2().uordblks + mallinfo2().hblkhd)};
  }
};

std::string leftBehind(const Held& before) {
  // Threads that nobody waits for end by themselves.
  for (int i = 0; i < 10'000 && entries("/proc/self/task") > before.threads; ++i)
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  const Held after = Held::now();
  if (!kCountsMeanSomething) return {};
  if (after.threads > before.threads) return "leaves threads behind";
  if (after.descriptors > before.descriptors) return "leaves descriptors behind";
  if (after.bytes > before.bytes + kSlackBytes)
    return "leaves " + std::to_string(after.bytes - before.bytes) + " bytes behind";
  return {};
}

[[noreturn]] void child(const Scene& scene, const Fault& fault, const Held& before) {
  alarm(kHangSeconds);
  faults::nameCulprits(fault.number, kFailed, kOthersFault);
  faults::arm(fault);
  std::string wrong = scene.run(false);
  const bool failed = faults::failed() > 0;
  faults::arm({});
  if (wrong.empty() && failed) {
    wrong = scene.run(true);
    if (!wrong.empty()) wrong = "and afterwards: " + wrong;
  }
  // A cache that has grown once is none the worse; what grows is.
  for (int i = 0; i < 3 && wrong.empty() && failed && !leftBehind(before).empty(); ++i)
    wrong = scene.run(true);
  if (wrong.empty() && failed) wrong = leftBehind(before);
  if (!wrong.empty()) std::fprintf(stderr, "%lu: %s\n", fault.number, wrong.c_str());
  const Result result = !wrong.empty() ? kFailed : failed ? kSurvived : kNothingFailed;
  // Ordinarily, so that a leak checker has its say.
  std::exit(result);  // NOLINT(concurrency-mt-unsafe)
}

Result tryOne(const Scene& scene, const Fault& fault, const Held& before) {
  const pid_t pid = fork();
  if (pid == 0) child(scene, fault, before);
  int status = 0;
  waitpid(pid, &status, 0);
  if (WIFEXITED(status) && WEXITSTATUS(status) <= kOthersFault)
    return static_cast<Result>(WEXITSTATUS(status));
  if (WIFEXITED(status))
    std::fprintf(stderr, "%lu: ends with %d\n", fault.number, WEXITSTATUS(status));
  else
    std::fprintf(stderr, "%lu: %s\n", fault.number,
                 WTERMSIG(status) == SIGALRM ? "hangs" : strsignal(WTERMSIG(status)));
  return kFailed;
}

// What the first time needs only. The process that all others come from stays single-threaded.
bool warmUp(const Scene& scene) {
  for (int i = 0; i < 3; ++i) {
    const std::string wrong = scene.run(true);
    if (wrong.empty()) continue;
    std::fprintf(stderr, "without any fault: %s\n", wrong.c_str());
    return false;
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  const Scene* const scene = argc >= 4 ? faults::findScene(argv[1]) : nullptr;
  if (scene == nullptr) {
    std::fputs("usage: faults SCENE memory|thread once|forever [FROM [STRIDE]]\n", stderr);
    return 2;
  }
  setenv("SDL_AUDIODRIVER", "dummy", 1);  // NOLINT(concurrency-mt-unsafe): no other thread yet
  const Kind kind = std::strcmp(argv[2], "thread") == 0 ? Kind::thread : Kind::memory;
  const bool forEver = std::strcmp(argv[3], "forever") == 0;
  const unsigned long first = argc > 4 ? std::strtoul(argv[4], nullptr, 10) : 1;
  const unsigned long stride = argc > 5 ? std::strtoul(argv[5], nullptr, 10) : 1;
  if (!warmUp(*scene)) return 1;
  const Held before = Held::now();
  unsigned long cases = 0;
  unsigned long failures = 0;
  unsigned long others = 0;
  for (unsigned long n = first;; n += stride) {
    const Result result = tryOne(*scene, {kind, n, forEver}, before);
    if (result == kNothingFailed) break;
    ++cases;
    failures += result == kFailed ? 1 : 0;
    others += result == kOthersFault ? 1 : 0;
  }
  std::printf("%lu %lu %lu\n", cases, failures, others);
  return failures == 0 && cases > 0 ? 0 : 1;
}
