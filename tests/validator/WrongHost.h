// What a wrong host shows an object: container, runtime and router of one participant, with the one
// mistake that is made.
#pragma once

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <list>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

#include "mmp/ParticipantRecords.h"
#include "mmp/RequestRecords.h"
#include "mmp/StatusRecords.h"
#include "platform/RunLoop.h"
#include "platform/View.h"
#include "tests/validator/SlotTable.h"
#include "ucf/IUCFContainerBase.h"
#include "ucf/IUCFContainerRuntime.h"
#include "ucf/IUCFMsgRouter.h"
#include "ucf/IUCFObjectBase.h"
#include "ucf/IUCFObjectRuntime.h"

namespace wronghost {

inline std::string mistake;
inline int ending = 0;  // the signal
inline bool makes(const char* name) { return mistake == name; }

inline constexpr std::uint32_t kPresenter = 1;
inline constexpr std::uint32_t kListener = 2;

class Host final : public IUCFContainerBase, public IUCFContainerRuntime, public IUCFMsgRouter {
 public:
  explicit Host(std::uint32_t user) : user_(user) {
    std::size_t one = 0;
    std::size_t two = 0;
    if (std::sscanf(mistake.c_str(), "exchanges container %zu %zu", &one, &two) == 2)
      containerTable_.exchange(one, two);
    if (std::sscanf(mistake.c_str(), "exchanges runtime %zu %zu", &one, &two) == 2)
      runtimeTable_.exchange(one, two);
  }

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

  // What the presenter does reaches a listener on a later turn of the loop.
  template <class Record>
  void tellLater(unsigned long status, Record record) {
    record.head = {1001, 1};
    platform::dispatchOnMainThread(
        [this, status, record]() mutable { tell(ROUTE_TYPE_MEDIASTREAMING, status, &record); });
  }
  void drawLater() {
    platform::dispatchOnMainThread([this] {
      if (drawsIntoRender_) render_->setContents(std::make_shared<platform::Image>());
    });
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
    if (makes("throws") && user_ > kListener) throw std::runtime_error("no interface");
    if (*out != nullptr) return UCF_OK;
    return makes("refuses in its own words") ? UCF_E_INVALID_ARG : UCF_E_NOINTERFACE;
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
    const auto found = shared_.find(id);
    if (found == shared_.end() || makes("forgets properties") || makes("stores nothing"))
      return UCF_E_INVALID_ARG;
    *out = found->second;
    return UCF_OK;
  }
  UCFResult SetSharedProperty(std::uint32_t id, tagUCFVariant* in) override {
    if (makes("stores nothing")) return UCF_E_INVALID_ARG;
    shared_[id] = makes("stores zeros") ? tagUCFVariant{UCFVT_I4, 0, {}} : *in;
    return UCF_OK;
  }

