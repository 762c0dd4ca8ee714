#include "meeting/room/WebServer.h"

#include "meeting/room/WebConnection.h"
#include "meeting/room/WebVisitor.h"

namespace meeting {

namespace {
// When the system lets nobody in, because it has run out of descriptors.
constexpr std::chrono::milliseconds kAcceptPause{100};
}  // namespace

// What is thrown has ended those whose it was by the time it arrives here.
void WebServer::Impl::run() {
  while (!context.stopped()) {
    try {
      if (!accepting) accept();
      context.run();
    } catch (...) {
      std::this_thread::yield();
    }
  }
}

void WebServer::Impl::accept() {
  acceptor.async_accept([this](error_code error, tcp::socket socket) {
    accepting = false;
    if (!error) {
      admit(std::move(socket));
      return accept();
    }
    acceptPause.expires_after(kAcceptPause);
    acceptPause.async_wait([this](error_code cancelled) {
      accepting = false;
      if (!cancelled) accept();
    });
    accepting = true;
  });
  accepting = true;
}

void WebServer::Impl::admit(tcp::socket socket) {
  if (connections >= kMaxConnections) return;
  error_code ignored;
  socket.set_option(tcp::no_delay(true), ignored);
  const auto connection = std::make_shared<Connection>(*this, std::move(socket));
  ++connections;
  orEnd(*connection, [&] { connection->read(); });
}

template <typename Work>
void WebServer::Impl::post(VisitorId id, Work work) {
  asio::post(context, [this, id, work = std::move(work)]() mutable {
    const auto found = visitors.find(id);
    if (found == visitors.end()) return;
    const auto visitor = found->second;
    orEnd(*visitor, [&] { work(*visitor); });
  });
}

std::variant<std::unique_ptr<WebServer>, std::string> WebServer::open(const Setup& setup,
                                                                      WebServerDelegate& delegate) {
  error_code error;
  const auto address = asio::ip::make_address(setup.address, error);
  if (error) return "not a numeric address: " + setup.address;
  auto impl = std::make_unique<Impl>(delegate);
  tcp::acceptor& acceptor = impl->acceptor;
  const tcp::endpoint endpoint(address, setup.port);
  acceptor.open(endpoint.protocol(), error);
  if (!error) acceptor.set_option(tcp::acceptor::reuse_address(true), error);
  if (!error) acceptor.bind(endpoint, error);
  if (!error) acceptor.listen(asio::socket_base::max_listen_connections, error);
  if (error)
    return "cannot open the room at " + setup.address + " port " + std::to_string(setup.port) +
           ": " + error.message();
  impl->access.emplace(setup.address, address.is_loopback(), acceptor.local_endpoint().port(),
                       setup.token);
  return std::unique_ptr<WebServer>(new WebServer(std::move(impl)));
}

WebServer::WebServer(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {
  impl_->thread = std::thread([impl = impl_.get()] { impl->run(); });
}

WebServer::~WebServer() {
  impl_->context.stop();
  impl_->thread.join();
}

std::uint16_t WebServer::port() const { return impl_->access->port(); }

std::string WebServer::url() const { return impl_->access->url(); }

void WebServer::send(VisitorId visitor, Outgoing message) {
  impl_->post(visitor, [message = std::move(message)](Visitor& found) mutable {
    found.send(std::move(message));
  });
}

void WebServer::readOn(VisitorId visitor) {
  impl_->post(visitor, [](Visitor& found) { found.read(); });
}

void WebServer::dismiss(VisitorId visitor) {
  impl_->post(visitor, [](Visitor& found) { found.end(); });
}

std::optional<bool> isLoopback(const std::string& address) {
  error_code error;
  const auto parsed = asio::ip::make_address(address, error);
  if (error) return std::nullopt;
  return parsed.is_loopback();
}

}  // namespace meeting
