// What the player view looks like and where it stands.
#include "avcapture/FFVideoPlayer.h"
#include "avcapture/Modes.h"
#include "avcapture/StatusPicture.h"

namespace avcapture {

namespace {

platform::View& windowOf(platform::View& view) {
  platform::View* root = &view;
  while (root->superview() != nullptr) root = root->superview();
  return *root;
}

}  // namespace

// --- placing ---

void FFVideoPlayer::attachToSuperView(platform::View* superview) {
  if (superview == nullptr) {
    placeholder_.reset();
    container_->removeFromSuperview();
  } else if (fullscreen()) {
    fillWindow(*superview);
  } else {
    if (container_->superview() != superview) superview->addSubview(container_);
    superFrameSizeChanged();
  }
}

void FFVideoPlayer::superFrameSizeChanged() {
  if (const platform::View* superview = container_->superview()) {
    container_->setFrame({{0, 0}, superview->frame().size});
  }
}

void FFVideoPlayer::repositionPlayer(const platform::Value& /*argument*/) {
  superFrameSizeChanged();
}

// The views around get their new sizes after this has been said.
void FFVideoPlayer::willChangeFitMode() {
  platform::performAfterDelay(shared_from_this(), &KTVideoPlayer::superFrameSizeChanged, {}, {},
                              kEveryMode);
}

void FFVideoPlayer::setFullscreen(const platform::Value& on) {
  if (on.boolValue() == fullscreen()) return;
  if (!fullscreen()) {
    platform::View* const home = container_->superview();
    if (home != nullptr) fillWindow(*home);
    return;
  }
  // What the view came from may have gone meanwhile.
  const auto placeholder = std::exchange(placeholder_, nullptr);
  platform::View* const home = placeholder->superview();
  placeholder->removeFromSuperview();
  attachToSuperView(home);
}

// Full-screen, the container hangs in the window itself, where who removes our home doesn't reach.
void FFVideoPlayer::deactive() {
  active_ = false;
  setFullscreen(false);
}

// Puts the container over everything in the window that `home` is in.
void FFVideoPlayer::fillWindow(platform::View& home) {
  if (!placeholder_) placeholder_ = std::make_shared<platform::View>();
  home.addSubview(placeholder_);
  windowOf(home).addSubview(container_);
  superFrameSizeChanged();
}

// --- appearance ---

void FFVideoPlayer::setStatusViewType(const platform::Value& code) {
  statusViewType_ = code.intValue();
  broken_ = false;
  showStatus();
}

void FFVideoPlayer::setMediaType(int type) {
  mediaType_ = type;
  showStatus();
}

void FFVideoPlayer::showStatus() {
  const int code = statusViewType();
  const bool nothingToSee = code == kStatusSharing && mediaType() == kMediaTypeAudio;
  container_->status().setCode(nothingToSee ? kStatusSoundOnly : code);
}

void FFVideoPlayer::setBroken(bool broken) {
  broken_ = broken;
  showStatus();
}

void FFVideoPlayer::showEmbedControlbar(const platform::Value& show) {
  if (show.boolValue() == controlbarShown() || state_ == State::kDead) return;
  if (!show.boolValue()) {
    container_->controlBar().hide();
    return;
  }
  container_->controlBar().show();
  if (delegate_ != nullptr) delegate_->hideOtherEmbedCtrlbarWindow();
}

}  // namespace avcapture
