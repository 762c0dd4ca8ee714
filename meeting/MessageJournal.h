// The messages routed between the participants' objects, the platform and the conference: counted
// always, and kept with their fields as long as somebody wants to read them.
//
// [any-thread] While nobody wants a message, it costs one atomic increment: media data pass here.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "meeting/PassedMessage.h"
#include "platform/Clock.h"
#include "platform/Mutex.h"
#include "ucf/Types.h"

namespace meeting {

// Somebody who gets every message at once, whatever is kept.
class MessageListener {
 public:
  // `message` has no number and no hash yet; what its record points to is still there. Called on
  // the thread that the message passes on.
  virtual void onMessage(PassedMessage message) = 0;

 protected:
  ~MessageListener() = default;
};

class MessageJournal {
 public:
  enum class Keep : std::uint8_t { nothing, allButSamples, everything };

  // Keeps the newest `capacity` messages. The clock is for tests; null is the steady one.
  explicit MessageJournal(std::size_t capacity = 4096,
                          std::shared_ptr<platform::Clock> clock = nullptr);

  // A routed message. Requests are recorded with their answer, once it is there; messages to an
  // object before it gets them, so that what it does about them comes after.
  void record(std::string_view participant, Direction direction, const Modules& modules,
              unsigned long type, unsigned long uMsg, const void* wParam, const void* lParam,
              UCFResult answer);
  // A participant's command to a user, or to SVS_USER_EVERYBODY; or one that it gets, without.
  void recordCommand(std::string_view participant, Direction direction,
                     std::span<const unsigned char> command,
                     std::optional<std::uint32_t> toUser = std::nullopt);
  // Parameter data that a participant sets, or is told.
  void recordParameterData(std::string_view participant, Direction direction, std::uint32_t id,
                           std::span<const unsigned char> data);

  // The listener must outlive the messages. To be called before the first one passes. [main-thread]
  void addListener(MessageListener& listener) { listeners_.push_back(&listener); }
  // What is kept from now on. What has been kept stays until newer messages take its place.
  void setKept(Keep keep) { keep_.store(keep, std::memory_order_relaxed); }
  // The kept messages that came after `number`, oldest first, `max` at most.
  std::vector<PassedMessage> since(std::uint64_t number, std::size_t max) const EXCLUDES(mutex_);
  // Names of the messages that have passed at least once, and how often.
  std::map<std::string, std::uint64_t> totals() const;

 private:
  // Counts the message; true when somebody wants it.
  bool count(const MessageKey& key);
  bool isKept(const MessageKey& key) const;
  void pass(std::string_view participant, bool taken, const RawMessage& raw) EXCLUDES(mutex_);

  const std::size_t capacity_;
  const std::shared_ptr<platform::Clock> clock_;
  const platform::TimePoint begin_;
  std::atomic<Keep> keep_{Keep::nothing};
  std::array<std::atomic<std::uint64_t>, kUnknownMessage + 1> counts_{};
  std::vector<MessageListener*> listeners_;  // unchanged once messages pass

  mutable platform::Mutex mutex_;
  std::deque<PassedMessage> kept_ GUARDED_BY(mutex_);
  std::uint64_t newest_ GUARDED_BY(mutex_) = 0;  // number of the last in kept_
};

}  // namespace meeting
