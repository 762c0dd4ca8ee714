#include "platform/Mailbox.h"

#include <limits>
#include <utility>

namespace platform {

namespace {

// Runs nest a few deep; beginning one takes no memory then.
constexpr std::size_t kUsualRuns = 64;

}  // namespace

Mailbox::Mailbox() { stops_.reserve(kUsualRuns); }

void Mailbox::changed() {
  ++events_;
  condition_.notifyAll();
}

void Mailbox::post(Work work) {
  Messages one;
  one.push_back({0, std::move(work)});
  post(one);
}

void Mailbox::post(Messages& one) noexcept {
  const Lock lock(mutex_);
  one.front().number = nextNumber_++;
  messages_.splice(messages_.end(), one);
  changed();
}

std::uint64_t Mailbox::nextNumber() const {
  const Lock lock(mutex_);
  return nextNumber_;
}

Mailbox::Work Mailbox::take(std::uint64_t limit) {
  const Lock lock(mutex_);
  if (messages_.empty() || messages_.front().number >= limit) return nullptr;
  Work work = std::move(messages_.front().work);
  messages_.pop_front();
  return work;
}

Mailbox::Work Mailbox::take() { return take(std::numeric_limits<std::uint64_t>::max()); }

void Mailbox::wake() {
  const Lock lock(mutex_);
  changed();
}

std::uint64_t Mailbox::events() const {
  const Lock lock(mutex_);
  return events_;
}

void Mailbox::wait(std::uint64_t seen, std::optional<TimePoint> deadline) {
  const Lock lock(mutex_);
  while (events_ == seen) {
    if (!deadline) {
      condition_.wait(mutex_);
    } else if (!condition_.waitUntil(mutex_, *deadline)) {
      return;
    }
  }
}

void Mailbox::beginRun(bool takeOverStop) {
  const Lock lock(mutex_);
  stops_.push_back(takeOverStop && std::exchange(stopNext_, false));
}

void Mailbox::endRun() {
  const Lock lock(mutex_);
  stops_.pop_back();
}

bool Mailbox::stopped() const {
  const Lock lock(mutex_);
  return stops_.back();
}

void Mailbox::stop() {
  const Lock lock(mutex_);
  if (stops_.empty()) {
    stopNext_ = true;
  } else {
    stops_.back() = true;
  }
  changed();
}

}  // namespace platform
