#include "avcapture/SideThread.h"

#include <pthread.h>

#include <atomic>
#include <deque>
#include <utility>

#include "avcapture/Ffmpeg.h"
#include "avcapture/SignalsBlocked.h"
#include "platform/Mutex.h"

namespace avcapture {

namespace {

// Who ends us must not be held up by them.
constexpr std::chrono::milliseconds kPatienceAtEnd{200};

}  // namespace

struct SideThread::Shared {
  platform::CondVar wanted;  // there is something to do
  platform::CondVar done;    // a result, an interrupt, the thread's end
  std::atomic<bool> interrupted{false};
  platform::Mutex mutex;
  std::deque<std::pair<std::uint64_t, Operation>> queue GUARDED_BY(mutex);
  std::uint64_t ticket GUARDED_BY(mutex) = 0;  // of the operation that ended last
  std::int64_t result GUARDED_BY(mutex) = 0;   // of that one
  bool quit GUARDED_BY(mutex) = false;
  bool ended GUARDED_BY(mutex) = false;
};

SideThread::SideThread(const char* name, platform::Duration patience)
    : shared_(std::make_shared<Shared>()), patience_(patience) {
  const SignalsBlocked blocked;
  thread_ = std::thread([shared = shared_, name] {
    pthread_setname_np(pthread_self(), name);
    work(*shared);
  });
}

SideThread::~SideThread() {
  bool ended = false;
  {
    Patience patience(kPatienceAtEnd);
    const platform::Lock lock(shared_->mutex);
    shared_->quit = true;
    shared_->wanted.notifyOne();
    while (!shared_->ended && !patience.over()) {
      shared_->done.waitUntil(shared_->mutex, patience.nextLook());
    }
    ended = shared_->ended;
  }
  ended ? thread_.join() : thread_.detach();
}

void SideThread::work(Shared& shared) {
  const platform::Lock lock(shared.mutex);
  for (;;) {
    while (!shared.quit && shared.queue.empty()) shared.wanted.wait(shared.mutex);
    if (shared.queue.empty()) break;
    auto [ticket, operation] = std::move(shared.queue.front());
    shared.queue.pop_front();
    std::int64_t result = 0;
    {
      const platform::Unlocked unlocked(shared.mutex);
      result = operation();
      operation = nullptr;  // lets go of what it owns
    }
    shared.ticket = ticket;
    shared.result = result;
    shared.done.notifyOne();
  }
  shared.ended = true;
  shared.done.notifyOne();
}

std::int64_t SideThread::run(Operation operation) {
  Shared& shared = *shared_;
  const platform::Lock lock(shared.mutex);
  leftBehind_ = leftBehind_ && shared.ticket < lastTicket_;
  if (shared.interrupted) return AVERROR_EXIT;
  if (leftBehind_ || givenUp()) return AVERROR(ETIMEDOUT);
  shared.queue.emplace_back(++lastTicket_, std::move(operation));
  shared.wanted.notifyOne();
  Patience patience(patience_);
  while (shared.ticket < lastTicket_ && !givenUp() && !patience.over()) {
    shared.done.waitUntil(shared.mutex, patience.nextLook());
  }
  if (shared.ticket == lastTicket_) return shared.result;
  leftBehind_ = true;
  return shared.interrupted ? AVERROR_EXIT : AVERROR(ETIMEDOUT);
}

void SideThread::post(Operation operation) {
  const platform::Lock lock(shared_->mutex);
  shared_->queue.emplace_back(++lastTicket_, std::move(operation));
  shared_->wanted.notifyOne();
}

void SideThread::interrupt() {
  const platform::Lock lock(shared_->mutex);
  shared_->interrupted = true;
  shared_->done.notifyOne();
}

bool SideThread::interrupted() const {
  return shared_->interrupted.load(std::memory_order_relaxed);
}

void SideThread::setPatience(std::optional<platform::Duration> altogether) {
  altogether_.reset();
  if (altogether) altogether_.emplace(*altogether);
}

bool SideThread::givenUp() { return interrupted() || (altogether_ && altogether_->over()); }

}  // namespace avcapture
