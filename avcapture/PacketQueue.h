// Packets of one stream on their way from the demuxer to its decoder. Not synchronised.
#pragma once

#include <cstddef>
#include <deque>
#include <utility>

#include "avcapture/Ffmpeg.h"

namespace avcapture {

class PacketQueue {
 public:
  void push(PacketPtr packet) {
    bytes_ += cost(*packet);
    packets_.push_back(std::move(packet));
  }
  // The oldest packet, or null when there is none.
  PacketPtr pop() {
    if (packets_.empty()) return nullptr;
    PacketPtr packet = std::move(packets_.front());
    packets_.pop_front();
    bytes_ -= cost(*packet);
    return packet;
  }
  bool empty() const { return packets_.empty(); }
  std::size_t bytes() const { return bytes_; }

  // No packet follows those that are in the queue.
  void end() { ended_ = true; }
  bool ended() const { return ended_; }

  // Empty, and open again.
  void clear() {
    packets_.clear();
    bytes_ = 0;
    ended_ = false;
  }

 private:
  // A packet without data still takes memory.
  static std::size_t cost(const AVPacket& packet) {
    return static_cast<std::size_t>(packet.size) + sizeof(AVPacket);
  }

  std::deque<PacketPtr> packets_;
  std::size_t bytes_ = 0;
  bool ended_ = false;
};

}  // namespace avcapture
