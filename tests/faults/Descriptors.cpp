// Stands before the ways in which code of this process comes by a descriptor. What the loader opens
// goes past it: while it may have none, none are left for it.
#include <dirent.h>
#include <dlfcn.h>
#include <sys/resource.h>
#include <sys/types.h>

#include <cerrno>
#include <cstdio>

#include "tests/faults/Injector.h"

namespace {

bool noneLeft() {
  if (!faults::fails(faults::Kind::open)) return false;
  errno = EMFILE;
  return true;
}

template <class Call>
Call next(const char* name) {
  const faults::Exempt ours;
  return reinterpret_cast<Call>(dlsym(RTLD_NEXT, name));
}

}  // namespace

// Instead of the C library's, whose declarations leave no room for ours. `none` is what tells that
// there is no descriptor; `Call` what the function is to its callers.
#define FAULTS_OPEN(name, Result, none, Call, parameters, arguments)         \
  [[gnu::visibility("default")]] Result openBy_##name parameters asm(#name); \
  Result openBy_##name parameters {                                          \
    static const auto real = next<Result(*) Call>(#name);                    \
    return noneLeft() ? none : real arguments;                               \
  }

// Where the mode is not given, what stands in its place is passed on and looked at by nobody.
#define FAULTS_OPEN_AT_PATH(name)                                                                 \
  FAULTS_OPEN(name, int, -1, (const char*, int, ...), (const char* path, int flags, mode_t mode), \
              (path, flags, mode))
#define FAULTS_OPEN_CHECKED(name) \
  FAULTS_OPEN(name, int, -1, (const char*, int), (const char* path, int flags), (path, flags))
#define FAULTS_OPEN_IN_FOLDER(name)                        \
  FAULTS_OPEN(name, int, -1, (int, const char*, int, ...), \
              (int folder, const char* path, int flags, mode_t mode), (folder, path, flags, mode))
#define FAULTS_OPEN_STREAM(name)                                     \
  FAULTS_OPEN(name, std::FILE*, nullptr, (const char*, const char*), \
              (const char* path, const char* mode), (path, mode))
#define FAULTS_OPEN_TEMPORARY(name) \
  FAULTS_OPEN(name, int, -1, (char*, int), (char* path, int flags), (path, flags))

FAULTS_OPEN_AT_PATH(open)
FAULTS_OPEN_AT_PATH(open64)
FAULTS_OPEN_CHECKED(__open_2)
FAULTS_OPEN_CHECKED(__open64_2)
FAULTS_OPEN_IN_FOLDER(openat)
FAULTS_OPEN_IN_FOLDER(openat64)
FAULTS_OPEN_STREAM(fopen)
FAULTS_OPEN_STREAM(fopen64)
FAULTS_OPEN_TEMPORARY(mkostemp)
FAULTS_OPEN_TEMPORARY(mkostemp64)
FAULTS_OPEN(opendir, DIR*, nullptr, (const char*), (const char* path), (path))
FAULTS_OPEN(socket, int, -1, (int, int, int), (int domain, int type, int protocol),
            (domain, type, protocol))
FAULTS_OPEN(socketpair, int, -1, (int, int, int, int*),
            (int domain, int type, int protocol, int* ends), (domain, type, protocol, ends))
FAULTS_OPEN(pipe, int, -1, (int*), (int* ends), (ends))
FAULTS_OPEN(pipe2, int, -1, (int*, int), (int* ends, int flags), (ends, flags))
FAULTS_OPEN(eventfd, int, -1, (unsigned, int), (unsigned value, int flags), (value, flags))
FAULTS_OPEN(inotify_init1, int, -1, (int), (int flags), (flags))
FAULTS_OPEN(memfd_create, int, -1, (const char*, unsigned), (const char* name, unsigned flags),
            (name, flags))
FAULTS_OPEN(dup, int, -1, (int), (int descriptor), (descriptor))

namespace {

// No descriptors for the whole process while it lives.
class NoneLeft {
 public:
  NoneLeft() {
    getrlimit(RLIMIT_NOFILE, &before_);
    const rlimit none{.rlim_cur = 0, .rlim_max = before_.rlim_max};
    setrlimit(RLIMIT_NOFILE, &none);
  }
  ~NoneLeft() { setrlimit(RLIMIT_NOFILE, &before_); }
  NoneLeft(const NoneLeft&) = delete;
  NoneLeft& operator=(const NoneLeft&) = delete;

 private:
  rlimit before_{};
};

}  // namespace

[[gnu::visibility("default")]] void* load(const char* path, int flags) asm("dlopen");
void* load(const char* path, int flags) {
  static const auto real = next<void* (*)(const char*, int)>("dlopen");
  {
    const faults::Exempt ours;
    // What is there already is not opened.
    if (void* const loaded = real(path, RTLD_NOW | RTLD_NOLOAD)) {
      dlclose(loaded);
      return real(path, flags);
    }
  }
  if (!noneLeft()) return real(path, flags);
  const NoneLeft none;
  return real(path, flags);
}
