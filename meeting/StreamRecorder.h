// What is known about the presenter's stream, put together from what its channel receives: state,
// formats, counts, timing, checksums.
//
// Threads: the observer's functions as the platform calls them; queries on the main thread.
#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "meeting/FrameMd5Writer.h"
#include "meeting/MultimediaPlatform.h"
#include "meeting/SampleStatistics.h"
#include "platform/Mutex.h"

namespace meeting {

enum class StreamState : std::uint8_t { starting, registered, joined, playing, paused, stopped };
const char* stateName(StreamState state);

class StreamRecorder final : public StreamObserver {
 public:
  // `md5` may be null.
  StreamRecorder(std::shared_ptr<const platform::Clock> clock, std::unique_ptr<FrameMd5Writer> md5);

  // Called on the main thread, from a turn of the run loop of its own, after the state has changed.
  void setStateChanged(std::function<void(StreamState)> changed) { changed_ = std::move(changed); }

  // Called in the same way, when the presenter should send its picture again.
  void setPictureWanted(std::function<void()> wanted) { pictureWanted_ = std::move(wanted); }

  // Who hears what is sent from now on, instead of who did; null for nobody. [main-thread]
  void listen(std::shared_ptr<SoundSink> sink) EXCLUDES(soundMutex_);

  StreamState state() const { return state_; }
  std::uint64_t durationMs() const { return durationMs_; }
  std::int64_t positionMs() const { return positionMs_; }  // at the latest source status
  const std::optional<VideoFormat>& video() const { return video_; }
  const std::optional<AudioFormat>& audio() const { return audio_; }
  SampleStatistics& statistics() { return statistics_; }
  // Whether all checksums have been written; true when none were asked for.
  int closeMd5() { return md5_ ? md5_->close() : 0; }

  void onRegistered(std::uint64_t durationMs, MM_MEDIASTREAMING_MEDIACONTENENT content) override;
  void onJoined() override;
  void onSourceStatus(MM_MEDIASTREAMING_SOURCE_STATUS status, std::int64_t positionMs) override;
  void onVideoFormat(const VideoFormat& format) override;
  void onAudioFormat(const AudioFormat& format) override EXCLUDES(soundMutex_);
  void onPictureWanted() override;
  void onVideo(const VideoSample& sample) override;
  void onAudio(const AudioSample& sample) override EXCLUDES(soundMutex_);
  void onMalformed() override;

 private:
  void setState(StreamState state);
  // On a turn of the run loop of its own, unless the recorder has ended by then.
  void later(std::function<void()> work);

  SampleStatistics statistics_;
  const std::unique_ptr<FrameMd5Writer> md5_;
  // Main thread:
  std::function<void(StreamState)> changed_;
  std::function<void()> pictureWanted_;
  std::shared_ptr<int> alive_ = std::make_shared<int>();  // expires with the recorder
  StreamState state_ = StreamState::starting;
  std::uint64_t durationMs_ = 0;
  std::int64_t positionMs_ = 0;
  std::optional<VideoFormat> video_;
  std::optional<AudioFormat> audio_;

  platform::Mutex soundMutex_;
  std::shared_ptr<SoundSink> sink_ GUARDED_BY(soundMutex_);
  AudioFormat soundFormat_ GUARDED_BY(soundMutex_);
};

}  // namespace meeting
