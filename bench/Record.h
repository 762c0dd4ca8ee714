// What a program under measurement delivered, and when. Printed as one line of JSON, from which
// scripts/bench takes its figures:
//
//   {"cpu_s": 1.5, "end_s": 2.1, "pictures": [[at ns, movie time us], ...], "sounds": [the same],
//    "seeks": [[took ns, movie time us], ...]}
//
// All times count from begin(); cpu_s and end_s are there once end() was called. Pictures and sound
// may come from a thread each; everything else is for the main thread.
#pragma once

#include <chrono>
#include <cstdint>
#include <vector>

namespace bench {

class Record {
 public:
  using Clock = std::chrono::steady_clock;

  Record();
  // The file is about to be opened. May be called again, as long as nothing has been delivered.
  void begin();
  void picture(std::int64_t microseconds) { note(pictures_, microseconds); }
  void sound(std::int64_t microseconds) { note(sounds_, microseconds); }
  // A seek that was asked for at `asked` has delivered the picture of that movie time just now.
  void sought(Clock::time_point asked, std::int64_t microseconds);
  // Everything has been delivered.
  void end();
  void print() const;

 private:
  struct Event {
    Clock::duration at;
    std::int64_t microseconds;
  };
  using Events = std::vector<Event>;
  void note(Events& events, std::int64_t microseconds) const {
    events.push_back({Clock::now() - begin_, microseconds});
  }
  static void print(const char* name, const Events& events);

  Clock::time_point begin_;
  double cpuAtBegin_ = 0;
  double cpu_ = 0;
  Clock::duration end_{0};
  Events pictures_, sounds_, seeks_;
};

}  // namespace bench
