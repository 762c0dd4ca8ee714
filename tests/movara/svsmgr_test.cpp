#include "movara/svsmgr.h"

#include <gmock/gmock.h>

#include <atomic>
#include <functional>

#include <string>
#include <thread>

#include "movara/player/KTAVPlayer.h"
#include "tests/movara/RecordingRouter.h"
#include "tests/movara/TraceLines.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr auto kSource = MM_MEDIASTREAMING_CHANNEL_SOURCE;
constexpr auto kListener = MM_MEDIASTREAMING_CHANNEL_LISTENER;
constexpr auto kContent = MM_MEDIASTREAMING_MEDIACONTENT_AUDIO_VIDEO;
constexpr auto kNoMute = static_cast<MM_MEDIASTREAMING_MUTESTATUS>(0xA1A2A3A4);

int format = 0;    // stands for a format record
int rendered = 0;  // stands for a render view record

std::string hex(std::uint64_t value, int bytes) {
  std::string text;
  for (int i = 0; i < bytes; ++i, value >>= 8) {
    constexpr const char* kDigits = "0123456789abcdef";
    text += kDigits[(value >> 4) & 15];
    text += kDigits[value & 15];
  }
  return text;
}

std::string hexOf(const void* pointer) {
  return hex(reinterpret_cast<std::uintptr_t>(pointer), sizeof(pointer));
}

bool sendSample(SVSMgr& manager, tagMSDataStructure sample = {}) {
  sample.dwTimestamp = 0x2122;
  sample.dwDataLength = 3;
  sample.nMediaType = MM_MEDIASTREAMING_MEDIATYPE_VIDEO;
  return manager.SendMediaSampleData(&sample);
}

// What becomes of a request on one side: the states in which it is sent at once, a letter each (a,
// b, c: 10 to 12; x: some other), and whether it is held in the others.
constexpr const char* kAllStates = "0123456789abcx";
struct Fate {
  const char* sentIn;
  bool held;
};
constexpr Fate kNever = {"", false};
constexpr Fate kAlways = {kAllStates, false};

struct RequestRow {
  const char* name;
  unsigned long command;
  Fate source;
  Fate listener;
  std::string
      body;  // of the record behind its head, with blanks; "SIDE" stands for the channel type
  std::function<bool(SVSMgr&)> send;
};

const RequestRow kRequests[] = {
    {"register",
     MM_MEDIASTREAMING_CMD_REGISTER,
     {"3", true},
     {"6", true},
     "SIDE 00000000 f8f7f6f5f4f3f2f1 03000000 00000000",
     [](SVSMgr& m) { return m.RegisterStreamingVideoSharing(0xF1F2F3F4F5F6F7F8, kContent); }},
    {"unregister",
     MM_MEDIASTREAMING_CMD_UNREGISTER,
     {"7", false},
     {"7", false},
     "SIDE 00000000",
     [](SVSMgr& m) { return m.UnRegisterStreamingVideoSharing(); }},
    {"status",
     MM_MEDIASTREAMING_CMD_SOURCE_STATUS,
     {"67", true},
     {"67", true},
     "SIDE 02000000 feffffffffffffff ffffffffffffffff",
     [](SVSMgr& m) {
       return m.UpdatePlayerStatus(MM_MEDIASTREAMING_PAUSE, -2, MM_MEDIASTREAMING_SEEK_MARK);
     }},
    {"active",
     MM_MEDIASTREAMING_CMD_SOURCE_STATUS,
     {"67", true},
     {"67", true},
     "SIDE 03000000 0000000000000000 0000000000000000",
     [](SVSMgr& m) { return m.UpdatePlayerStatus(MM_MEDIASTREAMING_PD_ACTIVE, 0, 0); }},
    {"inactive", MM_MEDIASTREAMING_CMD_SOURCE_STATUS, kAlways, kAlways,
     "SIDE 04000000 0000000000000000 0000000000000000",
     [](SVSMgr& m) { return m.UpdatePlayerStatus(MM_MEDIASTREAMING_PD_INACTIVE, 0, 0); }},
    {"format",
     MM_MEDIASTREAMING_CMD_MEDIA_FORMAT,
     {"7", true},
     kNever,
     "01000000 00000000" + hexOf(&format) + "1000000000000000",
     [](SVSMgr& m) {
       return m.SetSourceMediaFormat(MM_MEDIASTREAMING_MEDIATYPE_VIDEO, &format, 16);
     }},
    {"attach",
     MM_MEDIASTREAMING_CMD_SET_RENDER,
     kNever,
     {"67", true},
     "01000000 82000000 cdab000000000000 0000000000000000",
     [](SVSMgr& m) { return m.SetRender(0xABCD, MM_MEDIASTREAMING_RENDER_ATTACH); }},
    {"detach", MM_MEDIASTREAMING_CMD_SET_RENDER, kNever, kAlways,
     "01000000 80000000 0000000000000000 0000000000000000",
     [](SVSMgr& m) { return m.SetRender(0, MM_MEDIASTREAMING_RENDER_DETACH); }},
    {"update render",
     MM_MEDIASTREAMING_CMD_UPDATE_RENDER,
     kNever,
     {"7", false},
     "01000000 00000000 cdab000000000000 0400000000000000" + hexOf(&rendered) + "0000000000000000",
     [](SVSMgr& m) { return m.UpdateRenderMsg(4, &rendered, 0xABCD); }},
    {"volume",
     MM_MEDIASTREAMING_CMD_VOLUME,
     kNever,
     {"7", false},
     "SIDE 34120000",
     [](SVSMgr& m) { return m.UpdateVolume(0x1234); }},
    {"mute",
     MM_MEDIASTREAMING_CMD_MUTE_STATUS,
     kNever,
     {"7", false},
     "SIDE a4a3a2a1",
     [](SVSMgr& m) { return m.UpdateMuteStatus(kNoMute); }},
    {"sample",
     MM_MEDIASTREAMING_CMD_MEDIA_DATA,
     {"7", false},
     {"7", false},
     "2221000000000000 0000000000000000 0000000000000000 0300000000000000 01000000 00000000 "
     "0000000000000000 0000000000000000",
     [](SVSMgr& m) { return sendSample(m); }},
};

