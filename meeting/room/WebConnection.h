// One HTTP connection of the web server, until it ends or becomes a visitor's. Internal to the
// server.
#pragma once

#include <string_view>

#include "meeting/room/WebServerImpl.h"

namespace meeting {

using Response = http::response<http::string_body>;

class Connection : public std::enable_shared_from_this<Connection> {
 public:
  Connection(WebServer::Impl& server, tcp::socket socket);

  void read();
  void end();
  bool runs() const { return !server_.context.stopped(); }

 private:
  void handle(const Request& request);
  void admit(const Request& request, std::string_view host);
  void respond(Response response);

  WebServer::Impl& server_;
  beast::tcp_stream stream_;
  beast::flat_buffer buffer_{WebServer::kMaxHeaderBytes + 1024UL};
  std::optional<http::request_parser<http::empty_body>> parser_;
  std::optional<Response> response_;
  bool ended_ = false;
};

}  // namespace meeting
