// The built plug-in with one thing wrong, which FAULT names: stands between it and its host.
#include <dlfcn.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <list>
#include <memory>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

#include "avcapture/KTVideoPlayer.h"
#include "mmp/RequestRecords.h"
#include "platform/NotificationCenter.h"
#include "platform/RunLoop.h"
#include "tests/validator/OwnObject.h"
#include "tests/validator/SlotTable.h"
#include "ucf/Exports.h"
#include "ucf/IUCFContainerRuntime.h"
#include "ucf/IUCFMsgRouter.h"

#define EXPORTED extern "C" __attribute__((visibility("default")))

namespace {

enum class Fault {
  none,
  anotherView,
  answersOne,
  asksOnDeliveryThread,
  asksTwice,
  callsAfterTheEnd,
  crashes,
  crashesOnLoad,
  cutsSourceID,
  deletesInstance,
  endsTheProgram,
  fieldMoved,
  fieldWrong,
  freesFirst,
  hangs,
  hangsOnCreate,
  hangsOnLoad,
  ignoresTheClient,
  keepsVariants,
  losesVolume,
  makesNothing,
  makesNothingSilently,
  neverEnds,
  noCleanup,
  noRecord,
  oneHost,
  otherModule,
  otherThread,
  otherVersion,
  ownObject,  // nothing is wrong with it
  ownView,    // nor with this
  placesWrong,
  playerSlotsSwapped,
  readsNoWideText,
  registersNowhere,
  reservedWord,
  runtimeSlotsSwapped,
  samplesAfterTheEnd,
  shortRecord,
  slotsSwapped,
  throws,
};
constexpr Fault kFault = Fault::FAULT;

#ifndef FAULT_ownObject
// What lies inside is movara's own.
CONSTANT(kAVMovieCurrentPresenterRole, "kAVMovieCurrentPresenterRole")
#endif

__attribute__((constructor)) void load() {
  if (kFault == Fault::crashesOnLoad) std::abort();
  while (kFault == Fault::hangsOnLoad) pause();
}

template <class Function>
Function real(const char* name) {
  static void* const code = dlopen(MOVARA_BUNDLE_CODE, RTLD_NOW | RTLD_LOCAL);
  return reinterpret_cast<Function>(dlsym(code, name));
}

class Router final : public IUCFMsgRouter {
 public:
  virtual ~Router() = default;
  UCFResult RouteMessage(enumMODULE_TYPE from, enumMODULE_TYPE to, unsigned long type,
                         unsigned long message, void* wParam, void* lParam) override {
    const bool command = to != MODULE_TYPE_CONF && type == SVS_MSG_MS_COMMAND;
    const auto wrong = [&](unsigned long at, Fault fault) {
      return command && message == at && kFault == fault;
    };
    if (to == MODULE_TYPE_MMP && kFault == Fault::otherModule) to = enumMODULE_TYPE{3};
    const auto pass = [&] { return host->RouteMessage(from, to, type, message, wParam, lParam); };
    if (wrong(MM_MEDIASTREAMING_CMD_VOLUME, Fault::losesVolume)) return UCF_OK;
    if (wrong(MM_MEDIASTREAMING_CMD_REGISTER, Fault::registersNowhere)) return 1;
    if (wrong(MM_MEDIASTREAMING_CMD_MEDIA_FORMAT, Fault::shortRecord))
      static_cast<tagMSMediaFormat*>(wParam)->dwFormatSize -= 4;
    if (wrong(MM_MEDIASTREAMING_CMD_REGISTER, Fault::fieldMoved))
      moveContent(static_cast<tagMSRegisterInfo*>(wParam));
    if (wrong(MM_MEDIASTREAMING_CMD_REGISTER, Fault::cutsSourceID))
      static_cast<tagMSRegisterInfo*>(wParam)->head.sourceID &= 0xFFFFFFFF;
    if (wrong(MM_MEDIASTREAMING_CMD_SET_RENDER, Fault::reservedWord))
      static_cast<tagMSRenderInfo*>(wParam)->reserved = 1;
    if (wrong(MM_MEDIASTREAMING_CMD_SET_RENDER, Fault::anotherView) &&
        static_cast<tagMSRenderInfo*>(wParam)->hRender != 0)
      static_cast<tagMSRenderInfo*>(wParam)->hRender = reinterpret_cast<std::uintptr_t>(this);
    if (wrong(MM_MEDIASTREAMING_CMD_UNREGISTER, Fault::noRecord)) wParam = nullptr;
    if (wrong(MM_MEDIASTREAMING_CMD_MEDIA_DATA, Fault::asksOnDeliveryThread))
      runtime->GetCurrentRole();
    if (wrong(MM_MEDIASTREAMING_CMD_MEDIA_DATA, Fault::fieldWrong))
      static_cast<tagMSDataStructure*>(wParam)->dwTimestamp *= 1000;  // microseconds
    if (wrong(MM_MEDIASTREAMING_CMD_SOURCE_STATUS, Fault::otherThread)) {
      UCFResult result = UCF_OK;
      std::thread([&] { result = pass(); }).join();
      return result;
    }
    if (command && message == MM_MEDIASTREAMING_CMD_UNREGISTER) atUnregister();
    return pass();
  }

