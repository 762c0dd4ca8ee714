// Runs a scene again and again, in a process of its own each time, with the first request for
// memory (or for a thread, or a descriptor) failing, then the second, until the scene asks for no
// more; and after each asks whether all is well again: the scene comes to its proper end, and
// nothing is left behind.
//
// usage: faults SCENE memory|thread|open once|forever [FROM [STRIDE]]
// Ends with a line "CASES FAILURES OTHERS", OTHERS being the cases in which the code of another
// library ended the process by itself: nobody can play on from there. Exits with 0 if nothing
// failed. With FAULTS_SHOW set, says for each case on standard error who asked for what could not
// be had.
#include <malloc.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <new>
#include <optional>
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
constexpr unsigned long kEnough = 20;  // failures, to see what is wrong
enum Result : int { kSurvived = 0, kFailed = 1, kNothingFailed = 2, kOthersFault = 3 };

// The sanitizer sets memory aside.
constexpr bool kCountsMeanSomething = !kAddressSanitizer;
// How many bytes more than before may be held afterwards. Without the allocator's own caches a
// scene holds the same to the byte each time that it is done, so each figure is what was seen, and
// a little.
struct Slack {
  const char* scenes;
  Kind kind;
  std::ptrdiff_t bytes;
};
constexpr Slack kSlack[] = {
    // The one picture with its pool that libavcodec loses when it cannot make a reference to it.
    {"presenter sound", Kind::memory, 208 << 10},
    // The process's configuration of fonts, which Cairo reads and keeps when the font that we have
    // found cannot be opened; beside that font, which can be opened the next time.
    {"presenter sound attendee", Kind::open, 300 << 10},
    // What is drawn for the first time where something has failed: 13.6 KB.
    {"presenter sound attendee view", Kind::none, 16 << 10},
};

std::ptrdiff_t slackFor(const Scene& scene, Kind kind) {
  for (const Slack& slack : kSlack) {
    const bool meant = slack.kind == Kind::none || slack.kind == kind;
    if (meant && std::strstr(slack.scenes, scene.name) != nullptr) return slack.bytes;
  }
  return 0;
}

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

std::string leftBehind(const Held& before, std::ptrdiff_t slack) {
  // Threads that nobody waits for end by themselves.
  for (int i = 0; i < 10'000 && entries("/proc/self/task") > before.threads; ++i)
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  const Held after = Held::now();
  if (!kCountsMeanSomething) return {};
  if (after.threads > before.threads) return "leaves threads behind";
  if (after.descriptors > before.descriptors) return "leaves descriptors behind";
  if (after.bytes > before.bytes + slack)
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
  if (wrong.empty() && failed) wrong = leftBehind(before, slackFor(scene, fault.kind));
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

// A library that jumps through a buffer which it has not set, as cairo's rasterizer does without
// memory, leaves a trace of itself on some runs only: what ended without one is run once more.
Result tryUntilNamed(const Scene& scene, const Fault& fault, const Held& before) {
  const Result first = tryOne(scene, fault, before);
  const bool named = first == kFailed && tryOne(scene, fault, before) == kOthersFault;
  return named ? kOthersFault : first;
}

// Thrice, so that what the first time needs only is there.
bool warmUp(const Scene& scene) {
  for (int i = 0; i < 3; ++i) {
    const std::string wrong = scene.run(true);
    if (wrong.empty()) continue;
    std::fprintf(stderr, "without any fault: %s\n", wrong.c_str());
    return false;
  }
  return true;
}

// What a process holds that has done it all and that nothing befell; nothing when it went wrong.
//
// Most of what is opened is opened the first time only: where descriptors run out, that is another
// process, so that each begins anew. Else it is this one, which stays single-threaded.
std::optional<Held> holdsOrdinarily(const Scene& scene, Kind kind) {
  if (kind != Kind::open) return warmUp(scene) ? std::optional(Held::now()) : std::nullopt;
  void* const shared =
      mmap(nullptr, sizeof(Held), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  const pid_t pid = fork();
  if (pid == 0) {
    const bool well = warmUp(scene);
    new (shared) Held(Held::now());
    _exit(well ? 0 : 1);
  }
  int status = 0;
  waitpid(pid, &status, 0);
  return status == 0 ? std::optional(*static_cast<Held*>(shared)) : std::nullopt;
}

Kind kindNamed(const std::string& name) {
  return name == "thread" ? Kind::thread : name == "open" ? Kind::open : Kind::memory;
}

// What the allocator keeps for later, for each thread and size, says nothing of what is lost. It
// reads this before the program begins.
void beginWithoutCaches(char** argv) {
  constexpr const char* kName = "GLIBC_TUNABLES";
  constexpr const char* kValue = "glibc.malloc.tcache_count=0";
  const char* const now = getenv(kName);  // NOLINT(concurrency-mt-unsafe): no other thread yet
  if (now != nullptr && std::strcmp(now, kValue) == 0) return;
  setenv(kName, kValue, 1);  // NOLINT(concurrency-mt-unsafe)
  execv("/proc/self/exe", argv);
}

}  // namespace

int main(int argc, char** argv) {
  const Scene* const scene = argc >= 4 ? faults::findScene(argv[1]) : nullptr;
  if (scene == nullptr) {
    std::fputs("usage: faults SCENE memory|thread|open once|forever [FROM [STRIDE]]\n", stderr);
    return 2;
  }
  if (kCountsMeanSomething) beginWithoutCaches(argv);
  setenv("SDL_AUDIODRIVER", "dummy", 1);  // NOLINT(concurrency-mt-unsafe): no other thread yet
  const Kind kind = kindNamed(argv[2]);
  const bool forEver = std::strcmp(argv[3], "forever") == 0;
  const unsigned long first = argc > 4 ? std::strtoul(argv[4], nullptr, 10) : 1;
  const unsigned long stride = argc > 5 ? std::strtoul(argv[5], nullptr, 10) : 1;
  const std::optional<Held> before = holdsOrdinarily(*scene, kind);
  if (!before) return 1;
  unsigned long cases = 0;
  unsigned long failures = 0;
  unsigned long others = 0;
  for (unsigned long n = first;; n += stride) {
    const Result result = tryUntilNamed(*scene, {kind, n, forEver}, *before);
    if (result == kNothingFailed) break;
    ++cases;
    failures += result == kFailed ? 1 : 0;
    others += result == kOthersFault ? 1 : 0;
    if (failures == kEnough) break;
  }
  std::printf("%lu %lu %lu\n", cases, failures, others);
  return failures == 0 && cases > 0 ? 0 : 1;
}
