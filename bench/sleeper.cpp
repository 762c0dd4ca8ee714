// The machine's own lateness: sleeps until RATE times a second for SECONDS, as exactly as the
// system offers, and prints by how many milliseconds each waking was late.
#include <sys/prctl.h>

#include <chrono>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <vector>

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fputs("usage: sleeper RATE SECONDS\n", stderr);
    return 2;
  }
  using Clock = std::chrono::steady_clock;
  const double rate = std::strtod(argv[1], nullptr);
  const auto count = static_cast<std::size_t>(rate * std::strtod(argv[2], nullptr));
  prctl(PR_SET_TIMERSLACK, 1UL);  // alone, not with other timers
  std::vector<double> late;
  late.reserve(count);
  const auto begin = Clock::now();
  for (std::size_t i = 1; i <= count; ++i) {
    const auto due = begin + std::chrono::duration_cast<Clock::duration>(
                                 std::chrono::duration<double>(static_cast<double>(i) / rate));
    std::this_thread::sleep_until(due);
    late.push_back(std::chrono::duration<double, std::milli>(Clock::now() - due).count());
  }
  for (const double milliseconds : late) std::printf("%.6f\n", milliseconds);
  return 0;
}
