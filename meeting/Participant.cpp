#include "meeting/Participant.h"

#include <utility>

#include "mmp/Enumerations.h"
#include "platform/RunLoop.h"

namespace meeting {

namespace {

// The whole of a view.
tagUCFRect boundsOf(const platform::View& view) {
  const platform::Size& size = view.frame().size;
  return {0, 0, static_cast<std::int32_t>(size.width), static_cast<std::int32_t>(size.height)};
}

constexpr unsigned long messageOf(const tagMSVideoQuality&) {
  return MM_MEDIASTREAMING_MSSTATUS_VIDEOQUALITY_INDICATE;
}
constexpr unsigned long messageOf(const tagMSPlayPosition&) {
  return MM_MEDIASTREAMING_MSSTATUS_CURRENT_PLAY_POSITION;
}
constexpr unsigned long messageOf(const tagMSPlayStatus&) {
  return MM_MEDIASTREAMING_MSSTATUS_CURRENT_PLAY_STATUS;
}
constexpr unsigned long messageOf(const tagMSChannelStatus&) {
  return MM_MEDIASTREAMING_MSSTATUS_CHANNEL_STATUS;
}
constexpr unsigned long messageOf(const tagMSVideoInfo&) {
  return MM_MEDIASTREAMING_MSSTATUS_VIDEO_INFORMATION;
}

template <class Face>
Face* face(IUCFObjectBase& object, UCFInterfaceID id) {
  void* out = nullptr;
  return object.GetUCFInterface(id, &out) == UCF_OK ? static_cast<Face*>(out) : nullptr;
}

}  // namespace

Participant::Participant(Setup setup, Conference& conference, MessageJournal& journal)
    : setup_(std::move(setup)),
      conference_(conference),
      journal_(journal),
      runtime_(setup_.runtime, *this, setup_.id, conference, journal) {}

Participant::~Participant() { close(); }

void Participant::connect(std::unique_ptr<PlatformPort> port) {
  port_ = std::move(port);
  router_ = std::make_unique<Router>(conference_, *port_, journal_, setup_.id);
  container_ = std::make_unique<Container>(setup_.filePath, runtime_, *router_);
}

bool Participant::open(const PluginModule& module) {
  object_ = module.createInstance(*container_, setup_.id, 0, setup_.fileName);
  if (object_ == nullptr) return false;
  objectRuntime_ = face<IUCFObjectRuntime>(*object_, UCF_IID_OBJECT_RUNTIME);
  objectRouter_ = face<IUCFMsgRouter>(*object_, UCF_IID_OBJECT_MSG_ROUTER);
  const bool opened = objectRuntime_ != nullptr && objectRouter_ != nullptr && createUI();
  if (!opened) close();
  return opened;
}

bool Participant::createUI() {
  tagUCFRect rect = boundsOf(*setup_.view);
  active_ = object_->CreateActiveUI(setup_.view.get(), &rect) == UCF_OK;
  if (active_) object_->OnSetActive(1);
  return active_;
}

void Participant::activate() {
  if (object_ != nullptr && !active_) createUI();
}

void Participant::deactivate() {
  if (object_ == nullptr || !active_) return;
  active_ = false;
  object_->IsReleaseOnKillActive(UCF_USAGE_DEFAULT);
  object_->OnKillActive();
  object_->DestroyActiveUI();
}

void Participant::resize(std::uint32_t width, std::uint32_t height) {
  setup_.view->setFrame({{0, 0}, {static_cast<double>(width), static_cast<double>(height)}});
  tagUCFRect rect = boundsOf(*setup_.view);
  if (object_ != nullptr) object_->OnPositionChanged(&rect);
}

void Participant::changeRole(std::uint32_t role) {
  runtime_.setRole(role);
  if (objectRuntime_ != nullptr) objectRuntime_->OnUserRoleChanged(role);
}

void Participant::close() {
  IUCFObjectBase* const object = std::exchange(object_, nullptr);
  if (object == nullptr) return;
  conference_.remove(setup_.userId);
  objectRuntime_ = nullptr;
  objectRouter_ = nullptr;
  object->Release();
}

std::shared_ptr<avcapture::KTVideoPlayer> Participant::player() const {
  return avcapture::KTVideoPlayer::inView(*setup_.view);
}

void Participant::postSession(UCFSessionMessage message, std::optional<std::int32_t> code) {
  post([message, code](Participant& self) {
    std::int32_t value = code.value_or(0);
    self.route(MODULE_TYPE_CONF, ROUTE_TYPE_SESSION, message, code ? &value : nullptr);
  });
}

void Participant::postCommand(Bytes data) {
  post([data = std::move(data)](Participant& self) mutable {
    if (self.objectRuntime_ == nullptr) return;
    self.journal_.recordCommand(self.setup_.id, Direction::toObject, data);
    self.objectRuntime_->OnCommandData(data.data(), static_cast<unsigned int>(data.size()), 0, 0);
  });
}

void Participant::postParameterData(std::uint32_t id, Bytes data) {
  post([id, data = std::move(data)](Participant& self) mutable {
    if (self.objectRuntime_ == nullptr) return;
    self.journal_.recordParameterData(self.setup_.id, Direction::toObject, id, data);
    self.objectRuntime_->OnParameterData(id, data.data(), static_cast<unsigned int>(data.size()));
  });
}

void Participant::postStatus(const StatusRecord& record) {
  post([record = StatusRecord(record)](Participant& self) mutable {
    std::visit(
        [&self](auto& payload) {
          self.route(MODULE_TYPE_MMP, ROUTE_TYPE_MEDIASTREAMING, messageOf(payload), &payload);
        },
        record);
  });
}

void Participant::post(std::function<void(Participant&)> work) {
  platform::dispatchOnMainThread([weak = weak_from_this(), work = std::move(work)] {
    if (const auto self = weak.lock()) work(*self);
  });
}

void Participant::route(enumMODULE_TYPE from, unsigned long type, unsigned long uMsg,
                        void* wParam) {
  if (objectRouter_ == nullptr) return;
  constexpr auto kTo = MODULE_TYPE_SVS;
  journal_.record(setup_.id, Direction::toObject, {from, kTo}, type, uMsg, wParam, nullptr, 0);
  objectRouter_->RouteMessage(from, kTo, type, uMsg, wParam, nullptr);
}

}  // namespace meeting