  IUCFMsgRouter* host = nullptr;
  IUCFContainerRuntime* runtime = nullptr;  // the host's

 private:
  // As if both were declared the other way round, and the padding with them.
  static void moveContent(tagMSRegisterInfo* record) {
    const auto content = static_cast<std::uint64_t>(record->eMediaContent);
    record->eMediaContent = static_cast<MM_MEDIASTREAMING_MEDIACONTENENT>(record->dwDuration);
    record->dwDuration = content;
  }
  static void atUnregister() {
    if (kFault == Fault::crashes) std::raise(SIGSEGV);
    if (kFault == Fault::endsTheProgram) {
      // More than fits into a pipe.
      for (int line = 1; line <= 8000; ++line) std::fprintf(stderr, "in line\t%d\n", line);
      std::_Exit(0);
    }
    while (kFault == Fault::hangs) pause();
  }
};

class Container;

// They outlive the objects that call them.
std::vector<std::unique_ptr<Container>> containers;

class Container final : public IUCFContainerBase {
 public:
  explicit Container(IUCFContainerBase& host) : host_(host) {}
  virtual ~Container() = default;

  UCFResult GetUCFInterface(UCFInterfaceID id, void** out) override {
    const UCFResult result = host_.GetUCFInterface(id, out);
    if (result == UCF_OK && id == UCF_IID_OBJECT_MSG_ROUTER) {
      router.host = static_cast<IUCFMsgRouter*>(*out);
      if (kFault == Fault::oneHost)
        for (const auto& each : containers) each->router.host = router.host;
      *out = static_cast<IUCFMsgRouter*>(&router);
    }
    if (result == UCF_OK && id == UCF_IID_CONTAINER_RUNTIME)
      router.runtime = static_cast<IUCFContainerRuntime*>(*out);
    return result;
  }
  void FreeVariant(tagUCFVariant* variant) override {
    if (kFault != Fault::keepsVariants && kFault != Fault::freesFirst) host_.FreeVariant(variant);
  }
  UCFResult GetProperty(std::uint32_t id, tagUCFVariant* out) override {
    const UCFResult result = host_.GetProperty(id, out);
    const bool refused =
        kFault == Fault::readsNoWideText && result == UCF_OK && out->vt == UCFVT_WSTR;
    if (refused || (kFault == Fault::freesFirst && result == UCF_OK)) host_.FreeVariant(out);
    return refused ? 1 : result;
  }
  UCFResult GetSharedProperty(std::uint32_t id, tagUCFVariant* out) override {
    return host_.GetSharedProperty(id, out);
  }
  UCFResult SetSharedProperty(std::uint32_t id, tagUCFVariant* in) override {
    return host_.SetSharedProperty(id, in);
  }

  Router router;

