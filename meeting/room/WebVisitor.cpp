#include "meeting/room/WebVisitor.h"

namespace meeting {

namespace {
// A silent visitor is asked for a sign of life after half of it.
constexpr std::chrono::seconds kSilence{30};
}  // namespace

Visitor::Visitor(WebServer::Impl& server, beast::tcp_stream stream, VisitorId id)
    : server_(server), socket_(std::move(stream)), id_(id) {}

void Visitor::accept(const Request& request) {
  beast::get_lowest_layer(socket_).expires_never();
  socket_.set_option(websocket::stream_base::timeout{kRequestTime, kSilence, true});
  socket_.read_message_max(WebServer::kMaxTextBytes);
  socket_.auto_fragment(false);
  socket_.async_accept(request, handler(shared_from_this(), [](Visitor& self, error_code error) {
                         if (error) return self.end();
                         self.open_ = true;
                         self.server_.delegate.onVisitor(self.id_);
                         self.read();
                       }));
}

void Visitor::read() {
  buffer_.clear();
  socket_.async_read(buffer_, handler(shared_from_this(), [](Visitor& self, error_code error) {
                       if (error || !self.socket_.got_text()) return self.end();
                       self.server_.delegate.onText(self.id_,
                                                    beast::buffers_to_string(self.buffer_.data()));
                     }));
}

void Visitor::send(Outgoing message) {
  if (ended_) return;
  const std::string slot = message.slot;
  const Outbox::Put put = outbox_.put(std::move(message));
  if (put == Outbox::Put::refused) return end();
  if (put == Outbox::Put::replaced) server_.delegate.onReplaced(id_, slot);
  if (!writing_) write();
}

void Visitor::end() {
  if (std::exchange(ended_, true)) return;
  error_code ignored;
  beast::get_lowest_layer(socket_).socket().close(ignored);
  --server_.connections;
  const auto self = shared_from_this();
  server_.visitors.erase(id_);
  if (open_) server_.delegate.onGone(id_);
}

void Visitor::write() {
  if (outbox_.empty()) return;
  writing_ = true;
  const Outgoing next = outbox_.take();
  socket_.binary(next.binary);
  socket_.async_write(
      asio::buffer(*next.data),
      handler(shared_from_this(), [data = next.data](Visitor& self, error_code error) {
        self.writing_ = false;
        if (error) return self.end();
        self.write();
      }));
}

}  // namespace meeting