std::string recordOf(const RequestRow& row, MM_MEDIASTREAMING_CHANNLE_TYPE side) {
  std::string record =
      hex(RecordingRouter::kSessionID, 8) + hex(RecordingRouter::kSourceID, 8) +
      (row.body.starts_with("SIDE") ? hex(side, 4) + row.body.substr(4) : row.body);
  std::erase(record, ' ');
  return record;
}

class SvsMgrTest : public testing::Test {
 protected:
  SvsMgrTest() { takeTraceLines(); }

  // A manager with a router, on a side, in a state.
  std::unique_ptr<SVSMgr> make(MM_MEDIASTREAMING_CHANNLE_TYPE side, SvsState state = SVS_INIT) {
    auto manager = std::make_unique<SVSMgr>();
    manager->SetMsgRouter(&router, 0);
    manager->SetChannelType(side);
    manager->SetSVSState(state);
    router.take();
    return manager;
  }

  RecordingRouter router;
};

TEST_F(SvsMgrTest, SendsHoldsOrRefusesByRequestSideAndState) {
  const std::string states = kAllStates;
  for (const RequestRow& row : kRequests) {
    for (const auto side : {kSource, kListener}) {
      const Fate& fate = side == kSource ? row.source : row.listener;
      for (std::size_t state = 0; state < states.size(); ++state) {
        SCOPED_TRACE(testing::Message() << row.name << " side " << side << " state " << state);
        const auto manager = make(side, static_cast<SvsState>(state));
        const bool sent = std::string_view(fate.sentIn).find(states[state]) != std::string::npos;
        EXPECT_EQ(row.send(*manager), sent || fate.held);
        auto messages = router.take();
        EXPECT_EQ(messages.size(), sent ? 1 : 0);
        if (!sent) {
          manager->ExecuteAllMsCommand();
          messages = router.take();
          ASSERT_EQ(messages.size(), fate.held ? 1 : 0);
        }
        for (const Routed& message : messages) {
          EXPECT_EQ(message.from, MODULE_TYPE_SVS);
          EXPECT_EQ(message.to, MODULE_TYPE_MMP);
          EXPECT_EQ(message.type, SVS_MSG_MS_COMMAND);
          EXPECT_EQ(message.uMsg, row.command);
          std::string record;
          for (const unsigned char byte : message.record) {
            record += hex(byte, 1);
          }
          EXPECT_EQ(record, recordOf(row, side));
        }
      }
    }
  }
}

TEST_F(SvsMgrTest, WithoutARouterRefusesAndKeepsItsBuffer) {
  SVSMgr manager;
  for (const RequestRow& row : kRequests) {
    EXPECT_FALSE(row.send(manager)) << row.name;
  }
  EXPECT_FALSE(manager.StartStreamingVideoSession());
  EXPECT_FALSE(manager.StopStreamingVideoSession());
  manager.stopAdvancePage();

  const auto held = make(kSource);
  held->RegisterStreamingVideoSharing(1, kContent);
  held->SetMsgRouter(nullptr, 0);
  tagQuery query{};
  EXPECT_FALSE(held->QueryState(&query));
  EXPECT_EQ(query.sessionID, RecordingRouter::kSessionID);
  held->SetSVSState(SVS_OPENFILE_SUCCESS);
  held->SetSVSState(SVS_REGISTERCHANNEL_SUCCESS);
  held->SetMsgRouter(&router, 0);
  router.take();
  held->ExecuteAllMsCommand();
  EXPECT_THAT(router.takeCommands(), ElementsAre(MM_MEDIASTREAMING_CMD_REGISTER));
}

