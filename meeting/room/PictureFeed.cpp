#include "meeting/room/PictureFeed.h"

#include <algorithm>
#include <utility>

#include "platform/RunLoop.h"

namespace meeting {

namespace {
// One that is drawn while the next is on its way.
constexpr int kMaxOnWay = 2;
}  // namespace

PictureFeed::PictureFeed(RoomModel& model, Send send) : model_(model), send_(std::move(send)) {}

PictureFeed::~PictureFeed() {
  for (const auto& [id, watched] : watched_) model_.setWatched(id, false);
}

void PictureFeed::watch(VisitorId visitor, const std::set<std::string>& views) {
  for (const std::string& id : views) {
    const auto found = watched_.find(id);
    if (found == watched_.end() && model_.view(id) == nullptr) continue;
    Watched& watched = watched_[id];
    const auto [look, isNew] = watched.looks.try_emplace(visitor);
    if (isNew) offer(id, watched, visitor, look->second);
  }
  for (auto entry = watched_.begin(); entry != watched_.end();) {
    auto& [id, watched] = *entry;
    if (views.count(id) == 0) watched.looks.erase(visitor);
    if (watched.looks.empty()) {
      model_.setWatched(id, false);
      entry = watched_.erase(entry);
    } else {
      ++entry;
    }
  }
}

void PictureFeed::settled(VisitorId visitor, const std::string& id) {
  const auto found = watched_.find(id);
  if (found == watched_.end()) return;
  const auto look = found->second.looks.find(visitor);
  if (look == found->second.looks.end()) return;
  look->second.onWay = std::max(look->second.onWay - 1, 0);
  offer(id, found->second, visitor, look->second);
}

void PictureFeed::update() {
  for (auto& [id, watched] : watched_) {
    // Who could not be sent the newest one has another try.
    for (auto& [visitor, look] : watched.looks) offer(id, watched, visitor, look);
    const auto view = model_.view(id);
    if (view == nullptr) continue;
    // A participant that comes back has a new view, of which the model knows nothing.
    if (watched.view.lock() != view) {
      watched.view = view;
      model_.setWatched(id, true);
    }
    Scene scene = captureScene(*view);
    if (watched.scene == scene) continue;
    watched.scene = scene;
    if (encoder_ == nullptr) {
      encoder_ = std::make_unique<PictureEncoder>(
          [weak = weak_from_this()](const std::string& name, std::vector<unsigned char> jpeg) {
            platform::dispatchOnMainThread([weak, name, jpeg = std::move(jpeg)] {
              if (const auto self = weak.lock()) self->finished(name, jpeg);
            });
          });
    }
    encoder_->encode(id, std::move(scene));
  }
}

void PictureFeed::finished(const std::string& id, const std::vector<unsigned char>& jpeg) {
  const auto found = watched_.find(id);
  if (found == watched_.end() || jpeg.empty()) return;
  Watched& watched = found->second;
  watched.picture = pictureData(id, jpeg);
  ++watched.made;
  for (auto& [visitor, look] : watched.looks) offer(id, watched, visitor, look);
}

void PictureFeed::offer(const std::string& id, const Watched& watched, VisitorId visitor,
                        Look& look) const {
  if (look.onWay >= kMaxOnWay || look.sent == watched.made) return;
  send_(visitor, id, watched.picture);  // where there is memory for it
  ++look.onWay;
  look.sent = watched.made;
}

}  // namespace meeting
