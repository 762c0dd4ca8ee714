// Who may see the room: the address that it has, and what a request must say to be let in.
//
// On a loopback address the room is open to this machine's users, and guarded against web pages of
// other origins: the request must name a loopback host, so that no foreign name that has been made
// to point here works. On any other address a token in the path is the key. [any-thread]
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace meeting {

// 128 bits from the operating system's random source, in hexadecimal. Throws std::system_error.
std::string randomToken();

class Access {
 public:
  // `address` is numeric; the token is empty for a room that is open without one.
  Access(std::string address, bool loopback, std::uint16_t port, std::string token);

  // The target's path within the room ("", "room.js"), without its query; nothing when it is
  // outside of the room, or does not carry the token.
  std::optional<std::string_view> pathOf(std::string_view target) const;
  // Whether a request with this Host header is meant for this server.
  bool isOurHost(std::string_view host) const;
  // Whether a page of this origin, loaded from this host, may open a socket. Programs that are no
  // browsers send no origin.
  bool isOurOrigin(std::optional<std::string_view> origin, std::string_view host) const;

  std::uint16_t port() const { return port_; }
  // Where a browser finds the room.
  std::string url() const;

 private:
  const std::string address_;
  const bool loopback_;
  const std::uint16_t port_;
  const std::string token_;
};

}  // namespace meeting
