#include "meeting/StreamRecorder.h"

#include <utility>

#include "platform/RunLoop.h"

namespace meeting {

namespace {
constexpr std::uint32_t kSinkBits = 16;  // what listeners take
}

const char* stateName(StreamState state) {
  switch (state) {
    case StreamState::starting:
      return "starting";
    case StreamState::registered:
      return "registered";
    case StreamState::joined:
      return "joined";
    case StreamState::playing:
      return "playing";
    case StreamState::paused:
      return "paused";
    case StreamState::stopped:
      return "stopped";
  }
  return "unknown";
}

StreamRecorder::StreamRecorder(std::shared_ptr<const platform::Clock> clock,
                               std::unique_ptr<FrameMd5Writer> md5)
    : statistics_(std::move(clock)), md5_(std::move(md5)) {}

void StreamRecorder::onRegistered(std::uint64_t durationMs,
                                  MM_MEDIASTREAMING_MEDIACONTENENT /*content*/) {
  durationMs_ = durationMs;
  setState(StreamState::registered);
}

void StreamRecorder::onJoined() { setState(StreamState::joined); }

void StreamRecorder::onSourceStatus(MM_MEDIASTREAMING_SOURCE_STATUS status,
                                    std::int64_t positionMs) {
  switch (status) {
    case MM_MEDIASTREAMING_PLAY:
      setState(StreamState::playing);
      statistics_.restartTiming();
      break;
    case MM_MEDIASTREAMING_PAUSE:
      setState(StreamState::paused);
      break;
    case MM_MEDIASTREAMING_STOP:
      setState(StreamState::stopped);
      break;
    default:
      return;  // activity of the window
  }
  positionMs_ = positionMs;
}

void StreamRecorder::onVideoFormat(const VideoFormat& format) { video_ = format; }

void StreamRecorder::onAudioFormat(const AudioFormat& format) {
  audio_ = format;
  const platform::Lock lock(soundMutex_);
  soundFormat_ = format;
}

void StreamRecorder::listen(std::shared_ptr<SoundSink> sink) {
  const platform::Lock lock(soundMutex_);
  sink_ = std::move(sink);
}

void StreamRecorder::onPictureWanted() {
  later([this] {
    if (pictureWanted_) pictureWanted_();
  });
}

void StreamRecorder::onVideo(const VideoSample& sample) {
  statistics_.video(sample);
  if (md5_) md5_->add(sample);
}

void StreamRecorder::onAudio(const AudioSample& sample) {
  statistics_.audio(sample);
  std::shared_ptr<SoundSink> sink;
  AudioFormat format;
  {
    const platform::Lock lock(soundMutex_);
    sink = sink_;
    format = soundFormat_;
  }
  if (sink && format.bits == kSinkBits) sink->sound(format, sample);
}

void StreamRecorder::onMalformed() { statistics_.malformed(); }

void StreamRecorder::setState(StreamState state) {
  state_ = state;
  later([this, state] {
    if (changed_) changed_(state);
  });
}

void StreamRecorder::later(std::function<void()> work) {
  platform::dispatchOnMainThread([work = std::move(work), alive = std::weak_ptr<int>(alive_)] {
    if (!alive.expired()) work();
  });
}

}  // namespace meeting
