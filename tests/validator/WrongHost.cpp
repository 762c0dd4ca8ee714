// A host of a presenter and a listener that makes the one mistake it is asked for.
// usage: wrong-host MODULE MISTAKE [SIGNAL], with MISTAKE "none" for a host that makes none. A
// SIGNAL ends it in the middle of the movie.
#include <sys/resource.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <utility>

#include "mmp/ParticipantRecords.h"
#include "mmp/RequestRecords.h"
#include "mmp/StatusRecords.h"
#include "platform/RunLoop.h"
#include "platform/View.h"
#include "ucf/IUCFContainerRuntime.h"
#include "ucf/IUCFMsgRouter.h"
#include "ucf/IUCFObjectRuntime.h"
#include "ucf/SessionMessages.h"
#include "validator/cases/Module.h"

namespace {

std::string mistake;
int ending = 0;  // the signal
bool makes(const char* name) { return mistake == name; }

constexpr std::uint32_t kPresenter = 1;
constexpr std::uint32_t kListener = 2;

void onAnotherThread(const std::function<void()>& work) { std::thread(work).join(); }

class Host final : public IUCFContainerBase, public IUCFContainerRuntime, public IUCFMsgRouter {
 public:
  explicit Host(std::uint32_t user) : user_(user) {}

  Host* other = nullptr;
  IUCFObjectBase* object = nullptr;
  bool shown = false;
  IUCFObjectRuntime* objectRuntime = nullptr;
  IUCFMsgRouter* objectRouter = nullptr;
  std::shared_ptr<platform::View> view =
      std::make_shared<platform::View>(platform::Rect{{0, 0}, {640, 360}});

  bool presents() const { return user_ == kPresenter; }
  std::shared_ptr<platform::View> render() const { return render_; }

  void findFaces() {
    void* face = nullptr;
    object->GetUCFInterface(UCF_IID_OBJECT_RUNTIME, &face);
    objectRuntime = static_cast<IUCFObjectRuntime*>(face);
    object->GetUCFInterface(UCF_IID_OBJECT_MSG_ROUTER, &face);
    objectRouter = static_cast<IUCFMsgRouter*>(face);
  }

  void tell(unsigned long type, unsigned long message, void* record = nullptr) const {
    if (objectRouter != nullptr)
      objectRouter->RouteMessage(MODULE_TYPE_MMP, MODULE_TYPE_SVS, type, message, record, nullptr);
  }
  void tellChannel(std::uint32_t status) const {
    tagMSChannelStatus record{};
    record.head = {1001, 1};
    record.dwStatus = status;
    tell(ROUTE_TYPE_MEDIASTREAMING, MM_MEDIASTREAMING_MSSTATUS_CHANNEL_STATUS, &record);
  }

  // --- container ---
  UCFResult GetUCFInterface(UCFInterfaceID id, void** out) override {
    *out = nullptr;
    if (id == UCF_IID_CONTAINER_RUNTIME) *out = static_cast<IUCFContainerRuntime*>(this);
    if (id == UCF_IID_OBJECT_MSG_ROUTER) {
      Host* const router = makes("another router each time") && ++asked_ % 2 == 0 ? other : this;
      *out = static_cast<IUCFMsgRouter*>(router);
    }
    if (*out == nullptr && makes("serves everything")) *out = this;
    return *out != nullptr ? UCF_OK : UCF_E_NOINTERFACE;
  }
  void FreeVariant(tagUCFVariant* variant) override {
    if (variant->vt != UCFVT_STR) return;
    if (!makes("keeps variants")) texts_.pop_back();
  }
  UCFResult GetProperty(std::uint32_t id, tagUCFVariant* out) override {
    if (id != UCF_PROPERTY_FILE_PATH || makes("no path")) {
      if (makes("writes what it refuses")) out->vt = UCFVT_STR;
      return UCF_E_INVALID_ARG;
    }
    out->vt = UCFVT_STR;
    out->pszVal = texts_.emplace_back("/media/a path that is longer than a short string").c_str();
    return UCF_OK;
  }
  UCFResult GetSharedProperty(std::uint32_t id, tagUCFVariant* out) override {
    return makes("exchanges slots 19 and 20") ? keep(id, out) : read(id, out);
  }
  UCFResult SetSharedProperty(std::uint32_t id, tagUCFVariant* in) override {
    return makes("exchanges slots 19 and 20") ? read(id, in) : keep(id, in);
  }
  UCFResult read(std::uint32_t id, tagUCFVariant* out) const {
    const auto found = shared_.find(id);
    if (found == shared_.end() || makes("forgets properties")) return UCF_E_INVALID_ARG;
    *out = found->second;
    return UCF_OK;
  }
  UCFResult keep(std::uint32_t id, const tagUCFVariant* in) {
    shared_[id] = *in;
    return UCF_OK;
  }

