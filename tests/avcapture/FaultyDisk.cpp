#include "tests/avcapture/FaultyDisk.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <condition_variable>
#include <cstdarg>
#include <mutex>
#include <set>

namespace avcapture::test {

namespace {

struct Disk {
  std::mutex mutex;
  std::condition_variable changed;
  FaultPlan plan;
  std::set<int> descriptors;  // of the file that is meant
  int opens = 0, reads = 0, met = 0, hanging = 0;
  bool hang = false;
  Access hangAt = Access::kRead;
};
Disk& disk() {
  static Disk& instance = *new Disk;  // for threads that outlive the program's statics
  return instance;
}

// Whether the event with that number, counted from `first` on, is to fail.
bool strikes(Disk& disk, Fault fault, int number, int first) {
  const bool strikes =
      fault == Fault::kForEver ? number >= first : fault == Fault::kOnce && number == first;
  if (strikes) ++disk.met;
  errno = strikes ? disk.plan.error : errno;
  return strikes;
}

}  // namespace

void setFaults(const FaultPlan& plan) {
  const std::lock_guard lock(disk().mutex);
  disk().plan = plan;
  disk().opens = disk().reads = disk().met = 0;
}

int faultsMet() {
  const std::lock_guard lock(disk().mutex);
  return disk().met;
}

void setHanging(bool on, Access at) {
  const std::lock_guard lock(disk().mutex);
  disk().hang = on;
  disk().hangAt = at;
  disk().changed.notify_all();
}

int hanging() {
  const std::lock_guard lock(disk().mutex);
  return disk().hanging;
}

namespace {

void hangIfWanted(Access at, std::unique_lock<std::mutex>& lock) {
  ++disk().hanging;
  disk().changed.wait(lock, [at] { return !disk().hang || disk().hangAt != at; });
  --disk().hanging;
}

int openFile(const char* path, int flags, unsigned mode) {
  std::unique_lock lock(disk().mutex);
  const bool meant = path == disk().plan.path;
  if (meant) hangIfWanted(Access::kOpen, lock);
  if (meant && strikes(disk(), disk().plan.opens, disk().opens++, 0)) return -1;
  const int descriptor = static_cast<int>(::syscall(SYS_openat, AT_FDCWD, path, flags, mode));
  if (descriptor >= 0 && meant) disk().descriptors.insert(descriptor);
  if (descriptor >= 0 && !meant) disk().descriptors.erase(descriptor);
  return descriptor;
}

int statFile(int descriptor, struct stat* status) {
  {
    std::unique_lock lock(disk().mutex);
    if (disk().descriptors.count(descriptor) > 0) hangIfWanted(Access::kStat, lock);
  }
  return static_cast<int>(::syscall(SYS_fstat, descriptor, status));
}

ssize_t readFile(int descriptor, void* buffer, std::size_t size, off_t at) {
  std::function<void()> late;
  {
    std::unique_lock lock(disk().mutex);
    if (disk().descriptors.count(descriptor) > 0) {
      hangIfWanted(Access::kRead, lock);
      late = disk().plan.late;
      if (strikes(disk(), disk().plan.reads, disk().reads++, disk().plan.firstRead)) return -1;
    }
  }
  if (late) late();
  return ::syscall(SYS_pread64, descriptor, buffer, size, at);
}

}  // namespace

}  // namespace avcapture::test

// These take the place of the C library's in the whole program.
extern "C" {

[[gnu::visibility("default")]] int open(const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const unsigned mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, unsigned) : 0;
  va_end(arguments);
  return avcapture::test::openFile(path, flags, mode);
}

[[gnu::visibility("default")]] int fstat(int descriptor, struct stat* status) noexcept {
  return avcapture::test::statFile(descriptor, status);
}

[[gnu::visibility("default")]] ssize_t pread(int descriptor, void* buffer, std::size_t size,
                                             off_t at) {
  return avcapture::test::readFile(descriptor, buffer, size, at);
}

}  // extern "C"
