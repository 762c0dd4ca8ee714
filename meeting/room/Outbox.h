// What waits to be sent to one visitor. However slow the visitor is, it stays small: a newer
// picture or status takes the place of the one that still waits, old sound is dropped, and a
// visitor who leaves too many answers waiting is given up. One thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>

namespace meeting {

struct Outgoing {
  enum class Lane : std::uint8_t {
    inOrder,  // everything arrives, in order
    newest,   // only the newest of its slot matters
    sound,    // goes stale
  };
  Lane lane = Lane::inOrder;
  bool binary = false;
  std::string slot;
  std::shared_ptr<const std::string> data;
};

class Outbox {
 public:
  static constexpr std::size_t kMaxInOrder = 64;
  static constexpr std::size_t kMaxSound = 25;  // half a second of usual blocks

  enum class Put : std::uint8_t {
    added,
    replaced,  // the older one of its slot, which is never sent
    refused,   // too much waits that must not be dropped: the visitor has to be given up
  };

  Put put(Outgoing message);
  bool empty() const { return waiting_.empty(); }
  std::size_t size() const { return waiting_.size(); }
  // The next one to be sent; only when not empty.
  Outgoing take();

 private:
  std::size_t count(Outgoing::Lane lane) const;

  std::deque<Outgoing> waiting_;
};

}  // namespace meeting
