// The engine's threads, from their start to their end, and the listener that two of them call.
#include <pthread.h>
#include <sys/prctl.h>

#include <algorithm>
#include <chrono>
#include <new>
#include <system_error>
#include <utility>

#include "avcapture/Engine.h"
#include "avcapture/ListenerCall.h"
#include "avcapture/SignalsBlocked.h"
#include "platform/RunLoop.h"

namespace avcapture {

namespace {

constexpr std::array<const char*, 4> kThreadNames = {"av-demux", "av-decode", "av-picture",
                                                     "av-sound"};

// A picture of 8192x8192 takes some codecs seconds, and turning and converting it too; they can't
// be interrupted. Their thread calls nobody any more and keeps what it needs, so that it may end by
// itself. All of them together have this time to end in.
constexpr std::chrono::milliseconds kPatienceAtEnd{300};
// What a listener does is over much sooner, unless it waits for who waits for it.
constexpr std::chrono::milliseconds kPatienceWithCalls{2000};

}  // namespace

// --- threads ---

void Engine::startThreads() {
  try {
    startThread(kDemux, &Engine::demuxLoop);
    if (hasVideo_) {
      startThread(kDecode, &Engine::decodeLoop);
      startThread(kPicture, &Engine::pictureLoop);
    }
    if (hasAudio_) startThread(kSound, &Engine::soundLoop);
  } catch (...) {
    stop();  // the threads that did start would keep the engine for ever
    throw;
  }
}

void Engine::startThread(Which which, void (Engine::*body)()) {
  const SignalsBlocked blocked;
  const auto worker = std::make_shared<Worker>();
  // The thread keeps the engine: its owner may let go of it from within a call of the thread.
  worker->thread = std::thread([self = shared_from_this(), worker, which, body] {
    self->run(which, body);
    worker->running = false;
    platform::RunLoop::main().wake();
  });
  workers_[which] = worker;
}

void Engine::run(Which which, void (Engine::*body)()) {
  pthread_setname_np(pthread_self(), kThreadNames[which]);
  prctl(PR_SET_TIMERSLACK, 1UL);  // wakes on time rather than with others
  try {
    (this->*body)();
  } catch (const std::bad_alloc&) {
    giveUp();
  }
}

void Engine::wakeAll() {
  demuxWake_.notifyAll();
  decodeWake_.notifyAll();
  pictureWake_.notifyAll();
  soundWake_.notifyAll();
}

// The worker whose end is to be waited for; null when there is none. Our own ends as soon as it
// returns from the call that led here, and is waited for by who comes next.
std::shared_ptr<Engine::Worker> Engine::othersWorker(Which which) {
  // Messages served meanwhile may start another thread in its place.
  std::shared_ptr<Worker> worker = workers_[which];
  if (!worker || !worker->thread.joinable()) return nullptr;
  return worker->thread.get_id() == std::this_thread::get_id() ? nullptr : worker;
}

void Engine::join(Which which) {
  const std::shared_ptr<Worker> worker = othersWorker(which);
  if (!worker) return;
  platform::RunLoop::main().waitServingMessages([&] { return !worker->running; });
  // A message served meanwhile may have been another stop.
  if (worker->thread.joinable()) worker->thread.join();
}

// After quit_, when no call into a listener begins any more.
void Engine::joinOrLeaveBehind(Which which, platform::TimePoint patience) {
  const std::shared_ptr<Worker> worker = othersWorker(which);
  if (!worker) return;
  const auto ended = [&] { return !worker->running; };
  const auto calls = [&] { return calls_[which].sender != nullptr; };
  platform::RunLoop::main().waitServingMessages(ended, patience);
  ++detaching_;
  platform::RunLoop::main().waitServingMessages([&] { return ended() || !calls(); });
  --detaching_;
  if (!worker->thread.joinable()) return;
  ended() ? worker->thread.join() : worker->thread.detach();
}

void Engine::askToEnd() {
  {
    const platform::Lock lock(mutex_);
    quit_ = true;
    playing_ = false;
    listener_ = {};
    wakeAll();
  }
  demuxer_.interrupt();
}

bool Engine::retire() {
  askToEnd();
  ++detaching_;
  const bool silent = platform::RunLoop::main().waitServingMessages(
      [this] {
        return std::ranges::all_of(calls_, [](const Call& call) { return call.sender == nullptr; });
      },
      std::chrono::steady_clock::now() + kPatienceWithCalls);
  --detaching_;
  if (silent) stop();
  return silent;
}

void Engine::stop() {
  askToEnd();
  const auto patience = std::chrono::steady_clock::now() + kPatienceAtEnd;
  for (std::size_t i = 0; i < kThreadCount; ++i) {
    joinOrLeaveBehind(static_cast<Which>(i), patience);
  }
}

void Engine::stopSound(const platform::Object* sender) {
  {
    const platform::Lock lock(mutex_);
    if (listener_.sender != sender) return;  // it is somebody else's by now
    soundQuit_ = true;
    audioPackets_.clear();
    soundReady_ = true;
    startClockWhenReady();
    wakeAll();
    endStream(soundEnded_);
  }
  join(kSound);
}

// Sound goes on where the movie is; its packets are read again from there.
void Engine::resumeSound() {
  join(kSound);
  {
    const platform::Lock lock(mutex_);
    if (quit_ || !soundQuit_) return;  // a message served meanwhile was a stop, or came before us
    soundQuit_ = false;
    beginGeneration(position_, seekPending_);
  }
  try {
    startThread(kSound, &Engine::soundLoop);
  } catch (const std::exception&) {  // no thread, or no memory for one
    // The picture plays on without.
    const platform::Lock lock(mutex_);
    soundQuit_ = soundReady_ = soundEnded_ = true;
    wakeAll();
  }
}

// --- the listener ---

void Engine::attach(Listener listener) {
  bool silent = false;
  {
    const platform::Lock lock(mutex_);
    if (!quit_) listener_ = std::move(listener);
    silent = !quit_ && hasAudio_ && soundQuit_;
  }
  if (silent) resumeSound();
}

void Engine::detach(const platform::Object* sender) {
  {
    const platform::Lock lock(mutex_);
    if (listener_.sender == sender) listener_ = {};
  }
  // Calls that began before that are let to their end, but for one that we are in.
  ++detaching_;
  platform::RunLoop::main().waitServingMessages([this, sender] {
    return std::none_of(calls_.begin(), calls_.end(), [sender](const Call& call) {
      return call.sender == sender && call.thread != std::this_thread::get_id();
    });
  });
  --detaching_;
}

Engine::ListenerCall::ListenerCall(Engine& engine, Which which)
    : engine_(engine), call_(engine.calls_[which]), owner_(engine.listener_.owner.lock()) {
  if (owner_ && engine.listener_.listener != nullptr) {
    listener_ = engine.listener_.listener;
    sender_ = engine.listener_.sender;
    call_.thread = std::this_thread::get_id();
    call_.sender = sender_;
  }
  engine.mutex_.unlock();
}

Engine::ListenerCall::~ListenerCall() {
  owner_.reset();
  if (listener_ != nullptr) {
    call_.sender = nullptr;
    if (engine_.detaching_ > 0) platform::RunLoop::main().wake();
  }
  engine_.mutex_.lock();
}

}  // namespace avcapture
