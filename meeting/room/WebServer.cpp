#include "meeting/room/WebServer.h"

#include <boost/asio.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/websocket.hpp>
#include <chrono>
#include <map>
#include <optional>
#include <string_view>
#include <thread>
#include <utility>

#include "meeting/room/Access.h"
#include "meeting/room/PageFiles.h"

namespace meeting {

namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
namespace websocket = beast::websocket;
using asio::ip::tcp;
using boost::system::error_code;
using std::chrono_literals::operator""ms;
using std::chrono_literals::operator""s;

using Request = http::request<http::empty_body>;
using Response = http::response<http::string_body>;

// For a request to arrive whole, and for its answer to be taken.
constexpr std::chrono::seconds kRequestTime = 10s;
// A silent visitor is asked for a sign of life after half of it.
constexpr std::chrono::seconds kSilence = 30s;
// When the system lets nobody in, because it has run out of descriptors.
constexpr std::chrono::milliseconds kAcceptPause = 100ms;

constexpr std::string_view kSocketPath = "socket";
constexpr std::string_view kPolicy =
    "default-src 'none'; script-src 'self'; style-src 'self'; img-src data:; connect-src 'self'; "
    "base-uri 'none'; form-action 'none'; frame-ancestors 'none'";

std::string_view viewOf(beast::string_view text) { return {text.data(), text.size()}; }

std::optional<std::string_view> header(const Request& request, http::field field) {
  const auto found = request.find(field);
  if (found == request.end()) return std::nullopt;
  return viewOf(found->value());
}

Response answer(const Request& request, http::status status, std::string_view type,
                std::string_view content) {
  Response response{status, request.version()};
  response.set(http::field::content_type, beast::string_view(type.data(), type.size()));
  response.set(http::field::cache_control, "no-store");
  response.set("Content-Security-Policy", beast::string_view(kPolicy.data(), kPolicy.size()));
  response.set("X-Content-Type-Options", "nosniff");
  // The address may hold the room's token.
  response.set("Referrer-Policy", "no-referrer");
  response.keep_alive(request.keep_alive());
  if (request.method() != http::verb::head) response.body() = content;
  response.content_length(content.size());
  return response;
}

Response refusal(const Request& request, http::status status) {
  const beast::string_view reason = http::obsolete_reason(status);
  return answer(request, status, "text/plain; charset=utf-8", std::string(reason) + '\n');
}

// Does the work for a visitor or connection; something that is thrown ends that one only.
template <typename Owner, typename Work>
void orEnd(Owner& owner, Work work) {
  try {
    work();
  } catch (...) {
    owner.end();
  }
}

// What an operation's handler holds of a visitor or connection. An operation that something thrown
// has broken off never calls its handler and only drops it: then, too, its owner ends.
template <typename Owner>
class Stake {
 public:
  explicit Stake(std::shared_ptr<Owner> owner) : owner_(std::move(owner)) {}
  ~Stake() {
    if (!called_ && owner_->runs()) orEnd(*owner_, [this] { owner_->end(); });
  }
  Stake(const Stake&) = delete;
  Stake& operator=(const Stake&) = delete;

  template <typename Work>
  void call(Work& work, error_code error) {
    called_ = true;
    orEnd(*owner_, [&] { work(*owner_, error); });
  }

 private:
  const std::shared_ptr<Owner> owner_;
  bool called_ = false;
};

template <typename Owner, typename Work>
auto handler(std::shared_ptr<Owner> owner, Work work) {
  return [stake = std::make_shared<Stake<Owner>>(std::move(owner)), work = std::move(work)](
             error_code error, std::size_t = 0) mutable { stake->call(work, error); };
}

}  // namespace

class Visitor;

struct WebServer::Impl {
  explicit Impl(WebServerDelegate& theDelegate) : delegate(theDelegate) {}

  void run();
  void accept();
  void admit(tcp::socket socket);
  // Has the work done for the visitor, if it is still there, on the server's thread. [any-thread]
  template <typename Work>
  void post(VisitorId id, Work work);

  asio::io_context context{1};
  tcp::acceptor acceptor{context};
  asio::steady_timer acceptPause{context};
  bool accepting = false;  // or pausing
  WebServerDelegate& delegate;
  std::optional<Access> access;  // set as soon as the port is known
  std::size_t connections = 0;
  VisitorId lastVisitor = 0;
  std::map<VisitorId, std::shared_ptr<Visitor>> visitors;  // until their connection has ended
  std::thread thread;  // everything above is its own once it runs
};

