// The container view of a player: the picture, the status over it, the control bar over both. By it
// a player is found again in a tree of views. [main-thread]
#pragma once

#include <memory>
#include <utility>

#include "avcapture/ControlBarView.h"
#include "avcapture/KTVideoPlayer.h"
#include "avcapture/StatusView.h"
#include "platform/View.h"

namespace avcapture {

class PlayerContainerView final : public platform::View {
 public:
  explicit PlayerContainerView(std::weak_ptr<KTVideoPlayer> player);
  std::shared_ptr<KTVideoPlayer> player() const { return player_.lock(); }

  const std::shared_ptr<platform::View>& picture() const { return picture_; }
  StatusView& status() { return *status_; }
  ControlBarView& controlBar() { return *controlBar_; }

  // The views in it follow.
  void setFrame(const platform::Rect& frame) override;

 private:
  std::weak_ptr<KTVideoPlayer> player_;
  std::shared_ptr<platform::View> picture_ = std::make_shared<platform::View>();
  std::shared_ptr<StatusView> status_ = std::make_shared<StatusView>();
  std::shared_ptr<ControlBarView> controlBar_;
};

}  // namespace avcapture
