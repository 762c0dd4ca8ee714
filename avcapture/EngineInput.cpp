// The demux and the decode thread of the engine.
#include <algorithm>

#include "avcapture/Engine.h"

namespace avcapture {

namespace {

// Reading rests when every stream has something and together they have this much; it goes on when
// they have few, so that its thread need not wake for every packet.
constexpr std::size_t kEnoughBytes = std::size_t{512} << 10;
constexpr std::size_t kFewBytes = kEnoughBytes / 2;
// In a badly interleaved file one stream can lie far behind the other: this much is read in search
// of it; then it has to do without.
constexpr std::size_t kMostBytes = std::size_t{64} << 20;

}  // namespace

bool Engine::starved() const { return videoPackets_.bytes() + audioPackets_.bytes() >= kMostBytes; }

bool Engine::packetsSuffice(std::size_t enough) const {
  if (starved()) return true;
  const bool someMissing =
      (hasVideo_ && videoPackets_.empty()) || (hasAudio_ && !soundQuit_ && audioPackets_.empty());
  return !someMissing && videoPackets_.bytes() + audioPackets_.bytes() >= enough;
}

void Engine::readOnWhenFew() {
  if (!packetsSuffice(kFewBytes)) demuxWake_.notifyOne();
}

void Engine::demuxLoop() {
  std::uint32_t generation = 1;
  bool ended = false;
  const int videoIndex = demuxer_.video() != nullptr ? demuxer_.video()->index : -1;
  const platform::Lock lock(mutex_);
  while (!quit_) {
    if (generation != generation_) {
      generation = generation_;
      ended = false;
      const std::int64_t target = target_;
      const platform::Unlocked unlocked(mutex_);
      demuxer_.seek(target);
      continue;
    }
    if (ended || packetsSuffice(kEnoughBytes)) {
      startClockWhenReady();
      demuxWake_.wait(mutex_);
      continue;
    }
    PacketPtr packet;
    {
      const platform::Unlocked unlocked(mutex_);
      packet = demuxer_.read();
    }
    if (generation != generation_) continue;
    if (!packet) {
      ended = true;
      failure_ = demuxer_.failure();
      videoPackets_.end();
      audioPackets_.end();
      decodeWake_.notifyOne();
      soundWake_.notifyOne();
    } else if (packet->stream_index == videoIndex) {
      if (pictureSize_ == PictureSize{}) tellPictureSize();
      videoPackets_.push(std::move(packet));
      decodeWake_.notifyOne();
    } else if (!soundQuit_) {
      audioPackets_.push(std::move(packet));
      soundWake_.notifyOne();
    }
  }
}

// Long before the picture itself is there.
void Engine::tellPictureSize() {
  pictureSize_ = demuxer_.pictureSize();
  pictureWake_.notifyOne();
}

void Engine::decodeLoop() {
  std::uint32_t generation = 1;
  bool drained = false;
  SeekFilter filter;
  const platform::Lock lock(mutex_);
  while (!quit_) {
    if (generation != generation_) {
      generation = generation_;
      drained = false;
      filter.restart(target_);
      const platform::Unlocked unlocked(mutex_);
      videoDecoder_->flush();
      continue;
    }
    if (drained || (videoPackets_.empty() && !videoPackets_.ended())) {
      decodeWake_.wait(mutex_);
      continue;
    }
    const PacketPtr packet = videoPackets_.pop();
    drained = packet == nullptr;
    readOnWhenFew();
    {
      const platform::Unlocked unlocked(mutex_);
      const auto out = [&](DecodedFrame frame) { return passOn(std::move(frame), generation); };
      videoDecoder_->send(packet.get(), !isPassedOver(packet.get(), filter));
      bool wanted = true;
      while (FramePtr frame = videoDecoder_->receive()) {
        const std::int64_t time = videoDecoder_->timeline().microseconds(frame->pts);
        wanted = wanted && filter.push({std::move(frame), time}, out);
      }
      if (drained && wanted) filter.finish(out);
    }
    if (drained && generation == generation_) {
      framesEnded_ = true;
      pictureWake_.notifyOne();
    }
  }
}

bool Engine::isPassedOver(const AVPacket* packet, SeekFilter& filter) const {
  if (packet == nullptr || packet->pts == AV_NOPTS_VALUE || packet->dts == AV_NOPTS_VALUE) {
    return false;
  }
  const Timeline& timeline = videoDecoder_->timeline();
  return filter.passesOver(timeline.microseconds(packet->pts), timeline.microseconds(packet->dts));
}

// Waits for room. False when nobody wants the frame any more.
bool Engine::passOn(DecodedFrame frame, std::uint32_t generation) {
  const platform::Lock lock(mutex_);
  spent_.clear();
  while (!quit_ && generation == generation_ && frames_.full()) decodeWake_.wait(mutex_);
  if (quit_ || generation != generation_) return false;
  frames_.push(std::move(frame));
  pictureWake_.notifyOne();
  return true;
}

}  // namespace avcapture
