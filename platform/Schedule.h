// What a run loop still has to send, and when: internal to the platform layer.
//
// One schedule belongs to one loop and is used on that loop's thread only, hence without a lock.
// Adding, removing and finding the next message of a mode cost O(log n).
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/Clock.h"
#include "platform/Object.h"
#include "platform/RunLoop.h"
#include "platform/Selector.h"
#include "platform/Value.h"

namespace platform {

struct ScheduledMessage;

// What is due in one mode, by deadline and sequence.
using ScheduleLine =
    std::map<std::pair<TimePoint, std::uint64_t>, std::shared_ptr<ScheduledMessage>>;

// A timer's message, or one that performAfterDelay was asked for.
struct ScheduledMessage {
  enum class Kind { kTimer, kDelayed };

  Kind kind;
  std::shared_ptr<Object> target;
  Selector message;
  Value argument;
  TimePoint deadline;
  Duration interval{0};  // between two deadlines of a repeating timer; 0: sent once
  std::vector<std::string> modes;
  // Its places in the lines of its modes, while a repeating timer is out of them to be sent: it
  // goes back without needing memory.
  std::vector<ScheduleLine::node_type> places{};
  bool valid = true;           // until it has been sent for the last time or taken back
  std::uint64_t sequence = 0;  // place in the schedule; 0 while it is not in it

  bool repeats() const { return interval > Duration::zero(); }
};

class Schedule {
 public:
  using Entry = std::shared_ptr<ScheduledMessage>;
  // By target and sequence.
  using Delayed = std::map<std::pair<const Object*, std::uint64_t>, Entry>;

  void add(const Entry& entry);
  void addMode(const Entry& entry, Mode mode);
  void remove(const Entry& entry);  // nothing when it is not in the schedule

  // Higher than the sequence of everything that is in the schedule now.
  std::uint64_t nextSequence() const { return nextSequence_; }
  // Takes out the next message of `mode` if it is due at `now` and its sequence is below `limit`.
  Entry takeDue(Mode mode, TimePoint now, std::uint64_t limit);
  // The next deadline in `mode`; the clock's last moment when there is none.
  TimePoint nextDeadline(Mode mode) const;

  // Takes out everything.
  std::vector<Entry> takeAll();
  // Takes out the delayed messages of `target` that satisfy `matches`. The caller lets go of what
  // they hold. Takes no memory.
  template <class Matches>
  Delayed takeDelayed(const Object& target, const Matches& matches) {
    Delayed taken;
    for (auto it = delayed_.lower_bound({&target, 0});
         it != delayed_.end() && it->first.first == &target;) {
      const auto pending = it++;
      if (matches(*pending->second)) taken.insert(delayed_.extract(pending));
    }
    for (const auto& [key, entry] : taken) remove(entry);
    return taken;
  }

 private:
  void insert(const Entry& entry, const std::string& mode);

  std::uint64_t nextSequence_ = 1;
  std::map<std::string, ScheduleLine, std::less<>> lines_;  // by mode
  Delayed delayed_;
};

}  // namespace platform
