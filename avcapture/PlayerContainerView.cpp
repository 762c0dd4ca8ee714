#include "avcapture/PlayerContainerView.h"

namespace avcapture {

PlayerContainerView::PlayerContainerView(std::weak_ptr<KTVideoPlayer> player)
    : player_(std::move(player)), controlBar_(std::make_shared<ControlBarView>(player_)) {
  setAutoresizingMask(platform::kViewWidthSizable | platform::kViewHeightSizable);
  addSubview(picture_);
  addSubview(status_);
  addSubview(controlBar_);
}

void PlayerContainerView::setFrame(const platform::Rect& frame) {
  View::setFrame(frame);
  picture_->setFrame({{0, 0}, frame.size});
  status_->setRoom(frame.size);
  controlBar_->setRoom(frame.size);
}

}  // namespace avcapture
