#include "tests/room/RoomClient.h"

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <system_error>

#include "platform/RunLoop.h"

namespace meeting {

namespace {

using std::chrono_literals::operator""ms;

int connectTo(std::uint16_t port) {
  const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  int error = ::connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address);
  if (error != 0) error = errno;
  if (error == EINPROGRESS) {
    pollfd connecting{socket, POLLOUT, 0};
    while (::poll(&connecting, 1, -1) < 0 && errno == EINTR) {
    }
    socklen_t size = sizeof error;
    ::getsockopt(socket, SOL_SOCKET, SO_ERROR, &error, &size);
  }
  if (error != 0) throw std::system_error(error, std::generic_category(), "to the room");
  return socket;
}

std::uint64_t bigEndian(std::string_view bytes) {
  std::uint64_t value = 0;
  for (const char byte : bytes) value = value << 8U | static_cast<unsigned char>(byte);
  return value;
}

}  // namespace

RoomClient::RoomClient(std::uint16_t port) : socket_(connectTo(port)), port_(port) {}

RoomClient::~RoomClient() { ::close(socket_); }

void RoomClient::write(std::string_view bytes) {
  while (!bytes.empty() && !closed_) {
    const ssize_t sent = ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent > 0)
      bytes.remove_prefix(static_cast<std::size_t>(sent));
    else if (errno == EAGAIN)
      platform::RunLoop::main().runUntil(platform::RunLoop::main().now() + 1ms);
    else
      closed_ = true;
  }
}

void RoomClient::finish() { ::shutdown(socket_, SHUT_WR); }

void RoomClient::receive() {
  std::array<char, 65536> buffer{};
  while (!closed_) {
    const ssize_t got = ::recv(socket_, buffer.data(), buffer.size(), 0);
    if (got > 0)
      received_.append(buffer.data(), static_cast<std::size_t>(got));
    else if (got == 0 || errno != EAGAIN)
      closed_ = true;
    else
      return;
  }
}

int RoomClient::request(const std::string& target, const std::string& headers,
                        const std::string& method) {
  received_.clear();
  write(method + ' ' + target + " HTTP/1.1\r\n" + headers + "\r\n");
  pumpUntil([this] {
    receive();
    return closed_ || received_.find("\r\n\r\n") != std::string::npos;
  });
  if (received_.rfind("HTTP/1.1 ", 0) != 0) return 0;
  return std::stoi(received_.substr(9, 3));
}

int RoomClient::open(const std::string& target, const std::string& headers) {
  const int status = request(target, "Host: 127.0.0.1:" + std::to_string(port_) +
                                         "\r\nConnection: Upgrade\r\nUpgrade: websocket\r\n"
                                         "Sec-WebSocket-Version: 13\r\n"
                                         "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n" +
                                         headers);
  if (status == 101) received_.erase(0, received_.find("\r\n\r\n") + 4);
  return status;
}

void RoomClient::sendFrame(unsigned char head, std::string_view data, bool masked) {
  std::string frame{static_cast<char>(head)};
  const unsigned mask = masked ? 0x80U : 0U;
  if (data.size() < 126) {
    frame += static_cast<char>(mask | data.size());
  } else {
    frame += static_cast<char>(mask | 127U);
    for (int shift = 56; shift >= 0; shift -= 8)
      frame += static_cast<char>(data.size() >> shift & 0xFFU);
  }
  if (masked) frame.append(4, '\0');  // a key that changes nothing
  write(frame + std::string(data));
}

bool RoomClient::takeFrame() {
  if (received_.size() < 2) return false;
  const std::string_view bytes = received_;
  std::size_t head = 2;
  std::uint64_t length = static_cast<unsigned char>(bytes[1]) & 0x7FU;
  if (length >= 126) {
    const std::size_t extra = length == 126 ? 2 : 8;
    if (bytes.size() < head + extra) return false;
    length = bigEndian(bytes.substr(head, extra));
    head += extra;
  }
  if (bytes.size() < head + length) return false;
  Frame frame{static_cast<unsigned char>(static_cast<unsigned char>(bytes[0]) & 0x0FU),
              received_.substr(head, length)};
  if (frame.opcode == kBinary && frame.data.rfind('P', 0) == 0) ++pictures_;
  received_.erase(0, head + length);
  if (frame.opcode == kPing)
    sendFrame(0x80U | kPong, frame.data);
  else
    frames_.push_back(std::move(frame));
  return true;
}

RoomClient::Frame RoomClient::next() {
  pumpUntil([this] {
    takeFrames();
    return closed_ || !frames_.empty();
  });
  if (frames_.empty()) return {kClose, {}};
  Frame frame = std::move(frames_.front());
  frames_.pop_front();
  return frame;
}

std::string RoomClient::nextText(const std::vector<std::string>& parts) {
  while (true) {
    const Frame frame = next();
    if (frame.opcode == kClose) return {};
    if (frame.opcode == kText && std::all_of(parts.begin(), parts.end(), [&](const auto& part) {
          return frame.data.find(part) != std::string::npos;
        }))
      return frame.data;
  }
}

void RoomClient::takeFrames() {
  receive();
  while (takeFrame()) {
  }
}

std::size_t RoomClient::pictures() {
  takeFrames();
  return pictures_;
}

}  // namespace meeting
