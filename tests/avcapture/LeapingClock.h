// Stands between the program and its clocks: lets them leap, as the wall clock does when it is set,
// and the monotonic one for a process that was stopped, or whose machine slept.
#pragma once

#include <ctime>

namespace avcapture::test {

// From now on the clock is so much ahead of where it would be, behind when less than 0; waits that
// are under way notice. [any-thread]
void leap(clockid_t clock, int seconds);
// Both are what they are. [any-thread]
void resetClocks();

}  // namespace avcapture::test
