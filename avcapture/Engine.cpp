#include "avcapture/Engine.h"

#include <algorithm>
#include <exception>
#include <new>
#include <system_error>
#include <utility>

#include "platform/Exception.h"

namespace avcapture {

namespace {

constexpr std::int64_t kUnknownFramePeriod = 40'000;  // microseconds
// With opening; a little more than the disk has, whose reason is the better one.
constexpr std::chrono::milliseconds kPatienceWithOpening{4700};

MediaType typeOf(bool video, bool audio) {
  return static_cast<MediaType>((audio ? kMediaTypeAudio : 0) | (video ? kMediaTypeVideo : 0));
}

// As a reason that is kept where there is no memory: no longer than a string holds by itself.
constexpr const char* kOutOfMemory = "out of memory";
constexpr const char* kOutOfThreads = "out of threads";

[[noreturn]] void throwOutOfResources(const char* what) {
  throw platform::Exception("AVResourceException", what);
}

}  // namespace

std::shared_ptr<Engine> Engine::open(const std::string& path, const PlaybackOptions& options,
                                     EngineOutputs outputs, std::string& failure) {
  try {
    std::shared_ptr<Engine> engine(new Engine(options, std::move(outputs)));
    failure = engine->openAside(path);
    if (!failure.empty()) return nullptr;
    engine->startThreads();
    return engine;
  } catch (const std::bad_alloc&) {
    failure = kOutOfMemory;
    throwOutOfResources("no memory to open a movie");
  } catch (const std::system_error&) {
    failure = kOutOfThreads;
    throwOutOfResources("no thread to play a movie");
  }
}

Engine::Engine(const PlaybackOptions& options, EngineOutputs outputs)
    : options_(options), outputs_(std::move(outputs)) {}

Engine::~Engine() {
  stop();
  for (const auto& worker : workers_) {
    if (worker && worker->thread.joinable()) worker->thread.detach();  // the one that we end on
  }
}

// Some decoders take seconds over the first picture, without which nothing is known of the stream.
// Their thread is left to end by itself, and keeps the engine meanwhile.
std::string Engine::openAside(const std::string& path) {
  struct Opening {
    std::string path, failure;
    std::exception_ptr thrown;
  };
  const auto opening = std::make_shared<Opening>(Opening{path, {}, nullptr});
  SideThread aside("av-open", kPatienceWithOpening);
  const std::int64_t result = aside.run([self = shared_from_this(), opening] {
    try {
      if (!self->openFile(opening->path)) {
        opening->failure = self->demuxer_.failure();
        if (opening->failure.empty()) opening->failure = "no picture or sound that can be played";
      }
    } catch (...) {
      opening->thrown = std::current_exception();
    }
    return 0;
  });
  if (result != 0) {
    demuxer_.interrupt();
    return "takes too long to open";
  }
  if (opening->thrown) std::rethrow_exception(opening->thrown);
  return opening->failure;
}

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

// --- controls ---

void Engine::play() {
  const platform::Lock lock(mutex_);
  if (!quit_) setPlaying();
}

void Engine::playFromStart() {
  const platform::Lock lock(mutex_);
  // In one step: a standing engine would deliver the first picture as a still.
  playing_ = !quit_;
  beginGeneration(0, false);
  if (playing_) setPlaying();
}

void Engine::setPlaying() {
  playing_ = true;
  stillWanted_ = false;
  invalidImages_ = 0;
  endTold_ = false;
  startClockWhenReady();
  wakeAll();
  tellNewEnd();
}

void Engine::pause() {
  const platform::Lock lock(mutex_);
  playing_ = false;
  clock_.stop();
  stillWanted_ = true;
  wakeAll();
}

void Engine::finish() {
  const platform::Lock lock(mutex_);
  playing_ = false;
  clock_.stop();
  // Files without a length have it now, or one that they exceed; those that were cut short keep the
  // one they claim.
  const std::int64_t claimed = demuxer_.leapt() ? 0 : duration_.load();
  duration_ = std::max(claimed, position_.load());
  position_ = duration_.load();
}

void Engine::seek(std::int64_t microseconds, bool notify) {
  const platform::Lock lock(mutex_);
  beginGeneration(microseconds, notify);
}

void Engine::rewind() {
  const platform::Lock lock(mutex_);
  playing_ = false;
  beginGeneration(0, false);
}

void Engine::beginGeneration(std::int64_t microseconds, bool notify) {
  ++generation_;
  target_ = microseconds;
  position_ = microseconds;
  videoPackets_.clear();
  audioPackets_.clear();
  frames_.clear();
  failure_.clear();
  pictureSize_ = {};
  framesEnded_ = pictureReady_ = pictureEnded_ = endTold_ = false;
  soundReady_ = soundEnded_ = soundQuit_;
  clock_.set(microseconds);
  seekPending_ = notify;
  stillWanted_ = !playing_;
  wakeAll();
}

std::uint32_t Engine::generation() {
  const platform::Lock lock(mutex_);
  return generation_;
}

void Engine::redeliver() {
  const platform::Lock lock(mutex_);
  stillWanted_ = !playing_;
  pictureWake_.notifyAll();
}

PlaybackStatistics Engine::statistics() const {
  return {.framesDelivered = framesDelivered_.load(std::memory_order_relaxed),
          .stillsDelivered = stillsDelivered_.load(std::memory_order_relaxed),
          .framesDropped = framesDropped_.load(std::memory_order_relaxed),
          .audioBlocksDelivered = audioBlocksDelivered_.load(std::memory_order_relaxed)};
}

std::string Engine::failure() {
  if (givenUp_) return kOutOfMemory;
  const platform::Lock lock(mutex_);
  return failure_;
}

// --- the clock and the end ---

void Engine::startClockWhenReady() {
  if (!playing_ || clock_.running()) return;
  const bool pictureReady = !hasVideo_ || pictureReady_ || (starved() && videoPackets_.empty());
  const bool soundReady = !hasAudio_ || soundReady_ || (starved() && audioPackets_.empty());
  if (!pictureReady || !soundReady) return;
  clock_.start();
  pictureWake_.notifyAll();
  soundWake_.notifyAll();
}

bool Engine::reached(platform::CondVar& wake, std::int64_t microseconds) {
  if (!options_.paced) return true;
  if (!clock_.running()) {
    wake.wait(mutex_);
    return false;
  }
  if (clock_.reached(microseconds)) return true;
  wake.waitUntil(mutex_, clock_.nextLook(microseconds));
  return false;
}

void Engine::advanceTo(std::int64_t microseconds) {
  position_ = std::max(position_.load(), microseconds);
}

void Engine::tell(EngineEvent event) {
  const std::uint32_t generation = generation_;
  const platform::Unlocked unlocked(mutex_);
  try {
    outputs_.notify(event, generation);
  } catch (const std::bad_alloc&) {
    giveUp();  // an owner who waits for that news would wait for ever
  }
}

void Engine::giveUp() noexcept {
  givenUp_ = true;
  outputs_.gaveUp();
}

void Engine::completeSeek() {
  seekPending_ = false;
  tell(EngineEvent::kSeeked);
}

bool Engine::endIsNew() {
  const bool ended = (!hasVideo_ || pictureEnded_) && (!hasAudio_ || soundEnded_);
  if (!playing_ || !ended || endTold_) return false;
  endTold_ = true;
  return true;
}

void Engine::tellNewEnd() {
  if (endIsNew()) tell(EngineEvent::kEnded);
}

// What could not be read explains what could not be decoded.
void Engine::endStream(bool& ended, const char* failure) {
  if (failure != nullptr && failure_.empty()) failure_ = failure;
  ended = true;
  tellNewEnd();
}

}  // namespace avcapture
