// One WebSocket of the web server. Internal to the server.
#pragma once

#include "meeting/room/Outbox.h"
#include "meeting/room/WebServerImpl.h"

namespace meeting {

// Between a text and readOn no operation may be under way on it: the server holds it.
class Visitor : public std::enable_shared_from_this<Visitor> {
 public:
  Visitor(WebServer::Impl& server, beast::tcp_stream stream, VisitorId id);

  void accept(const Request& request);
  void read();
  void send(Outgoing message);
  // Hangs up, without waiting for a visitor who may not answer.
  void end();
  bool runs() const { return !server_.context.stopped(); }

 private:
  void write();

  WebServer::Impl& server_;
  websocket::stream<beast::tcp_stream> socket_;
  const VisitorId id_;
  beast::flat_buffer buffer_;
  Outbox outbox_;
  bool open_ = false;
  bool writing_ = false;
  bool ended_ = false;
};

}  // namespace meeting