 private:
  IUCFContainerBase& host_;
};

// The tables that have taken the place of the faces' own; they stay as long as the module.
std::list<SlotTable> tables;
SlotTable& changed(void* face, std::size_t slots) { return tables.emplace_back(face, slots); }
// By its table: another face may come to lie where one was.
bool isChanged(const void* face) {
  return std::ranges::any_of(tables, [face](const SlotTable& table) { return table.isOf(face); });
}

// What stands at a slot of the object's first face in the place of the module's own function.
using Release = void (*)(void* object);
using CreateActiveUI = UCFResult (*)(void* object, void* parentView, tagUCFRect* rect);
using Tell = UCFResult (*)(void* object, std::uint32_t argument);
using Notify = std::int32_t (*)(void* object, unsigned int code, unsigned long p1,
                                unsigned long p2);
constexpr unsigned int kGetPlayer = 12;
constexpr std::size_t kPlayerSlots = 45;
Release realRelease = nullptr;
Notify realNotify = nullptr;
CreateActiveUI realCreateActiveUI = nullptr;

void releaseAndCall(void* object) {
  realRelease(object);
  Router& router = containers.back()->router;
  if (router.host != nullptr)
    router.host->RouteMessage(MODULE_TYPE_SVS, MODULE_TYPE_MMP, 103, 0, nullptr, nullptr);
}
void releaseAndSample(void* object) {
  realRelease(object);
  platform::dispatchOnMainThread([host = containers.back()->router.host] {
    tagMSDataStructure sample{};
    if (host != nullptr)
      host->RouteMessage(MODULE_TYPE_SVS, MODULE_TYPE_MMP, SVS_MSG_MS_COMMAND,
                         MM_MEDIASTREAMING_CMD_MEDIA_DATA, &sample, nullptr);
  });
}
void releaseNothing(void* /*object*/) {}

// Whatever stands in for the framework's view is not asked for one.
UCFResult createActiveUIWithOwnView(void* object, void* parentView, tagUCFRect* rect) {
  avcapture::KTVideoPlayer::setFactory(nullptr);
  return realCreateActiveUI(object, parentView, rect);
}

UCFResult createActiveUITooNarrow(void* object, void* parentView, tagUCFRect* rect) {
  if (rect == nullptr) return realCreateActiveUI(object, parentView, rect);
  tagUCFRect narrow = *rect;
  --narrow.right;
  return realCreateActiveUI(object, parentView, &narrow);
}

UCFResult createActiveUIAndAsk(void* object, void* parentView, tagUCFRect* rect) {
  const UCFResult result = realCreateActiveUI(object, parentView, rect);
  platform::NotificationCenter::defaultCenter().post("PDSyncSharingViewModeNotification");
  return result;
}

// What its view's delegate asks and tells the player when the client speaks goes nowhere.
UCFResult createActiveUIAndIgnore(void* object, void* parentView, tagUCFRect* rect) {
  const UCFResult result = realCreateActiveUI(object, parentView, rect);
  void* player = nullptr;
  realNotify(object, kGetPlayer, reinterpret_cast<unsigned long>(&player), 0);
  if (player == nullptr || isChanged(player)) return result;
  SlotTable& slots = changed(player, kPlayerSlots);
  constexpr auto kNothing = [](void* /*player*/, int /*argument*/) {};
  constexpr auto kStopped = [](void* /*player*/) { return 2; };
  slots[6] = reinterpret_cast<void*>(+kStopped);
  for (const std::size_t at : {18U, 37U, 44U}) slots[at] = reinterpret_cast<void*>(+kNothing);
  return result;
}

// Does what it should, and answers something else.
template <std::size_t slot>
struct AnswerOne {
  static inline Tell real = nullptr;
  static UCFResult tell(void* object, std::uint32_t argument) {
    real(object, argument);
    return 1;
  }
  static void put(SlotTable& slots) {
    real = reinterpret_cast<Tell>(std::exchange(slots[slot], reinterpret_cast<void*>(&tell)));
  }
};

// Who asks for the player gets one whose operations are exchanged.
std::int32_t notifyAndExchange(void* object, unsigned int code, unsigned long p1,
                               unsigned long p2) {
  const std::int32_t result = realNotify(object, code, p1, p2);
  if (code != kGetPlayer) return result;
  auto* const player = *reinterpret_cast<void**>(p1);
  if (!isChanged(player)) changed(player, kPlayerSlots).exchange(3, 4);
  return result;
}

void changeTable(IUCFObjectBase* object) {
  SlotTable& slots = changed(object, 34);
  realRelease = reinterpret_cast<Release>(slots[1]);
  realNotify = reinterpret_cast<Notify>(slots[32]);
  realCreateActiveUI = reinterpret_cast<CreateActiveUI>(slots[6]);
  if (kFault == Fault::slotsSwapped) slots.exchange(3, 4);
  if (kFault == Fault::callsAfterTheEnd) slots[1] = reinterpret_cast<void*>(&releaseAndCall);
  if (kFault == Fault::samplesAfterTheEnd) slots[1] = reinterpret_cast<void*>(&releaseAndSample);
  if (kFault == Fault::neverEnds) slots[1] = reinterpret_cast<void*>(&releaseNothing);
  if (kFault == Fault::playerSlotsSwapped) slots[32] = reinterpret_cast<void*>(&notifyAndExchange);
  if (kFault == Fault::placesWrong) slots[6] = reinterpret_cast<void*>(&createActiveUITooNarrow);
  if (kFault == Fault::asksTwice) slots[6] = reinterpret_cast<void*>(&createActiveUIAndAsk);
  if (kFault == Fault::ignoresTheClient)
    slots[6] = reinterpret_cast<void*>(&createActiveUIAndIgnore);
  if (kFault == Fault::answersOne) {
    AnswerOne<2>::put(slots);
    AnswerOne<3>::put(slots);
    AnswerOne<4>::put(slots);
    AnswerOne<7>::put(slots);
  }
  if (kFault == Fault::ownView) slots[6] = reinterpret_cast<void*>(&createActiveUIWithOwnView);
  void* runtime = nullptr;
  object->GetUCFInterface(UCF_IID_OBJECT_RUNTIME, &runtime);
  if (kFault == Fault::runtimeSlotsSwapped) changed(runtime, 18).exchange(0, 8);
}

}  // namespace

