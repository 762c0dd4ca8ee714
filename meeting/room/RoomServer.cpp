#include "meeting/room/RoomServer.h"

#include <chrono>
#include <set>
#include <string_view>
#include <tuple>
#include <utility>

#include "meeting/Ticker.h"
#include "meeting/room/Access.h"
#include "meeting/room/MessageFeed.h"
#include "meeting/room/PictureFeed.h"
#include "meeting/room/RoomText.h"
#include "meeting/room/SoundFeed.h"
#include "meeting/room/WebServer.h"
#include "platform/RunLoop.h"

namespace meeting {

namespace {

using std::chrono_literals::operator""ms;

// Twenty pictures a second move well enough to judge a meeting by.
constexpr platform::Duration kUpdateInterval = 50ms;
// Every that many updates the status is sent also when only figures have changed.
constexpr int kStatusUpdates = 5;
// With the view's id behind it: where a visitor's newest picture of the view waits.
constexpr std::string_view kPictureSlot = "picture ";

// All but what changes by itself while a movie plays.
auto substance(const ParticipantStatus& s) {
  return std::tie(s.id, s.actor, s.file, s.presenter, s.present, s.state, s.statusView, s.duration,
                  s.volume, s.muted, s.width, s.height);
}

bool sameSubstance(const std::vector<ParticipantStatus>& a,
                   const std::vector<ParticipantStatus>& b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](const auto& x, const auto& y) { return substance(x) == substance(y); });
}

}  // namespace

class RoomServer::Impl final : public WebServerDelegate,
                               public std::enable_shared_from_this<RoomServer::Impl> {
 public:
  Impl(RoomModel& model, MessageJournal& journal) : model_(model), journal_(journal) {}

  std::optional<std::string> open(const WebServer::Setup& setup);
  // Ends what runs on other threads; nothing reaches the model any more.
  void close();
  const WebServer& web() const { return *web_; }
  std::size_t visitors() const { return visitors_.size(); }

  void onVisitor(VisitorId visitor) override {
    post([visitor](Impl& self) { self.welcome(visitor); });
  }
  void onText(VisitorId visitor, std::string text) override {
    post([visitor, text = std::move(text)](Impl& self) { self.handle(visitor, text); });
  }
  void onReplaced(VisitorId visitor, const std::string& slot) override {
    if (slot.rfind(kPictureSlot, 0) != 0) return;
    post([visitor, view = slot.substr(kPictureSlot.size())](Impl& self) {
      self.pictures_->settled(visitor, view);
    });
  }
  void onGone(VisitorId visitor) override {
    post([visitor](Impl& self) { self.forget(visitor); });
  }

 private:
  void post(std::function<void(Impl&)> work);
  void welcome(VisitorId visitor);
  void handle(VisitorId visitor, const std::string& text);
  void forget(VisitorId visitor);

  void carryOut(VisitorId visitor, const ActRequest& request);
  void carryOut(VisitorId visitor, const WatchRequest& request);
  void carryOut(VisitorId visitor, const DrawnRequest& request);
  void carryOut(VisitorId visitor, const ReadRequest& request);
  void carryOut(VisitorId visitor, const SamplesRequest& request);
  void carryOut(VisitorId visitor, const ListenRequest& request);

  void update();
  void updateStatus();

  RoomModel& model_;
  MessageJournal& journal_;
  std::unique_ptr<WebServer> web_;
  std::shared_ptr<PictureFeed> pictures_;
  std::unique_ptr<SoundFeed> sound_;
  std::unique_ptr<MessageFeed> messages_;
  std::optional<Ticker> ticker_;
  std::set<VisitorId> visitors_;
  std::vector<ParticipantStatus> status_;  // as it was last sent
  int updatesSinceStatus_ = 0;
};

std::optional<std::string> RoomServer::Impl::open(const WebServer::Setup& setup) {
  auto opened = WebServer::open(setup, *this);
  if (auto* problem = std::get_if<std::string>(&opened)) return std::move(*problem);
  web_ = std::get<std::unique_ptr<WebServer>>(std::move(opened));
  using Lane = Outgoing::Lane;
  pictures_ = std::make_shared<PictureFeed>(model_, [web = web_.get()](VisitorId visitor,
                                                                       const std::string& view,
                                                                       Payload picture) {
    web->send(visitor, {Lane::newest, true, std::string(kPictureSlot) + view, std::move(picture)});
  });
  sound_ =
      std::make_unique<SoundFeed>(model_, [web = web_.get()](VisitorId visitor, Payload sound) {
        web->send(visitor, {Lane::sound, true, {}, std::move(sound)});
      });
  messages_ = std::make_unique<MessageFeed>(
      journal_, [web = web_.get()](VisitorId visitor, Payload messages) {
        web->send(visitor, {Lane::inOrder, false, {}, std::move(messages)});
      });
  ticker_.emplace(kUpdateInterval, [this] { update(); });
  return std::nullopt;
}

