// A host in one object: container, runtime and router. Keeps a line for everything that it is asked
// or told, in order, and answers as the test says. [main-thread; samples also delivery-thread]
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>
#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "mmp/RequestRecords.h"
#include "platform/Mutex.h"
#include "platform/RunLoop.h"
#include "ucf/IUCFContainerBase.h"
#include "ucf/IUCFContainerRuntime.h"
#include "ucf/IUCFMsgRouter.h"
#include "validator/cases/HandedTexts.h"

namespace contract {

using Lines = std::vector<std::string>;

// What is longer than any record is not read: nobody knows what lies behind it.
inline std::string hex(const void* data, std::size_t length) {
  constexpr std::size_t kLongest = 64;
  if (length > kLongest || (data == nullptr && length > 0))
    return std::to_string(length) + (data == nullptr ? " bytes at null" : " bytes");
  std::string text;
  for (const auto* byte = static_cast<const unsigned char*>(data); length > 0; ++byte, --length) {
    constexpr const char* kDigits = "0123456789abcdef";
    text += kDigits[*byte >> 4];
    text += kDigits[*byte & 15];
  }
  return text;
}

// Command 2 from user 7, and what a presenter whose join was refused answers with: command 3.
inline constexpr std::array<unsigned char, 16> kQuestion = {16, 0, 0, 0, 2, 0, 0, 0, 7};
inline constexpr const char* kNewsToOne = "to 7 0800000003000000";
inline constexpr const char* kNewsToAll = "to all 0800000003000000";

class RecordingHost : public IUCFContainerBase, public IUCFContainerRuntime, public IUCFMsgRouter {
 public:
  static constexpr std::uint64_t kSessionID = 0x0102030405060708;
  static constexpr std::uint64_t kSourceID = 42;

  virtual ~RecordingHost() = default;

  // Answers.
  bool hasRuntime = true;
  bool hasRouter = true;
  std::uint32_t role = UCF_ROLE_PRESENTER;
  std::uint32_t runtimeMode = 0;
  bool ownDocument = true;
  bool staysTheSame = true;  // whose document it is: records are to come from that side
  bool liveMeeting = true;
  bool canSend = true;
  bool throwsOnSend = false;
  std::uint64_t sourceID = kSourceID;
  using Properties = std::map<std::uint32_t, HostText>;
  Properties properties = {{UCF_PROPERTY_FILE_PATH, "/m/talk.mov"}};
  std::map<std::uint32_t, tagUCFVariant> shared;
  std::function<UCFResult(tagQuery&)> answerQuery = [](tagQuery&) { return UCF_OK; };
  // Runs within each call, after its line was kept; questions that leave no line come with "".
  std::function<void(const std::string& line)> within;
  std::function<void(const tagMSDataStructure&)> onSample;  // [delivery-thread]
  // Whether it is a view that a listener can hand over.
  std::function<bool(std::uint64_t handle)> isView = [](std::uint64_t) { return true; };
  std::atomic<bool> released{false};  // the object's Release has returned

  std::atomic<int> samples{0};
  // Complete when all threads that call have ended.
  Lines elsewhere;       // what came on a thread other than the main one, where only samples may
  Lines afterTheEnd;     // what came once the object was released
  int variantsHeld = 0;  // filled and not given back yet

  Lines take() {
    const platform::Lock lock(mutex_);
    return std::exchange(lines_, {});
  }

  // Container.
  UCFResult GetUCFInterface(UCFInterfaceID id, void** out) override {
    enter("GetUCFInterface (container, slot 0)");
    if (!given(out, "GetUCFInterface")) return UCF_E_INVALID_ARG;
    *out = nullptr;
    if (id == UCF_IID_CONTAINER_RUNTIME && hasRuntime)
      *out = static_cast<IUCFContainerRuntime*>(this);
    if (id == UCF_IID_OBJECT_MSG_ROUTER && hasRouter) *out = static_cast<IUCFMsgRouter*>(this);
    return *out != nullptr ? UCF_OK : UCF_E_NOINTERFACE;
  }
  void FreeVariant(tagUCFVariant* variant) override {
    enter("FreeVariant (container, slot 6)");
    if (!given(variant, "FreeVariant")) return;
    --variantsHeld;
    if (!texts_.takeBack(*variant))
      ADD_FAILURE() << "FreeVariant (slot 6) of a text that is not handed out";
  }
  UCFResult GetProperty(std::uint32_t id, tagUCFVariant* out) override {
    say("property " + std::to_string(id));
    const auto found = properties.find(id);
    if (!given(out, "GetProperty") || found == properties.end()) return 1;
    texts_.fill(*out, found->second);
    ++variantsHeld;
    return UCF_OK;
  }
  UCFResult GetSharedProperty(std::uint32_t id, tagUCFVariant* out) override {
    enter("GetSharedProperty (container, slot 19)");
    const auto found = shared.find(id);
    if (!given(out, "GetSharedProperty") || found == shared.end()) return 1;
    *out = found->second;
    ++variantsHeld;
    return UCF_OK;
  }
  UCFResult SetSharedProperty(std::uint32_t id, tagUCFVariant* in) override {
    if (!given(in, "SetSharedProperty")) return UCF_E_INVALID_ARG;
    say("shared " + std::to_string(id) + " type " + std::to_string(in->vt) + " " +
        std::to_string(in->lVal));
    shared[id] = *in;
    return UCF_OK;
  }

