// The smallest host: loads the plug-in, shares one file as a presenter, and counts what arrives.
//
// usage: minimal-host PLUGIN FILE
//   PLUGIN  the plug-in's code, .../movara.bundle/Contents/Linux/movara
//
// A meeting client hands the samples to its multimedia platform where this one counts them.
#include <dlfcn.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

#include "avcapture/KTVideoPlayer.h"
#include "avcapture/StatusText.h"
#include "mmp/RequestRecords.h"
#include "mmp/StatusRecords.h"
#include "platform/RunLoop.h"
#include "platform/View.h"
#include "ucf/Exports.h"
#include "ucf/IUCFContainerRuntime.h"
#include "ucf/IUCFMsgRouter.h"
#include "ucf/SessionMessages.h"

namespace {

constexpr std::uint64_t kSession = 1001;
constexpr std::uint64_t kSource = 1;

// Conference and multimedia platform, as far as a lonely presenter needs them.
class Router : public IUCFMsgRouter {
 public:
  void setObject(IUCFMsgRouter* object) { object_ = object; }
  bool registered() const { return registered_; }
  bool stopped() const { return stopped_; }
  unsigned pictures() const { return pictures_; }
  unsigned soundBlocks() const { return soundBlocks_; }

  // Tells the object something on a later turn of the run loop: it is in the middle of a request.
  void post(UCFRouteType type, unsigned long message,
            MM_MEDIA_STREAMING_CHANNEL_STATUS status = {}) {
    platform::dispatchOnMainThread([=, this] {
      tagMSChannelStatus record{};
      record.head = {kSession, kSource};
      record.dwStatus = status;
      if (object_)
        object_->RouteMessage(MODULE_TYPE_MMP, MODULE_TYPE_SVS, type, message, &record, nullptr);
    });
  }

  UCFResult RouteMessage(enumMODULE_TYPE, enumMODULE_TYPE, unsigned long type, unsigned long uMsg,
                         void* wParam, void* lParam) override {
    if (type == SVS_MSG_GET_IDS_EMBED) {
      *static_cast<std::uint64_t*>(wParam) = kSession;
      *static_cast<std::uint64_t*>(lParam) = kSource;
    }
    return type == SVS_MSG_MS_COMMAND ? command(uMsg, wParam) : 1;
  }

 private:
  UCFResult command(unsigned long uMsg, const void* record) {
    switch (uMsg) {
      case MM_MEDIASTREAMING_CMD_MEDIA_DATA:  // on a delivery thread
        return take(*static_cast<const tagMSDataStructure*>(record));
      case MM_MEDIASTREAMING_CMD_QUERY:  // no session was there before; playing is allowed
        return static_cast<const tagQuery*>(record)->nQueryType ==
               MM_MEDIASTREAMING_QUERY_PLAY_ALLOWED;
      case MM_MEDIASTREAMING_CMD_REGISTER:
        post(ROUTE_TYPE_MEDIASTREAMING, MM_MEDIASTREAMING_MSSTATUS_CHANNEL_STATUS,
             MM_MEDIA_STREAMING_CHANNEL_STATUS_CREATE_CONFIRM);
        post(ROUTE_TYPE_MEDIASTREAMING, MM_MEDIASTREAMING_MSSTATUS_CHANNEL_STATUS,
             MM_MEDIA_STREAMING_CHANNEL_STATUS_JOIN_SUCCESS);
        registered_ = true;
        return 1;
      case MM_MEDIASTREAMING_CMD_SOURCE_STATUS:
        stopped_ = static_cast<const tagMSSourceStatus*>(record)->eStatus == MM_MEDIASTREAMING_STOP;
        return 1;
      default:
        return 1;
    }
  }

  UCFResult take(const tagMSDataStructure& sample) {
    ++(sample.nMediaType == MM_MEDIASTREAMING_MEDIATYPE_VIDEO ? pictures_ : soundBlocks_);
    return 1;
  }