  // --- runtime ---
  std::uint32_t CanSend() override { return 1; }
  std::uint32_t GetRuntimeMode() override { return presents() ? 0 : UCF_RUNTIME_MODE_LISTENER; }
  UCFResult SendDataToAll(void*, std::uint32_t, std::uint32_t) override { return UCF_OK; }
  UCFResult SendDataToUser(void* data, std::uint32_t length, std::uint32_t,
                           std::uint32_t) override {
    std::string copy(static_cast<const char*>(data), length);
    if (makes("cuts commands")) copy.pop_back();
    platform::dispatchOnMainThread([receiver = makes("echoes commands") ? this : other, copy] {
      if (receiver->objectRuntime == nullptr) return;
      std::string bytes = copy;
      receiver->objectRuntime->OnCommandData(reinterpret_cast<unsigned char*>(bytes.data()),
                                             static_cast<unsigned int>(bytes.size()), 0, 0);
    });
    return UCF_OK;
  }
  UCFResult SetParameterData(std::uint32_t id, void* data, std::uint32_t length) override {
    // One who does not copy finds what the sender has made of it since.
    const auto bytes = std::make_shared<std::string>(static_cast<const char*>(data), length);
    auto* const passed = makes("does not copy") ? static_cast<unsigned char*>(data)
                                                : reinterpret_cast<unsigned char*>(bytes->data());
    platform::dispatchOnMainThread([this, id, passed, bytes] {
      if (other->objectRuntime != nullptr)
        other->objectRuntime->OnParameterData(id, passed, static_cast<unsigned int>(bytes->size()));
    });
    return UCF_OK;
  }
  std::uint32_t RequestParameterData(std::int32_t id) override {
    if (id == UCF_QUERY_OWN_DOCUMENT) return presents() || !makes("disowns the document");
    return id == UCF_QUERY_LIVE_MEETING;
  }
  std::uint32_t GetCurrentRole() override {
    return makes("no role") ? 0 : presents() ? UCF_ROLE_PRESENTER : UCF_ROLE_ATTENDEE;
  }
  UCFResult GetOwnIdentity(void* out) override {
    const std::uint32_t identity[] = {user_, 0, 0};
    std::memcpy(out, identity, makes("long identity") && presents() ? 12 : 8);
    return UCF_OK;
  }
  UCFResult GetPresenterUserId(std::uint32_t* out) override {
    *out = kPresenter;
    return UCF_OK;
  }
  UCFResult SetItemState(std::uint32_t, std::uint32_t, std::uint32_t) override {
    return makes("no items") ? UCF_E_INVALID_ARG : UCF_OK;
  }

  // --- router ---
  UCFResult RouteMessage(enumMODULE_TYPE, enumMODULE_TYPE to, unsigned long type,
                         unsigned long uMsg, void* wParam, void* lParam) override {
    if (to == MODULE_TYPE_CONF) {
      *static_cast<std::uint64_t*>(wParam) = 1001;
      *static_cast<std::uint64_t*>(lParam) = 1;
      return makes("refuses ids") ? 0 : 1;
    }
    return type == SVS_MSG_MS_COMMAND ? command(uMsg, wParam) : 1;
  }

 private:
  UCFResult command(unsigned long uMsg, void* record) {
    switch (uMsg) {
      case MM_MEDIASTREAMING_CMD_QUERY: {
        auto& query = *static_cast<tagQuery*>(record);
        if (makes("writes into the question")) query.reserved[0] = 1;
        return query.nQueryType == MM_MEDIASTREAMING_QUERY_PLAY_ALLOWED;
      }
      case MM_MEDIASTREAMING_CMD_REGISTER:
        if (makes("writes into requests")) ++static_cast<tagMSRegisterInfo*>(record)->dwDuration;
        if (presents()) openChannels();
        return makes("refuses to register") ? 0 : 1;
      case MM_MEDIASTREAMING_CMD_MEDIA_FORMAT:
        if (makes("writes into formats"))
          ++*static_cast<unsigned char*>(static_cast<const tagMSMediaFormat*>(record)->pFormat);
        return 1;
      case MM_MEDIASTREAMING_CMD_SET_RENDER:
        return setRender(static_cast<const tagMSRenderInfo*>(record)->hRender);
      case MM_MEDIASTREAMING_CMD_MEDIA_DATA:
        return take(*static_cast<const tagMSDataStructure*>(record));
      case MM_MEDIASTREAMING_CMD_SOURCE_STATUS:
        if (static_cast<const tagMSSourceStatus*>(record)->eStatus == MM_MEDIASTREAMING_STOP)
          platform::RunLoop::main().stop();
        return 1;
      default:
        return 1;
    }
  }

