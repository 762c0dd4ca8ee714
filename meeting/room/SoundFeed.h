// Sends what participants hear to the visitors who listen to them. [main-thread]
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>

#include "meeting/RoomModel.h"
#include "meeting/room/RoomText.h"
#include "meeting/room/WebServer.h"

namespace meeting {

class SoundFeed {
 public:
  // Must be cheap. [any-thread] Not called any more once the feed has ended.
  using Send = std::function<void(VisitorId visitor, Payload sound)>;

  SoundFeed(RoomModel& model, Send send);
  ~SoundFeed();
  SoundFeed(const SoundFeed&) = delete;
  SoundFeed& operator=(const SoundFeed&) = delete;

  // From now on the visitor hears this participant, or nobody when it is empty.
  void listen(VisitorId visitor, const std::string& participant);

 private:
  class FanOut;
  void leave(VisitorId visitor);

  RoomModel& model_;
  const Send send_;
  std::map<std::string, std::shared_ptr<FanOut>> fans_;  // by participant; none without a listener
};

}  // namespace meeting
