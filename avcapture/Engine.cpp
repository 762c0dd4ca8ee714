#include "avcapture/Engine.h"

#include <pthread.h>
#include <sys/prctl.h>

#include <algorithm>
#include <csignal>
#include <new>
#include <system_error>
#include <utility>

#include "avcapture/ListenerCall.h"
#include "platform/Exception.h"
#include "platform/RunLoop.h"

namespace avcapture {

namespace {

constexpr std::int64_t kUnknownFramePeriod = 40'000;  // microseconds
constexpr std::array<const char*, 4> kThreadNames = {"av-demux", "av-decode", "av-picture",
                                                     "av-sound"};

// Signals are for the host's threads.
class SignalsBlocked {
 public:
  SignalsBlocked() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  SignalsBlocked(const SignalsBlocked&) = delete;
  SignalsBlocked& operator=(const SignalsBlocked&) = delete;

 private:
  sigset_t before_{};
};

MediaType typeOf(bool video, bool audio) {
  return static_cast<MediaType>((audio ? kMediaTypeAudio : 0) | (video ? kMediaTypeVideo : 0));
}

[[noreturn]] void throwOutOfResources(const char* what) {
  throw platform::Exception("AVResourceException", what);
}

}  // namespace

std::shared_ptr<Engine> Engine::open(const std::string& path, const PlaybackOptions& options,
                                     EngineOutputs outputs) {
  try {
    std::shared_ptr<Engine> engine(new Engine(options, std::move(outputs)));
    if (!engine->openFile(path)) return nullptr;
    engine->startThreads();
    return engine;
  } catch (const std::bad_alloc&) {
    throwOutOfResources("no memory to open a movie");
  } catch (const std::system_error&) {
    throwOutOfResources("no thread to play a movie");
  }
}

Engine::Engine(const PlaybackOptions& options, EngineOutputs outputs)
    : options_(options), outputs_(std::move(outputs)) {}

Engine::~Engine() { stop(); }

bool Engine::openFile(const std::string& path) {
  if (!demuxer_.open(path)) return false;
  if (const AVStream* video = demuxer_.video()) {
    videoDecoder_ = Decoder::open(*video, demuxer_.timeline(*video),
                                  decoderThreads(*video->codecpar, options_.decoderThreads));
    if (videoDecoder_) {
      converter_ = std::make_unique<VideoConverter>(*video);
    } else {
      demuxer_.dropVideo();
    }
  }
  if (const AVStream* audio = demuxer_.audio()) {
    if (auto decoder = Decoder::open(*audio, demuxer_.timeline(*audio), 1)) {
      audioDecoder_ = std::make_unique<AudioDecoder>(std::move(decoder));
    } else {
      demuxer_.dropAudio();
    }
  }
  demuxer_.discardOthers();
  hasVideo_ = videoDecoder_ != nullptr;
  hasAudio_ = audioDecoder_ != nullptr;
  info_ = {typeOf(hasVideo_, hasAudio_), demuxer_.durationMicroseconds(),
           demuxer_.framesPerSecond()};
  duration_ = info_.durationMicroseconds;
  framePeriod_ = info_.fps > 0 ? static_cast<std::int64_t>(kMicrosecondsPerSecond / info_.fps)
                               : kUnknownFramePeriod;
  return info_.type != kMediaTypeNone;
}

// --- threads ---

void Engine::startThreads() {
  const SignalsBlocked blocked;
  startThread(kDemux, &Engine::demuxLoop);
  if (hasVideo_) {
    startThread(kDecode, &Engine::decodeLoop);
    startThread(kPicture, &Engine::pictureLoop);
  }
  if (hasAudio_) startThread(kSound, &Engine::soundLoop);
}

void Engine::startThread(Thread which, void (Engine::*body)()) {
  running_[which] = true;
  try {
    // The thread keeps the engine: its owner may let go of it from within a call of the thread.
    threads_[which] =
        std::thread([self = shared_from_this(), which, body] { self->run(which, body); });
  } catch (...) {
    running_[which] = false;
    stop();  // the threads that did start would keep the engine for ever
    throw;
  }
}

void Engine::run(Thread which, void (Engine::*body)()) {
  pthread_setname_np(pthread_self(), kThreadNames[which]);
  prctl(PR_SET_TIMERSLACK, 1UL);  // wakes on time rather than with others
  try {
    (this->*body)();
  } catch (const std::bad_alloc&) {
    // Without memory there is nothing to play on with: the movie ends here.
    Lock lock(mutex_);
    const std::uint32_t generation = generation_;
    lock.unlock();
    tellEnd(generation);
  }
  running_[which] = false;
  platform::RunLoop::main().wake();
}

void Engine::wakeAll() {
  demuxWake_.notify_all();
  decodeWake_.notify_all();
  pictureWake_.notify_all();
  soundWake_.notify_all();
}

bool Engine::isOwnThread() const {
  return std::any_of(threads_.begin(), threads_.end(), [](const std::thread& thread) {
    return thread.get_id() == std::this_thread::get_id();
  });
}

void Engine::join(Thread which) {
  std::thread& thread = threads_[which];
  if (!thread.joinable()) return;
  if (thread.get_id() == std::this_thread::get_id()) {
    thread.detach();  // ends by itself as soon as it returns from the call that led here
    return;
  }
  platform::RunLoop::main().waitServingMessages([&] { return !running_[which]; });
  // A message served meanwhile may have been another stop.
  if (thread.joinable()) thread.join();
}

void Engine::stop() {
  {
    const Lock lock(mutex_);
    quit_ = true;
    playing_ = false;
    listener_ = nullptr;
    wakeAll();
  }
  interrupted_ = true;
  for (std::size_t i = 0; i < kThreadCount; ++i) join(static_cast<Thread>(i));
}

void Engine::stopSound() {
  Lock lock(mutex_);
  soundQuit_ = true;
  audioPackets_.clear();
  soundReady_ = true;
  startClockWhenReady();
  wakeAll();
  endStream(lock, soundEnded_);
  lock.unlock();
  join(kSound);
}

// --- the listener ---

void Engine::attach(std::weak_ptr<platform::Object> owner, AVStreamDataListener* listener,
                    platform::Object* sender) {
  const Lock lock(mutex_);
  listenerOwner_ = std::move(owner);
  listener_ = quit_ ? nullptr : listener;
  sender_ = sender;
}

void Engine::detach(const platform::Object* sender) {
  {
    const Lock lock(mutex_);
    if (sender_ != sender) return;  // replaced by another one
    listener_ = nullptr;
    sender_ = nullptr;
  }
  if (isOwnThread()) return;
  detaching_ = true;
  platform::RunLoop::main().waitServingMessages([this] { return callsUnderWay_ == 0; });
  detaching_ = false;
}

Engine::ListenerCall::ListenerCall(Engine& engine)
    : engine_(engine), owner_(engine.listenerOwner_.lock()) {
  if (!owner_ || engine.listener_ == nullptr) return;
  listener_ = engine.listener_;
  sender_ = engine.sender_;
  ++engine.callsUnderWay_;
}

Engine::ListenerCall::~ListenerCall() {
  owner_.reset();
  if (listener_ == nullptr) return;
  if (--engine_.callsUnderWay_ == 0 && engine_.detaching_) platform::RunLoop::main().wake();
}

// --- controls ---

void Engine::play() {
  Lock lock(mutex_);
  if (!quit_) setPlaying(lock);
}

std::uint32_t Engine::playFromStart() {
  Lock lock(mutex_);
  // In one step: a standing engine would deliver the first picture as a still.
  playing_ = !quit_;
  const std::uint32_t generation = beginGeneration(0, false);
  if (playing_) setPlaying(lock);
  return generation;
}

void Engine::setPlaying(Lock& lock) {
  playing_ = true;
  stillWanted_ = false;
  invalidImages_ = 0;
  endTold_ = false;
  startClockWhenReady();
  wakeAll();
  if (!endIsNew()) return;
  const std::uint32_t generation = generation_;
  lock.unlock();
  tellEnd(generation);
}

void Engine::pause() {
  const Lock lock(mutex_);
  playing_ = false;
  clock_.stop();
  stillWanted_ = true;
  wakeAll();
}

void Engine::finish() {
  const Lock lock(mutex_);
  playing_ = false;
  clock_.stop();
  // Files without a length have it now; those that were cut short keep the one they claim.
  if (duration_ == 0) duration_ = position_.load();
  position_ = duration_.load();
}

std::uint32_t Engine::seek(std::int64_t microseconds, bool notify) {
  const Lock lock(mutex_);
  return beginGeneration(microseconds, notify);
}

std::uint32_t Engine::rewind() {
  const Lock lock(mutex_);
  playing_ = false;
  return beginGeneration(0, false);
}

std::uint32_t Engine::beginGeneration(std::int64_t microseconds, bool notify) {
  ++generation_;
  target_ = microseconds;
  position_ = microseconds;
  videoPackets_.clear();
  audioPackets_.clear();
  frames_.clear();
  framesEnded_ = pictureReady_ = pictureEnded_ = endTold_ = false;
  soundReady_ = soundEnded_ = soundQuit_;
  clock_.set(microseconds);
  seekPending_ = notify;
  stillWanted_ = !playing_;
  wakeAll();
  return generation_;
}

void Engine::redeliver() {
  const Lock lock(mutex_);
  stillWanted_ = !playing_;
  pictureWake_.notify_all();
}

PlaybackStatistics Engine::statistics() const {
  return {.framesDelivered = framesDelivered_.load(std::memory_order_relaxed),
          .stillsDelivered = stillsDelivered_.load(std::memory_order_relaxed),
          .framesDropped = framesDropped_.load(std::memory_order_relaxed),
          .audioBlocksDelivered = audioBlocksDelivered_.load(std::memory_order_relaxed)};
}

// --- the clock and the end ---

void Engine::startClockWhenReady() {
  if (!playing_ || clock_.running()) return;
  const bool pictureReady = !hasVideo_ || pictureReady_ || (starved() && videoPackets_.empty());
  const bool soundReady = !hasAudio_ || soundReady_ || (starved() && audioPackets_.empty());
  if (!pictureReady || !soundReady) return;
  clock_.start();
  pictureWake_.notify_all();
  soundWake_.notify_all();
}

bool Engine::reached(Lock& lock, std::condition_variable& wake, std::int64_t microseconds) {
  if (!options_.paced) return true;
  if (!clock_.running()) {
    wake.wait(lock);
    return false;
  }
  const platform::TimePoint due = clock_.due(microseconds);
  if (steadyClock_.now() >= due) return true;
  wake.wait_until(lock, due);
  return false;
}

void Engine::advanceTo(std::int64_t microseconds) {
  position_ = std::max(position_.load(), microseconds);
}

void Engine::completeSeek(Lock& lock) {
  seekPending_ = false;
  const std::uint32_t generation = generation_;
  lock.unlock();
  outputs_.notify(EngineEvent::kSeeked, generation);
  lock.lock();
}

bool Engine::endIsNew() {
  const bool ended = (!hasVideo_ || pictureEnded_) && (!hasAudio_ || soundEnded_);
  if (!playing_ || !ended || endTold_) return false;
  endTold_ = true;
  return true;
}

void Engine::endStream(Lock& lock, bool& ended) {
  ended = true;
  if (!endIsNew()) return;
  const std::uint32_t generation = generation_;
  lock.unlock();
  tellEnd(generation);
  lock.lock();
}

}  // namespace avcapture
