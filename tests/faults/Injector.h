// Makes the memory, the threads or the descriptors of this process run out, at a point of one's
// choice.
//
// Linked into a program, it stands before the C library's malloc, calloc, realloc, memalign and its
// kin, before pthread_create, and before what gives descriptors, for all libraries of the process;
// C++'s operator new comes through malloc (or, under a sanitizer, is replaced too). [any-thread]
#pragma once

#include <cstdint>

namespace faults {

enum class Kind : std::uint8_t { none, memory, thread, open };

struct Fault {
  Kind kind = Kind::none;
  std::uint64_t number = 0;  // of the request that fails, from 1
  bool forEver = false;      // and all that follow it
};

// Counts requests anew, and fails what the fault says. With Kind::none nothing fails any more.
void arm(const Fault& fault);
// Counts a request for what may have run out; whether it is to fail.
bool fails(Kind asked);
// How many have been failed since.
std::uint64_t failed();

// While one lives, the thread's own requests are neither counted nor failed: what belongs to the
// test and not to what is tested.
class Exempt {
 public:
  Exempt();
  ~Exempt();
  Exempt(const Exempt&) = delete;
  Exempt& operator=(const Exempt&) = delete;
};

}  // namespace faults