  // Runtime.
  std::uint32_t CanSend() override { return asked("CanSend (runtime, slot 0)", canSend ? 1U : 0U); }
  std::uint32_t GetRuntimeMode() override {
    enter("GetRuntimeMode (runtime, slot 1)");
    return runtimeMode;
  }
  UCFResult SendDataToAll(void* data, std::uint32_t length, std::uint32_t reserved) override {
    say("to all " + hex(data, length) + (reserved != 0 ? " reserved" : ""));
    return send();
  }
  UCFResult SendDataToUser(void* data, std::uint32_t length, std::uint32_t user,
                           std::uint32_t reserved) override {
    say("to " + std::to_string(user) + " " + hex(data, length) +
        (reserved != 0 ? " reserved" : ""));
    return send();
  }
  UCFResult SetParameterData(std::uint32_t id, void* data, std::uint32_t length) override {
    say("publish " + std::to_string(id) + " " + hex(data, length));
    return UCF_OK;
  }
  std::uint32_t RequestParameterData(std::int32_t id) override {
    if (id == UCF_QUERY_OWN_DOCUMENT) {
      return asked("RequestParameterData(-2) (runtime, slot 14)", ownDocument ? 1U : 0U);
    }
    if (id == UCF_QUERY_LIVE_MEETING) {
      enter("RequestParameterData(-4) (runtime, slot 14)");
      return liveMeeting ? 1 : 0;
    }
    say("request " + std::to_string(id));
    return 0;
  }
  std::uint32_t GetCurrentRole() override {
    return asked("GetCurrentRole (runtime, slot 17)", role);
  }
  UCFResult GetOwnIdentity(void* out) override {
    if (given(out, "GetOwnIdentity")) std::memcpy(out, "\x05\x00\x00\x00\x0a\x0b\x0c\x0d", 8);
    return asked("GetOwnIdentity (runtime, slot 18)", UCF_OK);
  }
  UCFResult GetPresenterUserId(std::uint32_t* out) override {
    if (given(out, "GetPresenterUserId")) *out = presents() ? 5 : 9;
    return asked("GetPresenterUserId (runtime, slot 19)", UCF_OK);
  }
  UCFResult SetItemState(std::uint32_t item, std::uint32_t state, std::uint32_t reserved) override {
    say("item " + std::to_string(item) + "=" + std::to_string(state) +
        (reserved != 0 ? " reserved" : ""));
    return UCF_OK;
  }

  // Router.
  UCFResult RouteMessage(enumMODULE_TYPE from, enumMODULE_TYPE to, unsigned long type,
                         unsigned long uMsg, void* wParam, void* lParam) override {
    if (from != MODULE_TYPE_SVS) {
      say("from " + std::to_string(from));
    }
    if (to == MODULE_TYPE_CONF) {
      if (given(wParam, "wParam of the ids") && given(lParam, "lParam of the ids")) {
        *static_cast<std::uint64_t*>(wParam) = kSessionID;
        *static_cast<std::uint64_t*>(lParam) = sourceID;
      }
      return say("ids " + std::to_string(type));
    }
    EXPECT_EQ(lParam, nullptr);
    if (to != MODULE_TYPE_MMP) {
      say("for " + std::to_string(to));
    }
    if (type != SVS_MSG_MS_COMMAND) {
      return say("session " + std::to_string(type));
    }
    if (!given(wParam, "wParam, the record of a request,"))
      return say("command " + std::to_string(uMsg));
    return command(uMsg, wParam);
  }

