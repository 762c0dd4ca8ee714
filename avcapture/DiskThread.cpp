#include "avcapture/DiskThread.h"

#include <pthread.h>

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <utility>

#include "avcapture/Ffmpeg.h"
#include "avcapture/SignalsBlocked.h"

namespace avcapture {

namespace {

using Clock = std::chrono::steady_clock;

// Disks that sleep take a few seconds to spin up.
constexpr std::chrono::seconds kPatience{5};
// Who ends us must not be held up by a disk.
constexpr std::chrono::milliseconds kPatienceAtEnd{200};

}  // namespace

struct DiskThread::Shared {
  std::mutex mutex;
  std::condition_variable wanted;  // there is something to do
  std::condition_variable done;    // a result, an interrupt, the thread's end
  std::deque<std::pair<std::uint64_t, Operation>> queue;
  std::uint64_t ticket = 0;  // of the operation that ended last
  std::int64_t result = 0;   // of that one
  bool quit = false;
  bool ended = false;
  std::atomic<bool> interrupted{false};
};

DiskThread::DiskThread() : shared_(std::make_shared<Shared>()) {
  const SignalsBlocked blocked;
  thread_ = std::thread([shared = shared_] { work(*shared); });
}

DiskThread::~DiskThread() {
  std::unique_lock lock(shared_->mutex);
  shared_->quit = true;
  shared_->wanted.notify_one();
  if (shared_->done.wait_for(lock, kPatienceAtEnd, [this] { return shared_->ended; })) {
    lock.unlock();
    thread_.join();
  } else {
    thread_.detach();
  }
}

void DiskThread::work(Shared& shared) {
  pthread_setname_np(pthread_self(), "av-disk");
  std::unique_lock lock(shared.mutex);
  for (;;) {
    shared.wanted.wait(lock, [&] { return shared.quit || !shared.queue.empty(); });
    if (shared.queue.empty()) break;
    auto [ticket, operation] = std::move(shared.queue.front());
    shared.queue.pop_front();
    lock.unlock();
    const std::int64_t result = operation();
    operation = nullptr;  // lets go of what it owns
    lock.lock();
    shared.ticket = ticket;
    shared.result = result;
    shared.done.notify_one();
  }
  shared.ended = true;
  shared.done.notify_one();
}

std::int64_t DiskThread::run(Operation operation) {
  std::unique_lock lock(shared_->mutex);
  const auto answered = [this] { return shared_->ticket >= lastTicket_; };
  leftBehind_ = leftBehind_ && !answered();
  if (shared_->interrupted) return AVERROR_EXIT;
  if (leftBehind_) return AVERROR(ETIMEDOUT);
  shared_->queue.emplace_back(++lastTicket_, std::move(operation));
  shared_->wanted.notify_one();
  shared_->done.wait_until(lock, std::min(deadline_, Clock::now() + kPatience),
                           [&] { return shared_->interrupted || answered(); });
  if (answered()) return shared_->result;
  leftBehind_ = true;
  return shared_->interrupted ? AVERROR_EXIT : AVERROR(ETIMEDOUT);
}

void DiskThread::post(Operation operation) {
  const std::lock_guard lock(shared_->mutex);
  shared_->queue.emplace_back(++lastTicket_, std::move(operation));
  shared_->wanted.notify_one();
}

void DiskThread::interrupt() {
  const std::lock_guard lock(shared_->mutex);
  shared_->interrupted = true;
  shared_->done.notify_one();
}

bool DiskThread::interrupted() const {
  return shared_->interrupted.load(std::memory_order_relaxed);
}

bool DiskThread::givenUp() const { return interrupted() || Clock::now() > deadline_; }

}  // namespace avcapture