  // --- runtime ---
  std::uint32_t CanSend() override { return 1; }
  std::uint32_t GetRuntimeMode() override {
    return presents() || makes("everybody presents") ? 0 : UCF_RUNTIME_MODE_LISTENER;
  }
  UCFResult SendDataToAll(void* data, std::uint32_t length, std::uint32_t) override {
    return send(data, length, other->user_);
  }
  UCFResult SendDataToUser(void* data, std::uint32_t length, std::uint32_t user,
                           std::uint32_t) override {
    return makes("loses commands to one") ? UCF_OK : send(data, length, user);
  }
  UCFResult SetParameterData(std::uint32_t id, void* data, std::uint32_t length) override {
    auto& published = published_[id];
    published.copy = std::make_shared<std::string>(static_cast<const char*>(data), length);
    // One who does not copy finds what the sender has made of it since.
    published.bytes = static_cast<unsigned char*>(data);
    if (!makes("does not copy"))
      published.bytes = reinterpret_cast<unsigned char*>(published.copy->data());
    other->hear(id, published);
    return UCF_OK;
  }
  std::uint32_t RequestParameterData(std::int32_t id) override {
    if (id == UCF_QUERY_OWN_DOCUMENT) return presents() || !makes("disowns the document");
    if (id == UCF_QUERY_LIVE_MEETING) return !makes("stalls, not live");
    const auto found = other->published_.find(static_cast<std::uint32_t>(id));
    if (found != other->published_.end()) hear(found->first, found->second);
    return 0;
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
  UCFResult SetItemState(std::uint32_t item, std::uint32_t state, std::uint32_t) override {
    const bool asked = state == 0 ? shown || item == UCF_ITEM_800 : item <= UCF_ITEM_801;
    const bool refused = makes("refuses what nobody asks") ? !asked : makes("no items");
    return refused ? UCF_E_INVALID_ARG : UCF_OK;
  }

  // --- router ---
  UCFResult RouteMessage(enumMODULE_TYPE, enumMODULE_TYPE to, unsigned long type,
                         unsigned long uMsg, void* wParam, void* lParam) override {
    if (to == MODULE_TYPE_CONF) {
      *static_cast<std::uint64_t*>(wParam) = 1001;
      *static_cast<std::uint64_t*>(lParam) = makes("numbers participants") ? user_ : 1;
      return makes("refuses ids") ? 0 : 1;
    }
    if (type == SVS_MSG_START_SESSION) started_ = true;
    if (type == SVS_MSG_STOP_SESSION && !started_ && makes("refuses what nobody asks")) return 0;
    return type == SVS_MSG_MS_COMMAND ? command(uMsg, wParam) : 1;
  }

 private:
  UCFResult send(const void* data, std::uint32_t length, std::uint32_t user) {
    if (makes("refuses commands")) return UCF_E_INVALID_ARG;
    if (user != other->user_ && !makes("misdirects commands")) return UCF_OK;
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
  UCFResult command(unsigned long uMsg, void* record) {
    switch (uMsg) {
      case MM_MEDIASTREAMING_CMD_QUERY: {
        auto& query = *static_cast<tagQuery*>(record);
        if (makes("writes into the question")) query.reserved[0] = 1;
        if (query.nQueryType == MM_MEDIASTREAMING_QUERY_CHANNEL_STATUS) return answer(query);
        if (query.nQueryType == MM_MEDIASTREAMING_QUERY_SESSION_PROBE) {
          if (makes("stalls, with a result")) query.dwResult = std::uint64_t{1} << 32U;
          return makes("stalls, with the probe taken") ? 1 : 0;
        }
        if (makes("stalls, not allowed to play")) query.dwStatus = query.dwResult = 0;
        return 1;
      }
      case MM_MEDIASTREAMING_CMD_REGISTER:
        if (makes("writes into requests")) ++static_cast<tagMSRegisterInfo*>(record)->dwDuration;
        openChannel();
        return makes("refuses to register") ? 0 : 1;
      case MM_MEDIASTREAMING_CMD_MEDIA_FORMAT:
        return takeFormat(*static_cast<const tagMSMediaFormat*>(record));
      case MM_MEDIASTREAMING_CMD_SET_RENDER:
        return setRender(static_cast<const tagMSRenderInfo*>(record)->hRender);
      case MM_MEDIASTREAMING_CMD_MEDIA_DATA:
        return take(*static_cast<const tagMSDataStructure*>(record));
      case MM_MEDIASTREAMING_CMD_SOURCE_STATUS:
        return takeStatus(static_cast<const tagMSSourceStatus*>(record)->eStatus);
      case MM_MEDIASTREAMING_CMD_MUTE_STATUS:
        return makes("refuses what nobody asks") ? 0 : 1;
      default:
        return 1;
    }
  }

  // What a question about the channel has told a listener, no message tells it again.
  UCFResult answer(tagQuery& query) {
    if (makes("answers joined"))
      query.dwChannelStatus = MM_MEDIA_STREAMING_CHANNEL_STATUS_JOIN_SUCCESS;
    told_ = makes("answers joined") || makes("answers created");
    return told_;
  }

  // The presenter creates the channel for both; each joins it when it registers.
  void openChannel() {
    platform::dispatchOnMainThread([this] {
      if (makes("stalls, without a channel")) return;
      if (presents() && !makes("joins before it creates"))
        for (const Host* host : {this, other})
          if (!host->told_) host->tellChannel(MM_MEDIA_STREAMING_CHANNEL_STATUS_CREATE_CONFIRM);
      if (!makes("stalls, not joined")) tellChannel(MM_MEDIA_STREAMING_CHANNEL_STATUS_JOIN_SUCCESS);
    });
  }

  UCFResult takeFormat(const tagMSMediaFormat& format) {
    if (makes("writes into formats")) ++*static_cast<unsigned char*>(format.pFormat);
    if (format.eMediaType != MM_MEDIASTREAMING_MEDIATYPE_VIDEO || makes("tells no size")) return 1;
    const auto& video = *static_cast<const tagMSVIDEOFORMATEX*>(format.pFormat);
    other->tellLater(MM_MEDIASTREAMING_MSSTATUS_VIDEO_INFORMATION,
                     tagMSVideoInfo{{}, 0, video.wWidth, video.wHeight});
    return 1;
  }

  UCFResult takeStatus(std::uint32_t status) {
    if (status == MM_MEDIASTREAMING_STOP) platform::RunLoop::main().stop();
    if (status == MM_MEDIASTREAMING_PLAY && !makes("tells no state"))
      other->tellLater(MM_MEDIASTREAMING_MSSTATUS_CURRENT_PLAY_STATUS, tagMSPlayStatus{});
    return 1;
  }

  UCFResult setRender(std::uint64_t handle) {
    auto* const address = reinterpret_cast<platform::View*>(handle);
    drawsIntoRender_ = address != nullptr;
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
    if (sample.nMediaType == MM_MEDIASTREAMING_MEDIATYPE_VIDEO && !makes("draws nothing"))
      other->drawLater();
    return 1;
  }

  struct Published {
    std::shared_ptr<std::string> copy;
    unsigned char* bytes = nullptr;
  };
  void hear(std::uint32_t id, const Published& published) {
    platform::dispatchOnMainThread([this, id, published] {
      if (objectRuntime != nullptr)
        objectRuntime->OnParameterData(id, published.bytes,
                                       static_cast<unsigned int>(published.copy->size()));
    });
  }

  const std::uint32_t user_;
  SlotTable containerTable_{static_cast<IUCFContainerBase*>(this), 21};
  SlotTable runtimeTable_{static_cast<IUCFContainerRuntime*>(this), 38};
  int asked_ = 0;
  bool started_ = false;
  bool told_ = false;
  std::list<std::string> texts_;
  std::map<std::uint32_t, tagUCFVariant> shared_;
  std::map<std::uint32_t, Published> published_;
  std::shared_ptr<platform::View> render_;
  bool drawsIntoRender_ = false;
};

}  // namespace wronghost
