// Sends what the journal keeps to the visitors, each as fast as it reads. [main-thread]
#pragma once

#include <cstdint>
#include <functional>
#include <map>

#include "meeting/MessageJournal.h"
#include "meeting/room/RoomText.h"
#include "meeting/room/WebServer.h"

namespace meeting {

class MessageFeed {
 public:
  using Send = std::function<void(VisitorId visitor, Payload messages)>;

  // The journal must outlive the feed; it keeps messages from now on.
  MessageFeed(MessageJournal& journal, Send send);

  void add(VisitorId visitor) { readers_[visitor]; }
  void remove(VisitorId visitor);
  // The visitor has got the messages up to this one.
  void read(VisitorId visitor, std::uint64_t number);
  // Whether the visitor wants media data as well.
  void setSamples(VisitorId visitor, bool wanted);
  // Sends what has come since.
  void update();

 private:
  struct Reader {
    std::uint64_t seen = 0;  // number of the last message looked at
    std::uint64_t sent = 0;  // number of the last message sent
    std::uint64_t read = 0;  // and of the last one confirmed
    bool samples = false;
  };

  void sendTo(VisitorId visitor, Reader& reader);
  void keepWhatIsWanted();

  MessageJournal& journal_;
  const Send send_;
  std::map<VisitorId, Reader> readers_;
};

}  // namespace meeting
