// Coming and going leaves nothing behind: threads, descriptors and memory return to where they
// were.
#include <malloc.h>

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>

#include "tests/meeting/LiveMeeting.h"
#include "tests/support/Sanitizers.h"

namespace meeting {
namespace {

// Memory that sanitizers set aside grows with what has been freed.
constexpr bool kMemoryMeansSomething = !kAddressSanitizer && !kThreadSanitizer;

// What the libraries' caches and the heaps of the threads may keep, whoever came last.
constexpr std::int64_t kSlackBytes = std::int64_t{32} << 20;
// What the second half of many rounds may add to the first, in which caches and heaps have filled:
// 0.44 MB was the most seen.
constexpr std::int64_t kGrowthBytes = std::int64_t{4} << 20;

struct Held {
  std::int64_t threads = 0, descriptors = 0, bytes = 0;

  static Held now() {
    malloc_trim(0);  // what is free but not given back is not held
    const auto count = [](const char* folder) {
      return std::distance(std::filesystem::directory_iterator(folder), {});
    };
    std::ifstream statm("/proc/self/statm");
    std::int64_t size = 0;
    std::int64_t resident = 0;
    statm >> size >> resident;
    return {count("/proc/self/task"), count("/proc/self/fd"), resident * 4096};
  }
};

using LeftBehind = LiveMeeting;

TEST_F(LeftBehind, NothingByThoseWhoComeAndGo) {
  Held before;
  std::int64_t atHalf = 0;
  const auto is = [this](const char* id, const char* state) { return status(id).state == state; };
  // Threads of the sound start with the first sounds, which come with the first pictures.
  std::optional<std::uint64_t> mark;
  const auto flows = [&] {
    const std::uint64_t frames = status("attendee-2").frames;
    if (!mark) mark = frames;
    return frames > *mark + 10;
  };
  // An action, and what shows that it has had its effect.
  struct Part {
    const char* action;
    std::function<bool()> shown;
  };
  struct Walk {
    const char* name;
    int rounds;
    std::vector<Part> parts;
  };
  const Walk walks[] = {
      {"joins and leaves",
       10,
       {{"attendee=2 leave", [&] { return !status("attendee-2").present; }},
        {"attendee=2 join", [&] { return is("attendee-2", "playing"); }}}},
      {"presenter restarts",
       20,
       {{"presenter-crash", [&] { return is("attendee-1", "presenter lost"); }},
        {"presenter-return", [&] { return is("attendee-1", "playing"); }}}},
      {"activations",
       100,
       {{"attendee=1 deactivate", [&] { return player("attendee-1") == nullptr; }},
        {"attendee=1 activate", [&] { return player("attendee-1") != nullptr; }},
        {"deactivate", [&] { return player("presenter") == nullptr; }},
        {"activate", [&] { return is("presenter", "playing"); }}}},
  };
  std::vector<Step> steps{{"it plays", [&] {
                             return is("attendee-1", "playing") && is("attendee-2", "playing") &&
                                    status("attendee-2").frames > 20;
                           }}};
  for (const Walk& walk : walks) {
    // The first round makes what later ones only use again.
    const std::size_t total = walk.parts.size() * static_cast<std::size_t>(walk.rounds + 1);
    for (std::size_t i = 0; i < total; ++i) {
      const Part& part = walk.parts[i % walk.parts.size()];
      const bool first = i == walk.parts.size();
      const bool half = i == total / 2 / walk.parts.size() * walk.parts.size();
      steps.push_back({part.action, [&, first] { return !first || flows(); },
                       [&, first, half] {
                         if (first) before = Held::now();
                         if (half) atHalf = Held::now().bytes;
                         mark.reset();
                         act(part.action);
                       }});
      steps.push_back({part.action, part.shown});
    }
    steps.push_back({walk.name,
                     // Some parts are let go a moment later.
                     [&] {
                       const Held now = Held::now();
                       return now.threads <= before.threads &&
                              now.descriptors <= before.descriptors;
                     },
                     [&] {
                       if (kMemoryMeansSomething) {
                         EXPECT_LT(Held::now().bytes - atHalf, kGrowthBytes) << walk.name;
                       }
                     }});
  }
  hold(sharing(clip("long.mkv", "160x90", 120), 2), std::move(steps));
}

TEST_F(LeftBehind, NothingByAWholeMeeting) {
  const auto meet = [this] {
    hold(sharing(clip("short.mkv", "160x90", 2), 2),
         {{"it plays", [this] { return status("attendee-2").frames > 5; }}});
  };
  meet();
  const Held before = Held::now();
  for (int i = 0; i < 5; ++i) meet();
  const Held after = Held::now();
  EXPECT_LE(after.threads, before.threads);
  EXPECT_LE(after.descriptors, before.descriptors);
  if (kMemoryMeansSomething) {
    EXPECT_LT(after.bytes - before.bytes, kSlackBytes);
  }
}

}  // namespace
}  // namespace meeting
