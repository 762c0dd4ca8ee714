// The control bar that a player view shows at its lower edge: play or pause, position, volume.
// [main-thread]
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "avcapture/KTVideoPlayer.h"
#include "platform/RunLoop.h"
#include "platform/View.h"

namespace avcapture {

class ControlBarView final : public platform::View {
 public:
  explicit ControlBarView(std::weak_ptr<KTVideoPlayer> player);

  // While shown it looks at the player four times a second, and draws anew what has changed. A view
  // that is shown must be hidden before it is let go.
  void show();
  void hide();
  bool shown() const { return timer_ != nullptr; }
  // The view's superview has that size now.
  void setRoom(const platform::Size& room);

 private:
  // What can be seen.
  struct Face {
    bool playing = false;
    std::string time;
    int played = 0;  // pixels of the position bar
    int volume = 0;  // 0 to 100
    platform::Size size;
    friend bool operator==(const Face&, const Face&) = default;
  };
  Face faceOf(KTVideoPlayer& player) const;
  void look();
  static std::shared_ptr<const platform::Image> draw(const Face& face);

  std::weak_ptr<KTVideoPlayer> player_;
  std::shared_ptr<platform::Timer> timer_;  // while shown; it keeps this view
  Face face_;                               // drawn last
};

}  // namespace avcapture
