// The picture delivery thread of the engine.
#include "avcapture/Engine.h"
#include "avcapture/ListenerCall.h"

namespace avcapture {

void Engine::pictureLoop() {
  PictureStage stage;
  Lock lock(mutex_);
  while (!quit_) {
    if (stage.generation != generation_) stage = {.generation = generation_};
    pictureStep(lock, stage);
  }
}

// Does the first thing that there is to do, or waits for a change.
void Engine::pictureStep(Lock& lock, PictureStage& stage) {
  if (!stage.next && !frames_.empty()) {
    takeFrame(lock, stage);
  } else if (!stage.arrived && framesEnded_) {
    stage.arrived = pictureReady_ = true;  // a generation without a picture
    startClockWhenReady();
  } else if (stillWanted_ && (stage.current || stage.next)) {
    deliverStill(lock, stage);
  } else if (seekPending_ && stage.arrived) {
    completeSeek(lock);
  } else if (playing_ && stage.next) {
    playPicture(lock, stage);
  } else if (playing_ && framesEnded_ && !pictureEnded_) {
    if (reached(lock, pictureWake_, stage.end)) endStream(lock, pictureEnded_);
  } else {
    pictureWake_.wait(lock);
  }
}

// Whether the time of the picture that waits in the queue has come: the one before it is late.
bool Engine::nextIsDue() const {
  return options_.paced && playing_ && clock_.running() && !frames_.empty() &&
         frames_.front().microseconds <= clock_.now();
}

void Engine::takeFrame(Lock& lock, PictureStage& stage) {
  DecodedFrame decoded = frames_.pop();
  decodeWake_.notify_one();
  // Dropped before the work of converting it, never after: a slow machine still shows pictures.
  if (stage.arrived && nextIsDue()) {
    ++framesDropped_;
    spent_.push_back(std::move(decoded.frame));
    return;
  }
  const bool first = !stage.arrived;
  lock.unlock();
  const Timeline& timeline = videoDecoder_->timeline();
  const std::uint32_t milliseconds = timeline.milliseconds(decoded.frame->pts);
  std::shared_ptr<Picture> picture = converter_->convert(*decoded.frame);
  if (picture) {
    picture->microseconds = decoded.microseconds;
    picture->duration = timeline.duration(decoded.frame->pkt_duration);
    picture->milliseconds = milliseconds;
    // What a standing player shows; a playing one shows it when its time has come, soon enough.
    if (first) outputs_.show({picture, &picture->image});
  }
  lock.lock();
  spent_.push_back(std::move(decoded.frame));
  if (!picture) ++framesDropped_;
  if (!picture || stage.generation != generation_) return;
  stage.next = std::move(picture);
  stage.arrived = pictureReady_ = true;
  startClockWhenReady();
}

void Engine::deliverStill(Lock& lock, PictureStage& stage) {
  stillWanted_ = false;
  if (!stage.current) stage.current = stage.next;
  invalidImages_ = 1;
  handOut(lock, stage.current, true);
}

void Engine::playPicture(Lock& lock, PictureStage& stage) {
  if (reached(lock, pictureWake_, stage.next->microseconds)) {
    deliverPicture(lock, stage);
  }
}

void Engine::deliverPicture(Lock& lock, PictureStage& stage) {
  stage.current = std::move(stage.next);
  stage.next.reset();
  const std::int64_t duration = stage.current->duration;
  stage.end = stage.current->microseconds + (duration > 0 ? duration : framePeriod_);
  advanceTo(stage.current->microseconds);
  const std::shared_ptr<Picture> picture = stage.current;
  handOut(lock, picture, false);
  lock.unlock();
  outputs_.show({picture, &picture->image});
  lock.lock();
}

void Engine::handOut(Lock& lock, const std::shared_ptr<Picture>& picture, bool still) {
  std::optional<ListenerCall> call(std::in_place, *this, kPicture);
  lock.unlock();
  if (AVStreamDataListener* listener = call->listener()) {
    ++(still ? stillsDelivered_ : framesDelivered_);
    listener->newImageArrive(picture->pixels, picture->image.width, picture->image.height,
                             picture->milliseconds);
  }
  call.reset();
  lock.lock();
}

}  // namespace avcapture
