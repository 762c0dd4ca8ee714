// Visitors who send anything to a room that is open: bytes, requests, frames. Whatever one of them
// sends, it is alone with it: the next one is let in, and in the end nobody is left.
#include <string>

#include "fuzz/Target.h"
#include "meeting/MessageJournal.h"
#include "meeting/room/RoomServer.h"
#include "tests/room/FakeModel.h"
#include "tests/room/RoomClient.h"

namespace meeting {
namespace {

// One for all inputs.
struct Room {
  Room() {
    auto opened = RoomServer::open(model, journal, {});
    server = std::get<std::unique_ptr<RoomServer>>(std::move(opened));
  }
  static Room& instance() {
    static Room room;
    return room;
  }

  FakeModel model;
  MessageJournal journal;
  std::unique_ptr<RoomServer> server;
};

// Until the server has taken in all of it and hung up.
void leave(RoomClient& client) {
  client.finish();
  EXPECT_TRUE(pumpUntil([&client] {
    client.receive();
    return client.closed();
  }));
}

void sendBytes(RoomClient& client, fuzz::Input& in) {
  while (in.remaining_bytes() > 0) client.write(in.ConsumeRandomLengthString(9000));
}

void sendRequest(RoomClient& client, fuzz::Input& in) {
  const std::string port = std::to_string(Room::instance().server->port());
  constexpr const char* kMethods[] = {"GET", "HEAD", "POST", "get", ""};
  while (in.remaining_bytes() > 0) {
    const std::string target = in.ConsumeRandomLengthString(300);
    std::string headers = in.ConsumeBool() ? "Host: 127.0.0.1:" + port + "\r\n" : "";
    while (in.ConsumeBool() && in.remaining_bytes() > 0) {
      headers +=
          in.ConsumeRandomLengthString(40) + ": " + in.ConsumeRandomLengthString(40) + "\r\n";
    }
    client.write(std::string(in.PickValueInArray(kMethods)) + " /" + target + " HTTP/1.1\r\n" +
                 headers + "\r\n");
  }
}

void sendFrames(RoomClient& client, fuzz::Input& in) {
  EXPECT_EQ(client.open(), 101);
  while (in.remaining_bytes() > 0) {
    const bool usual = in.ConsumeIntegralInRange(0, 7) != 0;
    const auto head = static_cast<unsigned char>(usual ? 0x80U | RoomClient::kText
                                                       : in.ConsumeIntegral<unsigned char>());
    const bool masked = in.ConsumeIntegralInRange(0, 15) != 0;
    client.sendFrame(head, in.ConsumeRandomLengthString(20'000), masked);
  }
}

}  // namespace
}  // namespace meeting

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace meeting;
  Room& room = Room::instance();
  fuzz::Input in(data, size);
  constexpr void (*kWays[])(RoomClient&, fuzz::Input&) = {sendFrames, sendFrames, sendRequest,
                                                          sendBytes};
  const auto send = in.PickValueInArray(kWays);
  RoomClient client(room.server->port());
  send(client, in);
  leave(client);
  EXPECT_TRUE(pumpUntil([&room] { return room.server->visitors() == 0; }));
  room.model.actions.clear();
  return 0;
}