  IUCFMsgRouter* object_ = nullptr;
  bool registered_ = false, stopped_ = false;
  std::atomic<unsigned> pictures_{0}, soundBlocks_{0};
};

// One presenter in a live meeting without other participants.
class Runtime : public IUCFContainerRuntime {
 public:
  std::uint32_t CanSend() override { return 0; }
  std::uint32_t GetRuntimeMode() override { return 0; }
  UCFResult SendDataToAll(void*, std::uint32_t, std::uint32_t) override { return UCF_OK; }
  UCFResult SendDataToUser(void*, std::uint32_t, std::uint32_t, std::uint32_t) override {
    return UCF_OK;
  }
  UCFResult SetParameterData(std::uint32_t, void*, std::uint32_t) override { return UCF_OK; }
  std::uint32_t RequestParameterData(std::int32_t) override { return 1; }
  std::uint32_t GetCurrentRole() override { return UCF_ROLE_PRESENTER; }
  UCFResult GetOwnIdentity(void*) override { return UCF_E_INVALID_ARG; }
  UCFResult GetPresenterUserId(std::uint32_t*) override { return UCF_E_INVALID_ARG; }
  UCFResult SetItemState(std::uint32_t, std::uint32_t, std::uint32_t) override { return UCF_OK; }
};

class Container : public IUCFContainerBase {
 public:
  Container(const char* file, Runtime& runtime, Router& router)
      : file_(file), runtime_(runtime), router_(router) {}

  UCFResult GetUCFInterface(UCFInterfaceID id, void** out) override {
    if (id == UCF_IID_CONTAINER_RUNTIME)
      *out = static_cast<IUCFContainerRuntime*>(&runtime_);
    else if (id == UCF_IID_OBJECT_MSG_ROUTER)
      *out = static_cast<IUCFMsgRouter*>(&router_);
    else
      *out = nullptr;
    return *out ? UCF_OK : UCF_E_NOINTERFACE;
  }
  UCFResult GetProperty(std::uint32_t id, tagUCFVariant* out) override {
    if (id != UCF_PROPERTY_FILE_PATH) return UCF_E_INVALID_ARG;
    out->vt = UCFVT_STR;
    out->pszVal = file_;
    return UCF_OK;
  }
  void FreeVariant(tagUCFVariant*) override {}  // the path is not a copy
  UCFResult GetSharedProperty(std::uint32_t, tagUCFVariant*) override { return UCF_E_INVALID_ARG; }
  UCFResult SetSharedProperty(std::uint32_t, tagUCFVariant*) override { return UCF_E_INVALID_ARG; }

 private:
  const char* file_;
  Runtime& runtime_;
  Router& router_;
};

// Shares the file to its end, as the user would: looks at the view, presses play when it may.
// Returns what went wrong, or nothing.
std::string share(const platform::View& view, const Router& router) {
  auto& loop = platform::RunLoop::main();
  for (bool pressed = false; !router.stopped();) {
    loop.runUntil(loop.now() + std::chrono::milliseconds(50));
    const auto player = avcapture::KTVideoPlayer::inView(view);
    const int status = player ? player->statusViewType() : 0;
    if (status == 101 || status == 102) return avcapture::statusText(status);  // not a media file
    if (player && router.registered() && !pressed) {
      player->onStart(nullptr);
      pressed = true;
    }
  }
  return {};
}

template <class Function>
Function find(void* module, const char* name) {
  return reinterpret_cast<Function>(dlsym(module, name));
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3 || !*argv[2]) return std::fputs("usage: minimal-host PLUGIN FILE\n", stderr), 2;
  void* const module = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
  if (!module) return std::fprintf(stderr, "minimal-host: %s\n", dlerror()), 1;
  const auto version = find<UCFGetInterfaceVersionFn>(module, "UCFGetInterfaceVersion");
  if (!version || version() != UCF_INTERFACE_VERSION)
    return std::fputs("minimal-host: not a plug-in of this contract\n", stderr), 1;

  Router router;
  Runtime runtime;
  Container container(argv[2], runtime, router);
  find<UCFInitializeFn>(module, "UCFInitialize")();
  IUCFObjectBase* object = nullptr;
  const auto create = find<UCFCreateInstanceFn>(module, "UCFCreateInstance");
  if (create(&container, nullptr, 0, argv[2], nullptr, 0, &object) != UCF_OK)
    return std::fputs("minimal-host: no object\n", stderr), 1;
  void* face = nullptr;
  object->GetUCFInterface(UCF_IID_OBJECT_MSG_ROUTER, &face);
  router.setObject(static_cast<IUCFMsgRouter*>(face));

  const auto view = std::make_shared<platform::View>(platform::Rect{{0, 0}, {640, 360}});
  tagUCFRect rect{0, 0, 640, 360};
  object->CreateActiveUI(view.get(), &rect);
  router.post(ROUTE_TYPE_SESSION, SESSION_MSG_JOIN_CONFIRM);
  const std::string failure = share(*view, router);

  router.setObject(nullptr);
  object->Release();
  find<UCFCleanupFn>(module, "UCFCleanup")();
  dlclose(module);
  if (!failure.empty()) return std::fprintf(stderr, "%s: %s\n", argv[2], failure.c_str()), 1;
  std::printf("%u pictures, %u blocks of sound\n", router.pictures(), router.soundBlocks());
  return 0;
}
