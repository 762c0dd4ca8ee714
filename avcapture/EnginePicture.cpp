// The picture delivery thread of the engine.
#include <new>

#include "avcapture/Engine.h"
#include "avcapture/ListenerCall.h"

namespace avcapture {

void Engine::pictureLoop() {
  PictureStage stage;
  const platform::Lock lock(mutex_);
  while (!quit_) {
    if (stage.generation != generation_) stage = {.generation = generation_};
    pictureStep(stage);
  }
}

// Does the first thing that there is to do, or waits for a change.
void Engine::pictureStep(PictureStage& stage) {
  if (!stage.next && !frames_.empty()) {
    takeFrame(stage);
  } else if (!stage.arrived && framesEnded_) {
    stage.arrived = pictureReady_ = true;  // a generation without a picture
    startClockWhenReady();
  } else if (stillWanted_ && (stage.current || stage.next)) {
    deliverStill(stage);
  } else if (seekPending_ && stage.arrived) {
    completeSeek();
  } else if (playing_ && !pictureReady_ && stage.announced != pictureSize_) {
    announcePicture(stage);
  } else if (playing_ && stage.next) {
    playPicture(stage);
  } else if (playing_ && framesEnded_ && !pictureEnded_) {
    if (!reached(pictureWake_, stage.end)) return;
    endStream(pictureEnded_, pictureFailure());
  } else {
    pictureWake_.wait(mutex_);
  }
}

// Why there was no picture; null when there was one, or none to be expected. At the end, where the
// decoder's thread rests.
const char* Engine::pictureFailure() const {
  if (videoDecoder_->wasInVain()) return "no picture could be decoded";
  const bool inVain = !converted_ && framesDropped_ > 0;  // dropped without ever being late
  return inVain ? "no picture could be converted" : nullptr;
}

// Whether the time of the picture that waits in the queue has come: the one before it is late.
bool Engine::nextIsDue() {
  return options_.paced && playing_ && clock_.running() && !frames_.empty() &&
         clock_.reached(frames_.front().microseconds);
}

void Engine::takeFrame(PictureStage& stage) {
  DecodedFrame decoded = frames_.pop();
  decodeWake_.notifyOne();
  // Dropped before the work of converting it, never after: a slow machine still shows pictures.
  if (stage.arrived && nextIsDue()) {
    ++framesDropped_;
    spent_.push_back(std::move(decoded.frame));
    return;
  }
  const bool first = !stage.arrived;
  std::shared_ptr<Picture> picture;
  {
    const platform::Unlocked unlocked(mutex_);
    picture = convert(decoded);
    // What a standing player shows; a playing one shows it when its time has come, soon enough.
    if (picture && first) outputs_.show({picture, &picture->image});
  }
  spent_.push_back(std::move(decoded.frame));
  if (!picture) ++framesDropped_;
  converted_ = converted_ || picture;
  if (!picture || stage.generation != generation_) return;
  pictureSize_ = {picture->image.width, picture->image.height};
  stage.next = std::move(picture);
  stage.arrived = true;
  startWhenAnnounced(stage);
}

// Null when it cannot be shown.
std::shared_ptr<Picture> Engine::convert(const DecodedFrame& decoded) {
  const Timeline& timeline = videoDecoder_->timeline();
  const std::uint32_t milliseconds = timeline.milliseconds(decoded.frame->pts);
  std::shared_ptr<Picture> picture = converter_->convert(*decoded.frame);
  if (!picture) return nullptr;
  picture->microseconds = decoded.microseconds;
  picture->duration = timeline.duration(decoded.frame->pkt_duration);
  picture->milliseconds = milliseconds;
  return picture;
}

void Engine::deliverStill(PictureStage& stage) {
  stillWanted_ = false;
  if (!stage.current) stage.current = stage.next;
  invalidImages_ = 1;
  handOut(stage.current, true);
}

// Whoever has something to prepare for the first picture does so before the clock runs, not while
// that picture is due.
void Engine::announcePicture(PictureStage& stage) {
  stage.announced = pictureSize_;
  const auto milliseconds = static_cast<std::uint32_t>(target_ / 1000);
  {
    const ListenerCall call(*this, kPicture);
    const Told told = call.tell([&](AVStreamDataListener& listener) {
      listener.newImageArrive(nullptr, stage.announced.width, stage.announced.height, milliseconds);
    });
    if (told == Told::kNoMemory) throw std::bad_alloc();
  }
  startWhenAnnounced(stage);
}

void Engine::startWhenAnnounced(const PictureStage& stage) {
  if (stage.generation != generation_ || !stage.next || stage.announced != pictureSize_) return;
  pictureReady_ = true;
  startClockWhenReady();
}

void Engine::playPicture(PictureStage& stage) {
  if (reached(pictureWake_, stage.next->microseconds)) {
    deliverPicture(stage);
  }
}

void Engine::deliverPicture(PictureStage& stage) {
  stage.current = std::move(stage.next);
  stage.next.reset();
  const std::int64_t duration = stage.current->duration;
  stage.end = stage.current->microseconds + (duration > 0 ? duration : framePeriod_);
  advanceTo(stage.current->microseconds);
  const std::shared_ptr<Picture> picture = stage.current;
  handOut(picture, false);
  const platform::Unlocked unlocked(mutex_);
  outputs_.show({picture, &picture->image});
}

void Engine::handOut(const std::shared_ptr<Picture>& picture, bool still) {
  const ListenerCall call(*this, kPicture);
  const Told told = call.tell([&](AVStreamDataListener& listener) {
    ++(still ? stillsDelivered_ : framesDelivered_);
    listener.newImageArrive(picture->pixels, picture->image.width, picture->image.height,
                            picture->milliseconds);
  });
  if (told != Told::kAll) ++framesDropped_;
}

}  // namespace avcapture
