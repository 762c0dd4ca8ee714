#include "meeting/MessageJournal.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <utility>

#include "mmp/ParticipantRecords.h"

namespace meeting {

namespace {

unsigned long commandOf(std::span<const unsigned char> command) {
  tagStmCommand header{};
  std::memcpy(&header, command.data(), std::min(command.size(), sizeof header));
  return static_cast<std::uint32_t>(header.dwCommand);
}

}  // namespace

MessageJournal::MessageJournal(std::size_t capacity, std::shared_ptr<platform::Clock> clock)
    : capacity_(std::max<std::size_t>(capacity, 1)),
      clock_(clock ? std::move(clock) : std::make_shared<platform::SteadyClock>()),
      begin_(clock_->now()) {}

void MessageJournal::record(std::string_view participant, Direction direction,
                            const Modules& modules, unsigned long type, unsigned long uMsg,
                            const void* wParam, const void* lParam, UCFResult answer) {
  const MessageKey key{MessageWay::routed, direction, type, uMsg};
  if (!count(key)) return;
  RawMessage raw = RawMessage::routed(key, wParam, lParam);
  raw.modules = modules;
  pass(participant, direction == Direction::toObject || answer != 0, raw);
}

void MessageJournal::recordCommand(std::string_view participant, Direction direction,
                                   std::span<const unsigned char> command,
                                   std::optional<std::uint32_t> toUser) {
  const MessageKey key{MessageWay::command, direction, 0, commandOf(command)};
  if (!count(key)) return;
  RawMessage raw = RawMessage::data(key, command);
  raw.toUser = toUser;
  pass(participant, true, raw);
}

void MessageJournal::recordParameterData(std::string_view participant, Direction direction,
                                         std::uint32_t id, std::span<const unsigned char> data) {
  const MessageKey key{MessageWay::parameterData, direction, 0, id};
  if (count(key)) pass(participant, true, RawMessage::data(key, data));
}

bool MessageJournal::count(const MessageKey& key) {
  counts_[messageIndex(key)].fetch_add(1, std::memory_order_relaxed);
  return !listeners_.empty() || isKept(key);
}

bool MessageJournal::isKept(const MessageKey& key) const {
  const Keep keep = keep_.load(std::memory_order_relaxed);
  if (keep == Keep::nothing) return false;
  return keep == Keep::everything || messageKind(key) != MessageKind::sample;
}

void MessageJournal::pass(std::string_view participant, bool taken, const RawMessage& raw) {
  const std::chrono::duration<double> time = clock_->now() - begin_;
  PassedMessage message{.seconds = time.count(),
                        .participant = std::string(participant),
                        .taken = taken,
                        .message = raw,
                        .hash = {}};
  for (MessageListener* listener : listeners_) listener->onMessage(message);
  if (!isKept(raw.key)) return;
  const platform::Lock lock(mutex_);
  if (kept_.size() == capacity_) kept_.pop_front();
  message.number = ++newest_;
  kept_.push_back(std::move(message));
}

std::vector<PassedMessage> MessageJournal::since(std::uint64_t number, std::size_t max) const {
  const platform::Lock lock(mutex_);
  const std::uint64_t before = newest_ - kept_.size();
  const std::uint64_t passed = std::clamp(number, before, newest_) - before;
  const auto begin = kept_.begin() + static_cast<std::ptrdiff_t>(passed);
  const auto count = std::min<std::size_t>(max, kept_.size() - passed);
  return {begin, begin + static_cast<std::ptrdiff_t>(count)};
}

std::map<std::string, std::uint64_t> MessageJournal::totals() const {
  std::map<std::string, std::uint64_t> totals;
  for (std::size_t index = 0; index < counts_.size(); ++index) {
    const std::uint64_t count = counts_[index].load(std::memory_order_relaxed);
    if (count > 0) totals[messageName(index)] += count;
  }
  return totals;
}

}  // namespace meeting
