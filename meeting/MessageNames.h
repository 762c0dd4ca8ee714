// Names of the routed messages, and how many of each have passed.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>

namespace meeting {

enum class Direction : std::uint8_t {
  toHost,    // from an object to the platform or the conference
  toObject,  // from the platform or the conference to an object
};

// Name of a message; "UNKNOWN" for one that nobody should send. [any-thread]
const char* messageName(Direction direction, unsigned long type, unsigned long uMsg);

// [any-thread]
class MessageCounts {
 public:
  static constexpr std::size_t kMaxNames = 32;

  void count(Direction direction, unsigned long type, unsigned long uMsg);
  // Names of the messages that have passed at least once.
  std::map<std::string, std::uint64_t> totals() const;

 private:
  std::array<std::atomic<std::uint64_t>, kMaxNames> counts_{};
};

}  // namespace meeting
