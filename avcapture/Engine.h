// Plays one media file: reads, decodes, paces, and hands pictures and sound to one listener.
//
// Four threads, each asleep unless it has work:
//
//   demux --packets--> decode --frames--> picture delivery --> listener, view
//     \-----packets---------------------> sound delivery ----> listener, sound device
//
// What they share is guarded by one mutex, and each thread waits on a condition of its own; nothing
// is called outward while the mutex is held. Every seek begins a new generation: what an earlier
// one left behind in some thread's hands is recognised by its number and thrown away.
//
// Playing begins when a picture and a block of sound are ready and have been announced, so that
// both start together and on time. From then on each is delivered when the clock reaches its time;
// a late picture is dropped when a newer one is there. Without pacing everything is delivered at
// once, and nothing is dropped.
//
// Controls: [main-thread]. State queries: [any-thread], without a lock.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "avcapture/AudioDecoder.h"
#include "avcapture/BoundedQueue.h"
#include "avcapture/Decoder.h"
#include "avcapture/Demuxer.h"
#include "avcapture/FramePool.h"
#include "avcapture/KTVideoPlayer.h"
#include "avcapture/MediaClock.h"
#include "avcapture/PacketQueue.h"
#include "avcapture/Protocols.h"
#include "avcapture/SeekFilter.h"
#include "avcapture/VideoConverter.h"
#include "platform/Clock.h"
#include "platform/Mutex.h"
#include "platform/View.h"

namespace avcapture {

struct MediaInfo {
  MediaType type = kMediaTypeNone;
  std::int64_t durationMicroseconds = 0;  // 0 when the file does not say
  double fps = 0.0;                       // 0.0 when the file does not say
};

class AudioDevice;

// What an engine tells its owner.
enum class EngineEvent {
  kEnded,   // everything has been played
  kSeeked,  // a seek has completed
};

// Where an engine's results go, apart from the listener. Called on the delivery threads.
struct EngineOutputs {
  std::function<void(std::shared_ptr<const platform::Image>)> show;
  std::function<void(EngineEvent, std::uint32_t generation)> notify;
  // The engine has given up. Throws nothing, takes no memory.
  std::function<void()> gaveUp;
};

class Engine : public std::enable_shared_from_this<Engine> {
 public:
  // Opens the file and begins to decode its first picture. Null when there is nothing playable in
  // it; throws platform::Exception when memory or threads run out. `failure` then tells why.
  static std::shared_ptr<Engine> open(const std::string& path, const PlaybackOptions& options,
                                      EngineOutputs outputs, std::string& failure);
  ~Engine();
  Engine(const Engine&) = delete;
  Engine& operator=(const Engine&) = delete;

  const MediaInfo& info() const { return info_; }

  void play() EXCLUDES(mutex_);
  // Plays from the beginning.
  void playFromStart() EXCLUDES(mutex_);
  // Stands still, and delivers the picture that shows as a still.
  void pause() EXCLUDES(mutex_);
  // Stands still where the movie ended.
  void finish() EXCLUDES(mutex_);
  // Goes to a movie time; while standing its picture is delivered as a still. `notify`: tell the
  // owner when it has completed. A later seek replaces one that has not completed.
  void seek(std::int64_t microseconds, bool notify) EXCLUDES(mutex_);
  // Stands still at the beginning, whose picture is delivered as a still.
  void rewind() EXCLUDES(mutex_);
  // Delivers the picture that shows as a still, unless playing.
  void redeliver() EXCLUDES(mutex_);
  void setVolume(int volume) { volume_.store(volume, std::memory_order_relaxed); }

  // Whom to call with what is delivered. It is kept alive during each call, and not called once
  // `owner` has died. `sender` goes out with each block of sound, and names who has attached it.
  struct Listener {
    std::weak_ptr<platform::Object> owner;
    AVStreamDataListener* listener = nullptr;
    platform::Object* sender = nullptr;
  };
  // Takes the place of the one before, and gets sound again where that one has stopped it.
  void attach(Listener listener) EXCLUDES(mutex_);
  // No call into the sender's listener is under way or follows once these have returned, except one
  // that they are called from within. They serve main-thread messages while they wait.
  void detach(const platform::Object* sender) EXCLUDES(mutex_);
  // Ends sound, unless another one has been attached since.
  void stopSound(const platform::Object* sender) EXCLUDES(mutex_);
  // Ends the threads; one that takes long over a picture or a block of sound, but is in no call of
  // the listener, is left to end by itself.
  void stop() EXCLUDES(mutex_);
  // As stop, but where a call of the listener does not end in time, as it can't when it waits for
  // the very message that the caller is in: then answers false, and is to be asked again.
  bool retire() EXCLUDES(mutex_);

