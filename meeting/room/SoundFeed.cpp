#include "meeting/room/SoundFeed.h"

#include <set>
#include <utility>

#include "platform/Mutex.h"

namespace meeting {

// What the model sends one participant's sound to. May outlive the feed.
class SoundFeed::FanOut final : public SoundSink {
 public:
  FanOut(std::string participant, Send send)
      : participant_(std::move(participant)), send_(std::move(send)) {}

  void sound(const AudioFormat& format, const AudioSample& sample) override EXCLUDES(mutex_) {
    const platform::Lock lock(mutex_);
    if (listeners_.empty()) return;
    const Payload data = soundData(participant_, format, sample);
    for (const VisitorId visitor : listeners_) send_(visitor, data);
  }

  void add(VisitorId visitor) EXCLUDES(mutex_) {
    const platform::Lock lock(mutex_);
    listeners_.insert(visitor);
  }

  // True when nobody listens any more; nothing is sent to the visitor once it has returned.
  bool remove(VisitorId visitor) EXCLUDES(mutex_) {
    const platform::Lock lock(mutex_);
    listeners_.erase(visitor);
    return listeners_.empty();
  }

  void removeAll() EXCLUDES(mutex_) {
    const platform::Lock lock(mutex_);
    listeners_.clear();
  }

 private:
  const std::string participant_;
  const Send send_;
  platform::Mutex mutex_;
  std::set<VisitorId> listeners_ GUARDED_BY(mutex_);
};

SoundFeed::SoundFeed(RoomModel& model, Send send) : model_(model), send_(std::move(send)) {}

SoundFeed::~SoundFeed() {
  for (const auto& [participant, fan] : fans_) {
    fan->removeAll();
    model_.listen(participant, nullptr);
  }
}

void SoundFeed::listen(VisitorId visitor, const std::string& participant) {
  leave(visitor);
  if (participant.empty()) return;
  auto& fan = fans_[participant];
  if (fan == nullptr) {
    fan = std::make_shared<FanOut>(participant, send_);
    model_.listen(participant, fan);
  }
  fan->add(visitor);
}

void SoundFeed::leave(VisitorId visitor) {
  std::erase_if(fans_, [&](const auto& entry) {
    const auto& [participant, fan] = entry;
    if (!fan->remove(visitor)) return false;
    model_.listen(participant, nullptr);
    return true;
  });
}

}  // namespace meeting
