// The container view of a player: by it a player is found again in a tree of views. [main-thread]
#pragma once

#include <memory>
#include <utility>

#include "avcapture/KTVideoPlayer.h"
#include "platform/View.h"

namespace avcapture {

class PlayerContainerView : public platform::View {
 public:
  explicit PlayerContainerView(std::weak_ptr<KTVideoPlayer> player) : player_(std::move(player)) {}
  std::shared_ptr<KTVideoPlayer> player() const { return player_.lock(); }

 private:
  std::weak_ptr<KTVideoPlayer> player_;
};

}  // namespace avcapture
