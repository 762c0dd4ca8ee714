#include "avcapture/StatusView.h"

#include "avcapture/Modes.h"
#include "avcapture/StatusPicture.h"

namespace avcapture {

void StatusView::setCode(int code) {
  if (code == code_) return;
  code_ = code;
  changed();
}

void StatusView::setRoom(const platform::Size& room) {
  if (room == room_) return;
  room_ = room;
  changed();
}

// Drawing is put off because the first text of a process costs as much as ten later ones and more,
// and because several changes often come at once: a channel is confirmed, a view gets its size.
void StatusView::changed() {
  if (!hasStatusPicture(code_)) {
    setContents(nullptr);
  } else if (!drawing_) {
    platform::performAfterDelay(shared_from_this(), &StatusView::draw, {}, {}, kEveryMode);
    drawing_ = true;
  }
}

void StatusView::draw() {
  drawing_ = false;
  StatusPicture picture = drawStatus(code_, room_);
  if (picture.image) setFrame(picture.frame);
  setContents(std::move(picture.image));
}

}  // namespace avcapture
