#include "meeting/room/WebConnection.h"

#include "meeting/room/PageFiles.h"
#include "meeting/room/WebVisitor.h"

namespace meeting {

namespace {

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

}  // namespace

Connection::Connection(WebServer::Impl& server, tcp::socket socket)
    : server_(server), stream_(std::move(socket)) {}

void Connection::read() {
  parser_.emplace();
  parser_->header_limit(WebServer::kMaxHeaderBytes);
  stream_.expires_after(kRequestTime);
  http::async_read_header(stream_, buffer_, *parser_,
                          handler(shared_from_this(), [](Connection& self, error_code error) {
                            if (error) return self.end();
                            self.handle(self.parser_->get());
                          }));
}

void Connection::end() {
  if (std::exchange(ended_, true)) return;
  error_code ignored;
  stream_.socket().shutdown(tcp::socket::shutdown_both, ignored);
  --server_.connections;
}

void Connection::handle(const Request& request) {
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

void Connection::admit(const Request& request, std::string_view host) {
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

void Connection::respond(Response response) {
  response_.emplace(std::move(response));
  stream_.expires_after(kRequestTime);
  http::async_write(stream_, *response_,
                    handler(shared_from_this(), [](Connection& self, error_code error) {
                      if (error || !self.response_->keep_alive()) return self.end();
                      self.read();
                    }));
}

}  // namespace meeting
