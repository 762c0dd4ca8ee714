// What the parts of the web server share: its state, all of which is of the server's own thread,
// and handlers of operations that end their owner when something is thrown. Internal to the server.
#pragma once

#include <boost/asio.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/websocket.hpp>
#include <chrono>
#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <thread>
#include <utility>

#include "meeting/room/Access.h"
#include "meeting/room/WebServer.h"

namespace meeting {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
namespace websocket = beast::websocket;
using asio::ip::tcp;
using boost::system::error_code;

using Request = http::request<http::empty_body>;

// For a request to arrive whole, and for its answer to be taken.
constexpr std::chrono::seconds kRequestTime{10};

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

}  // namespace meeting