  void openChannels() {
    for (Host* host : {this, other})
      platform::dispatchOnMainThread([host] {
        if (!makes("joins before it creates"))
          host->tellChannel(MM_MEDIA_STREAMING_CHANNEL_STATUS_CREATE_CONFIRM);
        host->tellChannel(MM_MEDIA_STREAMING_CHANNEL_STATUS_JOIN_SUCCESS);
      });
  }

  UCFResult setRender(std::uint64_t handle) {
    auto* const address = reinterpret_cast<platform::View*>(handle);
    if (address != nullptr)
      render_ = std::static_pointer_cast<platform::View>(address->shared_from_this());
    return 1;
  }

  // On a delivery thread.
  UCFResult take(const tagMSDataStructure& sample) {
    if (makes("writes into samples")) *static_cast<unsigned char*>(sample.pData) ^= 0xFF;
    if (makes("calls from a delivery thread")) object->OnSetActive(1);
    if (ending != 0) {
      std::signal(ending, SIG_DFL);
      std::raise(ending);
    }
    if (makes("keeps a sample") && sample.nMediaType == MM_MEDIASTREAMING_MEDIATYPE_VIDEO) {
      platform::dispatchOnMainThread([] { platform::RunLoop::main().stop(); });
      for (;;) std::this_thread::sleep_for(std::chrono::hours(1));
    }
    return 1;
  }

  const std::uint32_t user_;
  int asked_ = 0;
  std::list<std::string> texts_;
  std::map<std::uint32_t, tagUCFVariant> shared_;
  std::shared_ptr<platform::View> render_;
};

void show(Host& host) {
  tagUCFRect rect{0, 0, 640, 360};
  platform::View* const view = makes("no view") ? nullptr : host.view.get();
  host.shown = host.object->CreateActiveUI(view, &rect) == UCF_OK;
  if (makes("shows twice")) host.object->CreateActiveUI(host.view.get(), &rect);
  if (makes("calls from a thread")) onAnotherThread([&] { host.object->OnSetActive(1); });
  if (makes("tells from a thread"))
    onAnotherThread([&] { host.tell(ROUTE_TYPE_SESSION, SESSION_MSG_JOIN_CONFIRM); });
}

void open(Host& host, const contract::Module& module) {
  char file[] = "movie";
  const UCFResult created = module.createInstance(
      &host, nullptr, 0, makes("no file name") ? nullptr : file, nullptr, 0, &host.object);
  if (created != UCF_OK) std::exit(1);
  host.findFaces();
  show(host);
}

void share(Host& host) {
  host.tell(ROUTE_TYPE_SESSION, SESSION_MSG_JOIN_CONFIRM);
  host.other->tell(ROUTE_TYPE_SESSION, SESSION_MSG_JOIN_CONFIRM);
  if (makes("unknown message")) host.tell(ROUTE_TYPE_SESSION, 77);
  if (makes("status without meaning")) host.tellChannel(9);
  platform::RunLoop& loop = platform::RunLoop::main();
  loop.runUntil(loop.now() + std::chrono::seconds(60));
}

void close(Host& host) {
  if (makes("lets the view die")) host.view.reset();
  host.objectRuntime = nullptr;
  if (host.shown) host.object->DestroyActiveUI();
  IUCFMsgRouter* const router = std::exchange(host.objectRouter, nullptr);
  host.object->Release();
  if (makes("tells after release"))
    router->RouteMessage(MODULE_TYPE_MMP, MODULE_TYPE_SVS, ROUTE_TYPE_SESSION, SESSION_MSG_LEFT,
                         nullptr, nullptr);
  if (makes("draws after withdrawal") && host.render())
    host.render()->setContents(std::make_shared<platform::Image>());
}

}  // namespace

const char* contract::pluginCode() { return ""; }  // named on the command line

int main(int argc, char** argv) {
  if (argc < 3) return 2;
  mistake = argv[2];
  if (argc > 3) ending = std::atoi(argv[3]);
  const rlimit noCore{0, 0};
  setrlimit(RLIMIT_CORE, &noCore);
  const contract::Module module(argv[1]);
  if (module.createInstance == nullptr) return 1;
  if (!makes("does not ask the version")) module.getInterfaceVersion();
  if (!makes("does not initialize")) module.initialize();
  Host presenter(kPresenter);
  Host listener(kListener);
  presenter.other = &listener;
  listener.other = &presenter;
  open(presenter, module);
  open(listener, module);
  if (makes("exports from a thread")) onAnotherThread([&] { module.deleteInstance(nullptr); });
  share(presenter);
  if (makes("cleans up too early")) module.cleanup();
  close(presenter);
  close(listener);
  if (!makes("does not clean up")) module.cleanup();
  return 0;
}
