// A visitor made of a plain socket, so that it can also misbehave. Never blocks for an answer: the
// test's pump() lets the room work and takes in what has arrived.
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/Pump.h"

namespace meeting {

using support::pumpUntil;

class RoomClient {
 public:
  enum Opcode : unsigned char {
    kContinue = 0,
    kText = 1,
    kBinary = 2,
    kClose = 8,
    kPing = 9,
    kPong = 10
  };
  struct Frame {
    unsigned char opcode;
    std::string data;
  };

  explicit RoomClient(std::uint16_t port);
  ~RoomClient();
  RoomClient(const RoomClient&) = delete;
  RoomClient& operator=(const RoomClient&) = delete;

  void write(std::string_view bytes);
  // Nothing more will be written.
  void finish();
  // Takes in what has arrived, without waiting.
  void receive();
  bool closed() const { return closed_; }

  // HTTP: sends the request and pumps until its answer's head is there. The status; 0 when the
  // server has hung up instead.
  int request(const std::string& target, const std::string& headers,
              const std::string& method = "GET");
  // Of the answer to the last request; with body as far as it has arrived.
  const std::string& received() const { return received_; }

  // WebSocket: opens one; the status, 101 when it is open.
  int open(const std::string& target = "/socket", const std::string& headers = {});
  void sendText(const std::string& text) { sendFrame(0x80U | kText, text); }
  void sendFrame(unsigned char head, std::string_view data, bool masked = true);
  // Takes in the frames that have arrived, and answers pings: who is silent for long is put out.
  void takeFrames();
  // Takes the oldest frame that has arrived and not been taken; pumps until there is one. A frame
  // with opcode kClose stands for a lost connection as well.
  Frame next();
  // Skips to the next text that contains all of `parts`; empty when the connection ends before.
  std::string nextText(const std::vector<std::string>& parts);
  // How many pictures have arrived, with all else that has come taken along.
  std::size_t pictures();

 private:
  bool takeFrame();

  const int socket_;
  const std::uint16_t port_;
  bool closed_ = false;
  std::string received_;
  std::deque<Frame> frames_;
  std::size_t pictures_ = 0;
};

}  // namespace meeting