void RoomServer::Impl::close() {
  ticker_.reset();
  pictures_.reset();
  sound_.reset();
  messages_.reset();
  web_.reset();
}

void RoomServer::Impl::post(std::function<void(Impl&)> work) {
  platform::dispatchOnMainThread([weak = weak_from_this(), work = std::move(work)] {
    const auto self = weak.lock();
    if (self && self->web_) work(*self);
  });
}

void RoomServer::Impl::welcome(VisitorId visitor) {
  visitors_.insert(visitor);
  messages_->add(visitor);
  web_->send(visitor, {Outgoing::Lane::newest, false, "status", statusText(model_.participants())});
}

void RoomServer::Impl::forget(VisitorId visitor) {
  visitors_.erase(visitor);
  messages_->remove(visitor);
  pictures_->watch(visitor, {});
  sound_->listen(visitor, {});
}

void RoomServer::Impl::handle(VisitorId visitor, const std::string& text) {
  const auto request = parseRequest(text);
  if (!request) return web_->dismiss(visitor);
  std::visit([&](const auto& kind) { carryOut(visitor, kind); }, *request);
  web_->readOn(visitor);
}

void RoomServer::Impl::carryOut(VisitorId visitor, const ActRequest& request) {
  const auto error = model_.act(request.text);
  web_->send(visitor, {Outgoing::Lane::inOrder, false, {}, answerText(request.action, error)});
  updateStatus();
}

void RoomServer::Impl::carryOut(VisitorId visitor, const WatchRequest& request) {
  pictures_->watch(visitor, request.views);
}

void RoomServer::Impl::carryOut(VisitorId visitor, const DrawnRequest& request) {
  pictures_->settled(visitor, request.view);
}

void RoomServer::Impl::carryOut(VisitorId visitor, const ReadRequest& request) {
  messages_->read(visitor, request.number);
}

void RoomServer::Impl::carryOut(VisitorId visitor, const SamplesRequest& request) {
  messages_->setSamples(visitor, request.wanted);
}

void RoomServer::Impl::carryOut(VisitorId visitor, const ListenRequest& request) {
  const bool known = request.participant.empty() || model_.view(request.participant) != nullptr;
  sound_->listen(visitor, known ? request.participant : std::string());
}

void RoomServer::Impl::update() {
  if (visitors_.empty()) return;
  updateStatus();
  messages_->update();
  pictures_->update();
}

void RoomServer::Impl::updateStatus() {
  auto status = model_.participants();
  const bool due = ++updatesSinceStatus_ >= kStatusUpdates;
  if (!due && sameSubstance(status, status_)) return;
  updatesSinceStatus_ = 0;
  status_ = std::move(status);
  const Payload text = statusText(status_);
  for (const VisitorId visitor : visitors_)
    web_->send(visitor, {Outgoing::Lane::newest, false, "status", text});
}

std::variant<std::unique_ptr<RoomServer>, std::string> RoomServer::open(RoomModel& model,
                                                                        MessageJournal& journal,
                                                                        RoomSetup setup) {
  if (setup.address == "localhost") setup.address = "127.0.0.1";
  const auto loopback = isLoopback(setup.address);
  if (!loopback) return "not a numeric address: " + setup.address;
  const std::string token = setup.token ? *setup.token : *loopback ? "" : randomToken();
  auto impl = std::make_shared<Impl>(model, journal);
  if (auto problem = impl->open({setup.address, setup.port, token})) return *std::move(problem);
  return std::unique_ptr<RoomServer>(new RoomServer(std::move(impl)));
}

RoomServer::RoomServer(std::shared_ptr<Impl> impl) : impl_(std::move(impl)) {}

RoomServer::~RoomServer() { impl_->close(); }

std::uint16_t RoomServer::port() const { return impl_->web().port(); }

std::string RoomServer::url() const { return impl_->web().url(); }

std::size_t RoomServer::visitors() const { return impl_->visitors(); }

}  // namespace meeting
