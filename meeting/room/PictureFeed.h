// Pictures of the views that visitors look at: made only when something has changed, and sent only
// as fast as each visitor draws them. [main-thread]
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "meeting/RoomModel.h"
#include "meeting/Snapshot.h"
#include "meeting/room/PictureEncoder.h"
#include "meeting/room/RoomText.h"
#include "meeting/room/WebServer.h"

namespace meeting {

class PictureFeed : public std::enable_shared_from_this<PictureFeed> {
 public:
  using Send = std::function<void(VisitorId visitor, const std::string& view, Payload picture)>;

  // Lives in a shared pointer.
  PictureFeed(RoomModel& model, Send send);
  ~PictureFeed();
  PictureFeed(const PictureFeed&) = delete;
  PictureFeed& operator=(const PictureFeed&) = delete;

  // The views that the visitor sees from now on; none when it has gone.
  void watch(VisitorId visitor, const std::set<std::string>& views);
  // A picture of the view is no longer on its way: the visitor has drawn it, or a newer one has
  // taken its place before it was sent. The visitor can take another one.
  void settled(VisitorId visitor, const std::string& id);
  // Has a new picture made of each view that has changed.
  void update();

 private:
  // A visitor's look at a view.
  struct Look {
    std::uint64_t sent = 0;  // number of the last picture sent
    int onWay = 0;           // pictures sent and not settled yet
  };
  struct Watched {
    std::weak_ptr<platform::View> view;
    Scene scene;             // the last one given to the encoder
    Payload picture;         // the newest one, null before the first
    std::uint64_t made = 0;  // pictures so far
    std::map<VisitorId, Look> looks;
  };

  void finished(const std::string& id, const std::vector<unsigned char>& jpeg);
  void offer(const std::string& id, const Watched& watched, VisitorId visitor, Look& look) const;

  RoomModel& model_;
  const Send send_;
  std::map<std::string, Watched> watched_;  // by id; none without a look
  std::unique_ptr<PictureEncoder> encoder_;
};

}  // namespace meeting
