// Serves the room's page over HTTP and talks to its visitors over WebSockets, on a thread of its
// own. Knows nothing of meetings.
//
// What comes in is believed in nothing: every size, number and time has a limit, and whoever
// breaks one is disconnected without anybody else noticing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <variant>

#include "meeting/room/Outbox.h"

namespace meeting {

// From 1; never given twice.
using VisitorId = std::uint64_t;

// Called on the server's thread. Whatever is thrown costs the visitor the connection.
class WebServerDelegate {
 public:
  virtual void onVisitor(VisitorId visitor) = 0;
  // Nothing more is read from this visitor until readOn.
  virtual void onText(VisitorId visitor, std::string text) = 0;
  // A message that waited in this slot is not sent: a newer one has taken its place.
  virtual void onReplaced(VisitorId visitor, const std::string& slot) = 0;
  virtual void onGone(VisitorId visitor) = 0;

 protected:
  ~WebServerDelegate() = default;
};

class WebServer {
 public:
  static constexpr std::size_t kMaxConnections = 64;
  static constexpr std::size_t kMaxVisitors = 16;
  static constexpr std::uint32_t kMaxHeaderBytes = 8 * 1024;
  static constexpr std::size_t kMaxTextBytes = 16UL * 1024;

  struct Setup {
    std::string address;     // numeric
    std::uint16_t port = 0;  // 0: any that is free
    std::string token;       // in the path of every request; empty: none
  };

  // A server that listens, or one line that says why there is none. The delegate must outlive it.
  static std::variant<std::unique_ptr<WebServer>, std::string> open(const Setup& setup,
                                                                    WebServerDelegate& delegate);
  // Disconnects everybody; the delegate is not called any more.
  ~WebServer();
  WebServer(const WebServer&) = delete;
  WebServer& operator=(const WebServer&) = delete;

  std::uint16_t port() const;
  std::string url() const;

  // [any-thread] Nothing happens when the visitor is gone.
  void send(VisitorId visitor, Outgoing message);
  void readOn(VisitorId visitor);
  void dismiss(VisitorId visitor);

  struct Impl;

 private:
  explicit WebServer(std::unique_ptr<Impl> impl);
  std::unique_ptr<Impl> impl_;
};

// Whether only this machine can reach the address; nothing when it is no numeric address.
std::optional<bool> isLoopback(const std::string& address);

}  // namespace meeting