EXPORTED UCFResult UCFInitialize() { return real<UCFInitializeFn>("UCFInitialize")(); }
#ifndef FAULT_noCleanup
EXPORTED UCFResult UCFCleanup() { return real<UCFCleanupFn>("UCFCleanup")(); }
#endif
EXPORTED UCFResult UCFDeleteInstance(IUCFObjectBase* object) {
  if (kFault == Fault::deletesInstance && object != nullptr) object->Release();
  return real<UCFDeleteInstanceFn>("UCFDeleteInstance")(object);
}
EXPORTED int UCFGetInterfaceVersion() {
  return real<UCFGetInterfaceVersionFn>("UCFGetInterfaceVersion")() -
         (kFault == Fault::otherVersion ? 1 : 0);
}
EXPORTED UCFResult UCFCreateInstance(IUCFContainerBase* container, char* name, UCFCtx context,
                                     void* fileName, void* reserved, unsigned char reserved2,
                                     IUCFObjectBase** out) {
  while (kFault == Fault::hangsOnCreate) pause();
  if (kFault == Fault::makesNothing) return UCF_E_CREATE_FAILED;
  if (kFault == Fault::makesNothingSilently) return UCF_OK;
  if (container != nullptr) {
    containers.push_back(std::make_unique<Container>(*container));
    container = containers.back().get();
  }
  const UCFResult result = real<UCFCreateInstanceFn>("UCFCreateInstance")(
      container, name, context, fileName, reserved, reserved2, out);
  if (result != UCF_OK && kFault == Fault::throws) throw std::runtime_error("no object");
  if (result != UCF_OK) return result;
  if (kFault == Fault::ownObject)
    *out = new OwnObject(*out);
  else
    changeTable(*out);
  return result;
}