// One WebSocket. Between a text and readOn no operation may be under way on it: the server holds
// it.
class Visitor : public std::enable_shared_from_this<Visitor> {
 public:
  Visitor(WebServer::Impl& server, beast::tcp_stream stream, VisitorId id)
      : server_(server), socket_(std::move(stream)), id_(id) {}

  void accept(const Request& request) {
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

  void read() {
    buffer_.clear();
    socket_.async_read(buffer_, handler(shared_from_this(), [](Visitor& self, error_code error) {
                         if (error || !self.socket_.got_text()) return self.end();
                         self.server_.delegate.onText(
                             self.id_, beast::buffers_to_string(self.buffer_.data()));
                       }));
  }

  void send(Outgoing message) {
    if (ended_) return;
    const std::string slot = message.slot;
    const Outbox::Put put = outbox_.put(std::move(message));
    if (put == Outbox::Put::refused) return end();
    if (put == Outbox::Put::replaced) server_.delegate.onReplaced(id_, slot);
    if (!writing_) write();
  }

  // Hangs up, without waiting for a visitor who may not answer.
  void end() {
    if (std::exchange(ended_, true)) return;
    error_code ignored;
    beast::get_lowest_layer(socket_).socket().close(ignored);
    --server_.connections;
    const auto self = shared_from_this();
    server_.visitors.erase(id_);
    if (open_) server_.delegate.onGone(id_);
  }

  bool runs() const { return !server_.context.stopped(); }

 private:
  void write() {
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

  WebServer::Impl& server_;
  websocket::stream<beast::tcp_stream> socket_;
  const VisitorId id_;
  beast::flat_buffer buffer_;
  Outbox outbox_;
  bool open_ = false;
  bool writing_ = false;
  bool ended_ = false;
};

// One HTTP connection, until it ends or becomes a visitor's.
class Connection : public std::enable_shared_from_this<Connection> {
 public:
  Connection(WebServer::Impl& server, tcp::socket socket)
      : server_(server), stream_(std::move(socket)) {}

  void read() {
    parser_.emplace();
    parser_->header_limit(WebServer::kMaxHeaderBytes);
    stream_.expires_after(kRequestTime);
    http::async_read_header(stream_, buffer_, *parser_,
                            handler(shared_from_this(), [](Connection& self, error_code error) {
                              if (error) return self.end();
                              self.handle(self.parser_->get());
                            }));
  }

  void end() {
    if (std::exchange(ended_, true)) return;
    error_code ignored;
    stream_.socket().shutdown(tcp::socket::shutdown_both, ignored);
    --server_.connections;
  }

  bool runs() const { return !server_.context.stopped(); }

 private:
  void handle(const Request& request) {
    if (!parser_->is_done()) return end();  // a body follows, which nothing here takes
    const auto path = server_.access->pathOf(viewOf(request.target()));
    const std::string_view host = header(request, http::field::host).value_or("");
    if (!path) return respond(refusal(request, http::status::not_found));
    if (!server_.access->isOurHost(host)) return respond(refusal(request, http::status::forbidden));
    if (*path == kSocketPath) return admit(request, host);
    if (request.method() != http::verb::get && request.method() != http::verb::head)
      return respond(refusal(request, http::status::method_not_allowed));
    const auto file = pageFile(*path);
    if (!file) return respond(refusal(request, http::status::not_found));
    respond(answer(request, http::status::ok, file->type, file->content));
  }

  void admit(const Request& request, std::string_view host) {
    if (!websocket::is_upgrade(request))
      return respond(refusal(request, http::status::upgrade_required));
    if (!server_.access->isOurOrigin(header(request, http::field::origin), host))
      return respond(refusal(request, http::status::forbidden));
    if (server_.visitors.size() >= WebServer::kMaxVisitors)
      return respond(refusal(request, http::status::service_unavailable));
    const VisitorId id = ++server_.lastVisitor;
    const auto visitor = std::make_shared<Visitor>(server_, std::move(stream_), id);
    ended_ = true;  // the connection is the visitor's now
    orEnd(*visitor, [&] {
      server_.visitors[id] = visitor;
      visitor->accept(request);
    });
  }

  void respond(Response response) {
    response_.emplace(std::move(response));
    stream_.expires_after(kRequestTime);
    http::async_write(stream_, *response_,
                      handler(shared_from_this(), [](Connection& self, error_code error) {
                        if (error || !self.response_->keep_alive()) return self.end();
                        self.read();
                      }));
  }

  WebServer::Impl& server_;
  beast::tcp_stream stream_;
  beast::flat_buffer buffer_{WebServer::kMaxHeaderBytes + 1024UL};
  std::optional<http::request_parser<http::empty_body>> parser_;
  std::optional<Response> response_;
  bool ended_ = false;
};

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
