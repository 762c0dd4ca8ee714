#include "meeting/room/Outbox.h"

#include <algorithm>
#include <utility>

namespace meeting {

Outbox::Put Outbox::put(Outgoing message) {
  using Lane = Outgoing::Lane;
  if (message.lane == Lane::inOrder && count(Lane::inOrder) >= kMaxInOrder) return Put::refused;
  if (message.lane == Lane::sound && count(Lane::sound) >= kMaxSound)
    waiting_.erase(std::find_if(waiting_.begin(), waiting_.end(),
                                [](const Outgoing& other) { return other.lane == Lane::sound; }));
  if (message.lane == Lane::newest) {
    const auto older = std::find_if(waiting_.begin(), waiting_.end(), [&](const Outgoing& other) {
      return other.lane == Lane::newest && other.slot == message.slot;
    });
    if (older != waiting_.end()) {
      // It keeps its place, so that no slot can push another one back for good.
      *older = std::move(message);
      return Put::replaced;
    }
  }
  waiting_.push_back(std::move(message));
  return Put::added;
}

Outgoing Outbox::take() {
  Outgoing next = std::move(waiting_.front());
  waiting_.pop_front();
  return next;
}

std::size_t Outbox::count(Outgoing::Lane lane) const {
  return static_cast<std::size_t>(
      std::count_if(waiting_.begin(), waiting_.end(),
                    [lane](const Outgoing& message) { return message.lane == lane; }));
}

}  // namespace meeting