  // Whether there was no memory to go on with. Plays no more, and its owner has been told.
  // [any-thread]
  bool hasGivenUp() const { return givenUp_.load(std::memory_order_relaxed); }

  // Of what is played since the last seek; the number comes with what the owner is told.
  std::uint32_t generation() EXCLUDES(mutex_);
  std::int64_t positionMicroseconds() const { return position_.load(std::memory_order_relaxed); }
  // Known for certain once the end has been seen.
  std::int64_t durationMicroseconds() const { return duration_.load(std::memory_order_relaxed); }
  int invalidImageBufferCount() const { return invalidImages_.load(std::memory_order_relaxed); }
  PlaybackStatistics statistics() const;
  // Why the file could not be read on to its end since the last seek, or nothing of a stream be
  // decoded or converted; empty when it could.
  std::string failure();

 private:
  enum Which : std::size_t { kDemux, kDecode, kPicture, kSound, kThreadCount };
  // The picture thread's own.
  struct PictureStage {
    std::uint32_t generation = 0;
    bool arrived = false;  // the generation's first picture, or that it has none
    PictureSize announced{};
    std::shared_ptr<Picture> next{};     // converted, waits for its time
    std::shared_ptr<Picture> current{};  // shown last in this generation
    std::int64_t end = 0;                // when the picture delivered last ends
  };
  // The sound thread's own.
  struct SoundStage {
    std::uint32_t generation = 0;
    std::optional<SoundBlock> next{};  // waits for its time
    std::int64_t end = 0;              // when the block delivered last ends
  };

  Engine(const PlaybackOptions& options, EngineOutputs outputs);
  // Why the file cannot be played; empty when it can.
  std::string openAside(const std::string& path);
  bool openFile(const std::string& path);

  // Threads: EngineThreads.cpp
  void startThreads();
  void startThread(Which which, void (Engine::*body)());
  void run(Which which, void (Engine::*body)()) EXCLUDES(mutex_);
  struct Worker;
  std::shared_ptr<Worker> othersWorker(Which which);
  void askToEnd() EXCLUDES(mutex_);
  void join(Which which);
  void joinOrLeaveBehind(Which which, platform::TimePoint patience);
  void wakeAll();
  void resumeSound() EXCLUDES(mutex_);

  // Generations, the clock and the end: Engine.cpp
  void beginGeneration(std::int64_t microseconds, bool notify) REQUIRES(mutex_);
  void startClockWhenReady() REQUIRES(mutex_);
  bool starved() const REQUIRES(mutex_);
  void setPlaying() REQUIRES(mutex_);
  bool endIsNew() REQUIRES(mutex_);
  // Tells the owner, without the mutex meanwhile, when everything has been played.
  void tellNewEnd() REQUIRES(mutex_);
  void tell(EngineEvent event) REQUIRES(mutex_);
  void giveUp() noexcept;

  // Demux and decode: EngineInput.cpp
  void demuxLoop() EXCLUDES(mutex_);
  void decodeLoop() EXCLUDES(mutex_);
  bool packetsSuffice(std::size_t enough) const REQUIRES(mutex_);
  void readOnWhenFew() REQUIRES(mutex_);
  void tellPictureSize() REQUIRES(mutex_);
  bool isPassedOver(const AVPacket* packet, SeekFilter& filter) const;
  bool passOn(DecodedFrame frame, std::uint32_t generation) EXCLUDES(mutex_);

  // Picture delivery: EnginePicture.cpp
  void pictureLoop() EXCLUDES(mutex_);
  void pictureStep(PictureStage& stage) REQUIRES(mutex_);
  const char* pictureFailure() const REQUIRES(mutex_);
  void takeFrame(PictureStage& stage) REQUIRES(mutex_);
  std::shared_ptr<Picture> convert(const DecodedFrame& decoded);
  bool nextIsDue() REQUIRES(mutex_);
  void deliverStill(PictureStage& stage) REQUIRES(mutex_);
  void announcePicture(PictureStage& stage) REQUIRES(mutex_);
  void startWhenAnnounced(const PictureStage& stage) REQUIRES(mutex_);
  void playPicture(PictureStage& stage) REQUIRES(mutex_);
  void deliverPicture(PictureStage& stage) REQUIRES(mutex_);
  void handOut(const std::shared_ptr<Picture>& picture, bool still) REQUIRES(mutex_);