 private:
  UCFResult command(unsigned long command, void* record) {
    const auto number = [](auto value) { return std::string(" ").append(std::to_string(value)); };
    expectIdentifiers(command, *static_cast<const tagMSUnRegisterInfo*>(record));
    switch (command) {
      case MM_MEDIASTREAMING_CMD_REGISTER: {
        const auto& r = *static_cast<const tagMSRegisterInfo*>(record);
        return say("register" + number(static_cast<std::int64_t>(r.dwDuration)) +
                   number(r.eMediaContent));
      }
      case MM_MEDIASTREAMING_CMD_UNREGISTER:
        return say("unregister");
      case MM_MEDIASTREAMING_CMD_SOURCE_STATUS: {
        const auto& r = *static_cast<const tagMSSourceStatus*>(record);
        return say("status" + number(r.eStatus) + number(r.lPosition) +
                   (r.dwSeekMark == 0                             ? ""
                    : r.dwSeekMark == MM_MEDIASTREAMING_SEEK_MARK ? " seek"
                                                                  : " half a seek"));
      }
      case MM_MEDIASTREAMING_CMD_MEDIA_FORMAT: {
        const auto& r = *static_cast<const tagMSMediaFormat*>(record);
        return say("format" + number(r.eMediaType) + " " + hex(r.pFormat, r.dwFormatSize));
      }
      case MM_MEDIASTREAMING_CMD_SET_RENDER: {
        const auto& r = *static_cast<const tagMSRenderInfo*>(record);
        EXPECT_EQ(r.reserved, 0U);
        return say("render" + number(r.eRenderType) + " " + viewAt(r.hRender));
      }
      case MM_MEDIASTREAMING_CMD_UPDATE_RENDER: {
        const auto& r = *static_cast<const tagMSRenderUpdate*>(record);
        EXPECT_EQ(r.reserved, 0U);
        if (!given(r.pUpdateParam, "pUpdateParam"))
          return say("update render" + number(r.dwUpdateKind));
        const auto& view = *static_cast<const tagMSRenderView*>(r.pUpdateParam);
        return say("update render" + number(r.dwUpdateKind) + number(view.nViewKind) + " " +
                   (view.hRenderView == r.hRender ? viewAt(r.hRender) : "two views"));
      }
      case MM_MEDIASTREAMING_CMD_VOLUME:
        return say("volume" + number(static_cast<const tagMSVolumeInfo*>(record)->wVolumeLevel));
      case MM_MEDIASTREAMING_CMD_MUTE_STATUS:
        return say("mute" + number(static_cast<const tagMSMuteInfo*>(record)->eMuteStatus));
      case MM_MEDIASTREAMING_CMD_QUERY: {
        auto& query = *static_cast<tagQuery*>(record);
        expectPreset(query);
        say("query" + number(query.nQueryType) + number(query.dwResult));
        return answerQuery(query);
      }
      case MM_MEDIASTREAMING_CMD_MEDIA_DATA:
        enter("RouteMessage of a sample (uMsg 2000)", true);
        ++samples;
        if (onSample) onSample(*static_cast<const tagMSDataStructure*>(record));
        return 1;
      default:
        return say("command" + number(command));
    }
  }

  // What all records begin with, but for a query's; most go on with the side that they come from.
  void expectIdentifiers(unsigned long command, const tagMSUnRegisterInfo& record) const {
    EXPECT_EQ(record.head.sessionID, kSessionID);
    if (command == MM_MEDIASTREAMING_CMD_QUERY) {
      return;
    }
    EXPECT_EQ(record.head.sourceID, sourceID);
    if (staysTheSame && command != MM_MEDIASTREAMING_CMD_MEDIA_FORMAT &&
        command != MM_MEDIASTREAMING_CMD_MEDIA_DATA) {
      EXPECT_EQ(record.eChannelType,
                presents() ? MM_MEDIASTREAMING_CHANNEL_SOURCE : MM_MEDIASTREAMING_CHANNEL_LISTENER);
    }
  }
  // Query 0 presets no status.
  static void expectPreset(const tagQuery& query) {
    if (query.nQueryType != MM_MEDIASTREAMING_QUERY_CHANNEL_STATUS) {
      const bool mayPlay = query.nQueryType == MM_MEDIASTREAMING_QUERY_PLAY_ALLOWED;
      EXPECT_EQ(query.dwStatus, mayPlay ? ~std::uint64_t{0} : 0U);
    }
    EXPECT_TRUE(std::ranges::all_of(query.reserved, [](auto byte) { return byte == 0; }));
  }
  const char* viewAt(std::uint64_t handle) const {
    return handle == 0 ? "none" : isView(handle) ? "view" : "another view";
  }
  bool presents() const { return ownDocument && runtimeMode != UCF_RUNTIME_MODE_LISTENER; }
  // Whether there is something where the object is to be answered, or has said something.
  static bool given(const void* pointer, const char* what) {
    if (pointer == nullptr) ADD_FAILURE() << what << " is null";
    return pointer != nullptr;
  }
  // Each call passes here, whether a line is kept of it or not.
  void enter(std::string_view call, bool anyThread = false) {
    const bool away = !anyThread && !platform::isMainThread();
    if (!away && !released) return;
    const platform::Lock lock(mutex_);
    if (away) elsewhere.emplace_back(call);
    if (released) afterTheEnd.emplace_back(call);
  }
  template <class Answer>
  Answer asked(std::string_view call, Answer answer) {
    enter(call);
    if (within) {
      within("");
    }
    return answer;
  }
  UCFResult send() const {
    if (throwsOnSend) {
      throw std::runtime_error("line is down");
    }
    return UCF_OK;
  }
  // Answers as a router that could do it.
  UCFResult say(const std::string& line) {
    enter(line);
    {
      const platform::Lock lock(mutex_);
      lines_.push_back(line);
    }
    if (within) {
      within(line);
    }
    return 1;
  }

  HandedTexts texts_;
  platform::Mutex mutex_;  // of what callers on wrong threads write, too
  Lines lines_ GUARDED_BY(mutex_);
};

}  // namespace contract
