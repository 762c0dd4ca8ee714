// The room: a web page that shows a meeting's participants and the messages between them, and lets
// its visitors act as the participants' users. [main-thread]
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <variant>

#include "meeting/MessageJournal.h"
#include "meeting/RoomModel.h"

namespace meeting {

struct RoomSetup {
  std::string address = "127.0.0.1";  // numeric, or "localhost"
  std::uint16_t port = 0;             // 0: any that is free
  // In the path of every request. Nothing stands for none on a loopback address, which only this
  // machine can reach, and for a random one on any other.
  std::optional<std::string> token = std::nullopt;
};

class RoomServer {
 public:
  // A room that is open, or one line that says why it is not. Model and journal must outlive it;
  // from now on the journal keeps messages.
  static std::variant<std::unique_ptr<RoomServer>, std::string> open(RoomModel& model,
                                                                     MessageJournal& journal,
                                                                     RoomSetup setup);
  // Disconnects everybody; nothing is watched or listened to any more.
  ~RoomServer();
  RoomServer(const RoomServer&) = delete;
  RoomServer& operator=(const RoomServer&) = delete;

  std::uint16_t port() const;
  // Where a browser finds the room, the token included.
  std::string url() const;
  // How many are in it now.
  std::size_t visitors() const;

 private:
  class Impl;
  explicit RoomServer(std::shared_ptr<Impl> impl);
  std::shared_ptr<Impl> impl_;
};

}  // namespace meeting