  // Sound delivery: EngineSound.cpp
  void soundLoop() EXCLUDES(mutex_);
  void soundStep(SoundStage& stage, AudioDevice& device) REQUIRES(mutex_);
  void decodeSound(SoundStage& stage) REQUIRES(mutex_);
  void announceSound(const SoundStage& stage) REQUIRES(mutex_);
  void deliverSound(SoundStage& stage, AudioDevice& device) REQUIRES(mutex_);

  class ListenerCall;
  // The position only moves on within a generation.
  void advanceTo(std::int64_t microseconds) REQUIRES(mutex_);
  void completeSeek() REQUIRES(mutex_);
  // Whether movie time has got there; if not, waits until it does or something changes.
  bool reached(platform::CondVar& wake, std::int64_t microseconds) REQUIRES(mutex_);
  // Ends one stream, and the movie with it when it was the last.
  void endStream(bool& ended, const char* failure = nullptr) REQUIRES(mutex_);

  // Constant once the threads run.
  const PlaybackOptions options_;
  const EngineOutputs outputs_;
  MediaInfo info_;
  bool hasVideo_ = false;
  bool hasAudio_ = false;
  std::int64_t framePeriod_ = 0;  // microseconds

  // Owned by one thread each: demux, decode, picture, sound.
  Demuxer demuxer_;
  std::unique_ptr<Decoder> videoDecoder_;
  std::unique_ptr<VideoConverter> converter_;
  std::unique_ptr<AudioDecoder> audioDecoder_;

  struct Worker {
    std::thread thread;  // main thread
    std::atomic<bool> running{true};
  };
  std::array<std::shared_ptr<Worker>, kThreadCount> workers_;  // main thread

  // A call into a listener that is under way.
  struct Call {
    std::atomic<std::thread::id> thread;  // that makes it
    std::atomic<const platform::Object*> sender{
        nullptr};  // of the listener; null when there is none
  };
  std::array<Call, kThreadCount> calls_;
  std::atomic<int> detaching_{0};  // how many wait for calls to end

  // Lock-free to read.
  std::atomic<std::int64_t> position_{0};
  std::atomic<std::int64_t> duration_{0};
  std::atomic<int> invalidImages_{0};
  std::atomic<bool> givenUp_{false};
  std::atomic<int> volume_{100};
  std::atomic<std::uint64_t> framesDelivered_{0}, stillsDelivered_{0}, framesDropped_{0},
      audioBlocksDelivered_{0};

  const platform::SteadyClock steadyClock_;

  platform::CondVar demuxWake_, decodeWake_, pictureWake_, soundWake_;
  platform::Mutex mutex_;
  bool quit_ GUARDED_BY(mutex_) = false;
  bool soundQuit_ GUARDED_BY(mutex_) = false;
  bool playing_ GUARDED_BY(mutex_) = false;
  std::uint32_t generation_ GUARDED_BY(mutex_) = 1;
  std::int64_t target_ GUARDED_BY(mutex_) = 0;  // of the generation, microseconds
  bool seekPending_ GUARDED_BY(mutex_) = false;
  bool stillWanted_ GUARDED_BY(mutex_) = false;
  PacketQueue videoPackets_ GUARDED_BY(mutex_), audioPackets_ GUARDED_BY(mutex_);
  bool converted_ GUARDED_BY(mutex_) = false;   // a picture, ever
  PictureSize pictureSize_ GUARDED_BY(mutex_);  // of the generation's first picture; 0 until known
  BoundedQueue<DecodedFrame, 2> frames_ GUARDED_BY(mutex_);
  // Converted, on their way back to be let go by the decode thread: the decoder's buffers stay with
  // the thread that manages them.
  std::vector<FramePtr> spent_ GUARDED_BY(mutex_);
  std::string failure_ GUARDED_BY(mutex_);       // to read on to the end
  bool framesEnded_ GUARDED_BY(mutex_) = false;  // none follows those in frames_
  // Announced, or there is none: enough to start the clock.
  bool pictureReady_ GUARDED_BY(mutex_) = false, soundReady_ GUARDED_BY(mutex_) = false;
  // Delivered to the end.
  bool pictureEnded_ GUARDED_BY(mutex_) = false, soundEnded_ GUARDED_BY(mutex_) = false;
  bool endTold_ GUARDED_BY(mutex_) = false;
  MediaClock clock_ GUARDED_BY(mutex_){steadyClock_};
  Listener listener_ GUARDED_BY(mutex_);
};

}  // namespace avcapture