TEST_F(SvsMgrTest, ReportsTheRoutersAnswerWhereItCounts) {
  for (const UCFResult answer : {0U, 1U, 0x80000000U}) {
    const auto manager = make(kSource, SVS_OPENFILE_SUCCESS);
    router.answer = answer;
    tagQuery query{};
    const bool success = answer != 0;
    EXPECT_EQ(manager->RegisterStreamingVideoSharing(1, kContent), success);
    EXPECT_EQ(manager->QueryState(&query), success);
    EXPECT_EQ(manager->StartStreamingVideoSession(), success);
    EXPECT_EQ(manager->StopStreamingVideoSession(), success);
    EXPECT_TRUE(manager->UpdatePlayerStatus(MM_MEDIASTREAMING_PD_INACTIVE, 0, 0));
    router.take();
  }
}

TEST_F(SvsMgrTest, LeavesARefusedSampleUntouched) {
  const auto manager = make(kSource, SVS_REGISTERCHANNEL_PENDING);
  tagMSDataStructure sample{};
  sample.sessionID = 1;
  sample.sourceID = 2;
  EXPECT_FALSE(manager->SendMediaSampleData(&sample));
  EXPECT_EQ(sample.sessionID, 1);
  EXPECT_EQ(sample.sourceID, 2);
  manager->SetSVSState(SVS_REGISTERCHANNEL_SUCCESS);
  EXPECT_FALSE(manager->SendMediaSampleData(nullptr));
  EXPECT_TRUE(manager->SendMediaSampleData(&sample));
  EXPECT_EQ(sample.sessionID, RecordingRouter::kSessionID);
  EXPECT_EQ(sample.sourceID, RecordingRouter::kSourceID);
}

TEST_F(SvsMgrTest, TheRouterMayComeBackFromWithinARequest) {
  const auto manager = make(kListener);
  manager->RegisterStreamingVideoSharing(1, kContent);
  manager->UpdatePlayerStatus(MM_MEDIASTREAMING_PLAY, 0, 0);
  router.within = [&](const Routed& message) {
    if (message.uMsg == MM_MEDIASTREAMING_CMD_REGISTER) {
      manager->ExecuteAllMsCommand();                       // must not send the registration again
      manager->RegisterStreamingVideoSharing(2, kContent);  // at the end of the line
      manager->UpdateVolume(1);
    }
  };
  manager->ExecuteAllMsCommand();
  EXPECT_THAT(router.takeCommands(), ElementsAre(0, 2, 0));
  router.within = nullptr;
  manager->ExecuteAllMsCommand();
  EXPECT_THAT(router.takeCommands(), ElementsAre(0)) << "held from within the last one";

  manager->SetSVSState(SVS_REGISTERCHANNEL_PENDING);
  router.within = [&](const Routed& message) {
    if (message.uMsg == MM_MEDIASTREAMING_CMD_REGISTER) {
      manager->SetSVSState(SVS_REGISTERCHANNEL_SUCCESS);
      EXPECT_TRUE(manager->UpdateRenderMsg(4, &rendered, 1)) << "locked once more";
    }
  };
  EXPECT_TRUE(manager->RegisterStreamingVideoSharing(3, kContent));
  EXPECT_THAT(router.takeCommands(), ElementsAre(0, 5));
}

TEST_F(SvsMgrTest, AThreadThatHoldsTheLockCanLetASampleThrough) {
  const auto manager = make(kListener, SVS_REGISTERCHANNEL_SUCCESS);
  std::atomic<int> begun{0};
  std::atomic<int> sent{0};
  const auto deliver = [&] {
    ++begun;
    EXPECT_TRUE(sendSample(*manager));
    ++sent;
  };
  std::thread late;
  router.within = [&](const Routed& message) {
    if (message.uMsg != MM_MEDIASTREAMING_CMD_VOLUME) {
      return;
    }
    {
      const RequestLock::Yield yield(manager->requestLock());
      std::thread(deliver).join();
    }
    late = std::thread(deliver);
    while (begun < 2) {
      std::this_thread::yield();
    }
    for (int i = 0; i < 1000; ++i) {  // one that does not wait has its chance here
      std::this_thread::yield();
    }
    EXPECT_EQ(sent, 1) << "locked again";
  };
  EXPECT_TRUE(manager->UpdateVolume(1));
  late.join();
  EXPECT_THAT(router.takeCommands(), ElementsAre(7, 2000, 2000));
}

// The others' warnings are seen through an object; nothing in the module mutes a listener.
TEST_F(SvsMgrTest, MutingWarnsOffTheMainThread) {
  const auto manager = make(kListener, SVS_REGISTERCHANNEL_SUCCESS);
  takeTraceLines();
  std::thread([&] { EXPECT_TRUE(manager->UpdateMuteStatus(kNoMute)); }).join();
  EXPECT_THAT(takeTraceLines(), ElementsAre("W SVSMgr::UpdateMuteStatus, should in mainThread"));
}

}  // namespace
