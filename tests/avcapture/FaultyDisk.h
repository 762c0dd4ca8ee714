// Stands between the program and the files that it opens: lets opening and reading of one of them
// fail, or hang as they do on a disk that does not answer. What nobody asked for goes through.
#pragma once

#include <functional>
#include <string>

namespace avcapture::test {

enum class Fault { kNone, kOnce, kForEver };

struct FaultPlan {
  std::string path;              // of the file that is meant
  int error = 0;                 // what fails, fails with that errno
  Fault opens = Fault::kNone;    // the file can't be opened
  Fault reads = Fault::kNone;    // the file can't be read, from
  int firstRead = 0;             // this read on, counted from 0
  std::function<void()> late{};  // called before each read
};

// From now on, counting anew. [any-thread]
void setFaults(const FaultPlan& plan);
// How many times reading or opening was let fail since.
int faultsMet();
enum class Access { kOpen, kStat, kRead };

// While on, whoever opens the file, asks for its status or reads it hangs. [any-thread]
void setHanging(bool on, Access at = Access::kRead);
// How many hang.
int hanging();

}  // namespace avcapture::test
