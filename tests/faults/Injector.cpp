#include "tests/faults/Injector.h"

#include <dlfcn.h>
#include <execinfo.h>
#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <memory>
#include <new>

#include "tests/faults/Culprit.h"

// The C library's own, and a sanitizer's where there is one.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* old, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
[[gnu::weak]] void* __interceptor_malloc(std::size_t size);
[[gnu::weak]] void* __interceptor_calloc(std::size_t count, std::size_t size);
[[gnu::weak]] void* __interceptor_realloc(void* old, std::size_t size);
[[gnu::weak]] void* __interceptor_memalign(std::size_t alignment, std::size_t size);
[[gnu::weak]] int __interceptor_pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                                               void* (*body)(void*), void* argument);
}

namespace faults {

namespace {

constinit std::atomic<Kind> kind{Kind::none};
constinit std::atomic<std::uint64_t> number{0};
constinit std::atomic<bool> forEver{false};
constinit std::atomic<std::uint64_t> requests{0};
constinit std::atomic<std::uint64_t> failures{0};
constinit thread_local int exempt = 0;
constinit std::atomic<bool> ranOutOfMemory{false};

// For who wants to know what it was that could not be had.
void showWho() {
  static const bool wanted = getenv("FAULTS_SHOW") != nullptr;  // NOLINT(concurrency-mt-unsafe)
  if (!wanted || failures != 1) return;
  const Exempt ours;
  void* frames[40];
  backtrace_symbols_fd(frames, backtrace(frames, 40), STDERR_FILENO);
}

bool outOfMemory() {
  if (!fails(Kind::memory)) return false;
  ranOutOfMemory = true;
  errno = ENOMEM;
  return true;
}

bool sanitized() { return __interceptor_malloc != nullptr; }

void* aligned(std::size_t alignment, std::size_t size) {
  if (outOfMemory()) return nullptr;
  return sanitized() ? __interceptor_memalign(alignment, size) : __libc_memalign(alignment, size);
}

// What a thread is to do, once it has a stack for signals.
struct Start {
  void* (*body)(void*);
  void* argument;
};

void* begin(void* given) {
  Start start{};
  {
    const Exempt ours;
    const std::unique_ptr<Start> held(static_cast<Start*>(given));
    start = *held;
    useSignalStack();
  }
  return start.body(start.argument);
}

}  // namespace

void arm(const Fault& fault) {
  kind = Kind::none;
  number = fault.number;
  forEver = fault.forEver;
  requests = 0;
  failures = 0;
  kind = fault.kind;
}

bool fails(Kind asked) {
  if (kind.load(std::memory_order_relaxed) != asked || exempt != 0) return false;
  const std::uint64_t request = ++requests;
  if (request < number || (request > number && !forEver)) return false;
  ++failures;
  showWho();
  return true;
}

std::uint64_t failed() { return failures; }

Exempt::Exempt() { ++exempt; }
Exempt::~Exempt() { --exempt; }

}  // namespace faults

extern "C" {

[[gnu::visibility("default")]] void* malloc(std::size_t size) {
  if (faults::outOfMemory()) return nullptr;
  return faults::sanitized() ? __interceptor_malloc(size) : __libc_malloc(size);
}

[[gnu::visibility("default")]] void* calloc(std::size_t count, std::size_t size) {
  if (faults::outOfMemory()) return nullptr;
  return faults::sanitized() ? __interceptor_calloc(count, size) : __libc_calloc(count, size);
}

[[gnu::visibility("default")]] void* realloc(void* old, std::size_t size) {
  if (size != 0 && faults::outOfMemory()) return nullptr;
  return faults::sanitized() ? __interceptor_realloc(old, size) : __libc_realloc(old, size);
}

[[gnu::visibility("default")]] void* memalign(std::size_t alignment, std::size_t size) {
  return faults::aligned(alignment, size);
}

[[gnu::visibility("default")]] void* aligned_alloc(std::size_t alignment, std::size_t size) {
  return faults::aligned(alignment, size);
}

[[gnu::visibility("default")]] int posix_memalign(void** out, std::size_t alignment,
                                                  std::size_t size) {
  void* const memory = faults::aligned(alignment, size);
  if (memory == nullptr) return ENOMEM;
  *out = memory;
  return 0;
}

[[gnu::visibility("default")]] int pthread_create(pthread_t* thread,
                                                  const pthread_attr_t* attributes,
                                                  void* (*body)(void*), void* argument) {
  using Create = int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
  static const auto next = __interceptor_pthread_create != nullptr
                               ? &__interceptor_pthread_create
                               : reinterpret_cast<Create>(dlsym(RTLD_NEXT, "pthread_create"));
  if (faults::fails(faults::Kind::thread)) return EAGAIN;
  if (faults::sanitized()) return next(thread, attributes, body, argument);
  const faults::Exempt ours;
  auto* const start = new faults::Start{body, argument};
  const int result = next(thread, attributes, faults::begin, start);
  if (result != 0) delete start;
  return result;
}
}

#ifdef FAULTS_SANITIZED
extern "C" {
// The loader and FFmpeg lose memory when there is none, which is not what is looked for here. When
// it is anything else that runs out, nobody may.
[[gnu::visibility("default")]] int __lsan_is_turned_off() { return faults::ranOutOfMemory ? 1 : 0; }

// The loader's own are known by who called malloc, and here that is this file. Fontconfig loses a
// pattern of its own when it cannot read its configuration, SDL a thread that does not start.
[[gnu::visibility("default")]] const char* __lsan_default_suppressions() {
  return "leak:ld-linux\nleak:libfontconfig\nleak:libSDL2";
}
[[gnu::visibility("default")]] const char* __lsan_default_options() {
  return "print_suppressions=0";
}

// Not every new is ours, but every delete.
[[gnu::visibility("default")]] const char* __asan_default_options() {
  return "alloc_dealloc_mismatch=0";
}

// A sanitizer asks for each thread's, and cannot do without.
[[gnu::visibility("default")]] int pthread_getattr_np(pthread_t thread, pthread_attr_t* out) {
  using Get = int (*)(pthread_t, pthread_attr_t*);
  const faults::Exempt ours;
  static const auto next = reinterpret_cast<Get>(dlsym(RTLD_NEXT, "pthread_getattr_np"));
  return next(thread, out);
}
}

// A sanitizer's operator new does not come through malloc.
void* operator new(std::size_t size) {
  void* const memory = malloc(size == 0 ? 1 : size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}
void* operator new(std::size_t size, std::align_val_t alignment) {
  void* const memory = memalign(static_cast<std::size_t>(alignment), size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}
void operator delete(void* memory) noexcept { free(memory); }
void operator delete(void* memory, std::size_t) noexcept { free(memory); }
void operator delete(void* memory, std::align_val_t) noexcept { free(memory); }
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept { free(memory); }
#endif
