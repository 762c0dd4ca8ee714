// Messages to be sent later, or on the main thread.
#include <algorithm>
#include <exception>
#include <utility>

#include "platform/Mutex.h"
#include "platform/RunLoop.h"
#include "platform/RunLoopImpl.h"

namespace platform {

namespace {

Mailbox& mainMailbox() { return LoopAccess::of(RunLoop::main()).mailbox; }

// A call that one thread makes and another waits for.
class WaitedForCall {
 public:
  template <class Work>
  void run(const Work& work) EXCLUDES(mutex_) {
    std::exception_ptr error;
    try {
      work();
    } catch (...) {
      error = std::current_exception();
    }
    const Lock lock(mutex_);
    error_ = std::move(error);
    done_ = true;
    finished_.notifyAll();
  }
  // Throws what the work threw. By then only the waiting thread holds the exception.
  void wait() EXCLUDES(mutex_) {
    std::exception_ptr error;
    {
      const Lock lock(mutex_);
      while (!done_) finished_.wait(mutex_);
      error = std::exchange(error_, nullptr);
    }
    if (error) std::rethrow_exception(std::move(error));
  }

 private:
  CondVar finished_;
  Mutex mutex_;
  bool done_ GUARDED_BY(mutex_) = false;
  std::exception_ptr error_ GUARDED_BY(mutex_);
};

// Taken back, a message stays out of the schedule; what it held is let go when the result ends.
template <class Matches>
void cancel(const Object& target, const Matches& matches) {
  LoopAccess::of(RunLoop::current()).schedule->takeDelayed(target, matches);
}

}  // namespace

void performAfterDelay(std::shared_ptr<Object> target, Selector message, Value argument,
                       Duration delay, std::initializer_list<Mode> modes) {
  if (!target) return;
  RunLoop::Impl& loop = LoopAccess::of(RunLoop::current());
  const Schedule::Entry entry = std::make_shared<ScheduledMessage>(
      ScheduledMessage{.kind = ScheduledMessage::Kind::kDelayed,
                       .target = std::move(target),
                       .message = message,
                       .argument = std::move(argument),
                       .deadline = loop.clock->now() + std::max(delay, Duration::zero()),
                       .modes = std::vector<std::string>(modes.begin(), modes.end())});
  loop.schedule->add(entry);
}

void cancelPerform(const Object& target, Selector message, const Value& argument) {
  cancel(target, [&](const ScheduledMessage& pending) {
    return pending.message == message && pending.argument == argument;
  });
}

void cancelPerforms(const Object& target) {
  cancel(target, [](const ScheduledMessage&) { return true; });
}

void performOnMainThread(std::shared_ptr<Object> target, Selector message, Value argument,
                         bool wait) {
  if (!target) return;
  if (!wait) {
    mainMailbox().post([target = std::move(target), message, argument = std::move(argument)] {
      message.send(*target, argument);
    });
    return;
  }
  if (isMainThread()) {
    message.send(*target, argument);
    return;
  }
  // Shared, because the main thread is still leaving it when the waiting thread goes on.
  const auto call = std::make_shared<WaitedForCall>();
  mainMailbox().post([&, call] { call->run([&] { message.send(*target, argument); }); });
  call->wait();
}

void dispatchOnMainThread(std::function<void()> work) {
  if (work) mainMailbox().post(std::move(work));
}

struct ReservedMessage::Impl {
  Mutex mutex;
  Mailbox::Messages message GUARDED_BY(mutex);  // empty once it has been queued
};

ReservedMessage::ReservedMessage(std::function<void()> work) : impl_(std::make_unique<Impl>()) {
  const Lock lock(impl_->mutex);
  impl_->message.push_back({0, std::move(work)});
}

ReservedMessage::~ReservedMessage() = default;

void ReservedMessage::dispatchOnMainThread() noexcept {
  const Lock lock(impl_->mutex);
  if (!impl_->message.empty()) mainMailbox().post(impl_->message);
}

void ObjectArray::add(std::shared_ptr<Object> object) { objects_.push_back(std::move(object)); }

void ObjectArray::removeAll() {
  // The objects end when the array is already empty, since they may look at it.
  const std::vector<std::shared_ptr<Object>> objects = std::exchange(objects_, {});
}

}  // namespace platform
