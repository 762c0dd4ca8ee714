#include "bench/Record.h"

#include <sys/resource.h>

#include <cstdio>

namespace bench {

namespace {

// Ten minutes at 60 pictures a second: no memory is asked for, or touched for the first time, while
// something is measured.
constexpr std::size_t kMostEvents = 36'000;

double seconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
}

// Of the process so far.
double cpuSeconds() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

long nanoseconds(Record::Clock::duration duration) {
  return static_cast<long>(std::chrono::nanoseconds(duration).count());
}

}  // namespace

Record::Record() {
  for (Events* events : {&pictures_, &sounds_}) {
    events->resize(kMostEvents);
    events->clear();
  }
  begin();
}

void Record::begin() {
  cpuAtBegin_ = cpuSeconds();
  begin_ = Clock::now();
}

void Record::sought(Clock::time_point asked, std::int64_t microseconds) {
  seeks_.push_back({Clock::now() - asked, microseconds});
}

void Record::end() {
  end_ = Clock::now() - begin_;
  cpu_ = cpuSeconds() - cpuAtBegin_;
}

void Record::print(const char* name, const Events& events) {
  std::printf(R"(, "%s": [)", name);
  const char* between = "";
  for (const Event& event : events) {
    std::printf("%s[%ld, %ld]", between, nanoseconds(event.at),
                static_cast<long>(event.microseconds));
    between = ", ";
  }
  std::printf("]");
}

void Record::print() const {
  std::printf(R"({"cpu_s": %.6f, "end_s": %.6f)", cpu_,
              std::chrono::duration<double>(end_).count());
  print("pictures", pictures_);
  print("sounds", sounds_);
  print("seeks", seeks_);
  std::printf("}\n");
}

}  // namespace bench
