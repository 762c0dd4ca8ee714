#include "movara/svsmgr.h"

#include <gmock/gmock.h>

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

std::string hex(const std::vector<unsigned char>& bytes) {
  std::string text;
  for (const unsigned char byte : bytes) {
    text += hex(byte, 1);
  }
  return text;
}

const std::string kHead =
    "0807060504030201"
    "1817161514131211";

// What becomes of a request on one side: in which states it is sent at once, and what happens in
// the others.
enum Otherwise { kHeld, kRefused };
struct Fate {
  std::vector<int> sentIn;
  Otherwise otherwise;
};
const std::vector<int> kAllStates = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 77};
const Fate kNever = {{}, kRefused};
const Fate kAlways = {kAllStates, kRefused};

struct RequestRow {
  const char* name;
  std::function<bool(SVSMgr&)> send;
  unsigned long command;
  Fate source;
  Fate listener;
  std::string body;  // of the record behind its head; "SIDE" stands for the channel type
};

bool sendSample(SVSMgr& manager) {
  tagMSDataStructure sample{};
  sample.dwTimestamp = 0x2122;
  sample.dwDataLength = 3;
  sample.nMediaType = MM_MEDIASTREAMING_MEDIATYPE_VIDEO;
  return manager.SendMediaSampleData(&sample);
}

const std::vector<RequestRow>& requests() {
  static const std::string zero4 = "00000000";
  static const std::string zero8 = zero4 + zero4;
  static const std::vector<RequestRow> rows = {
      {"register",
       [](SVSMgr& m) { return m.RegisterStreamingVideoSharing(0xF1F2F3F4F5F6F7F8, kContent); },
       MM_MEDIASTREAMING_CMD_REGISTER,
       {{3}, kHeld},
       {{6}, kHeld},
       "SIDE" + zero4 + "f8f7f6f5f4f3f2f1" + "03000000" + zero4},
      {"unregister",
       [](SVSMgr& m) { return m.UnRegisterStreamingVideoSharing(); },
       MM_MEDIASTREAMING_CMD_UNREGISTER,
       {{7}, kRefused},
       {{7}, kRefused},
       "SIDE" + zero4},
      {"status",
       [](SVSMgr& m) {
         return m.UpdatePlayerStatus(MM_MEDIASTREAMING_PAUSE, -2, MM_MEDIASTREAMING_SEEK_MARK);
       },
       MM_MEDIASTREAMING_CMD_SOURCE_STATUS,
       {{6, 7}, kHeld},
       {{6, 7}, kHeld},
       "SIDE"
       "02000000"
       "feffffffffffffff"
       "ffffffffffffffff"},
      {"active",
       [](SVSMgr& m) { return m.UpdatePlayerStatus(MM_MEDIASTREAMING_PD_ACTIVE, 0, 0); },
       MM_MEDIASTREAMING_CMD_SOURCE_STATUS,
       {{6, 7}, kHeld},
       {{6, 7}, kHeld},
       "SIDE"
       "03000000" +
           zero8 + zero8},
      {"inactive",
       [](SVSMgr& m) { return m.UpdatePlayerStatus(MM_MEDIASTREAMING_PD_INACTIVE, 0, 0); },
       MM_MEDIASTREAMING_CMD_SOURCE_STATUS, kAlways, kAlways,
       "SIDE"
       "04000000" +
           zero8 + zero8},
      {"format",
       [](SVSMgr& m) {
         return m.SetSourceMediaFormat(MM_MEDIASTREAMING_MEDIATYPE_VIDEO, &format, 16);
       },
       MM_MEDIASTREAMING_CMD_MEDIA_FORMAT,
       {{7}, kHeld},
       kNever,
       "01000000" + zero4 + hex(reinterpret_cast<std::uintptr_t>(&format), 8) + "1000000000000000"},
      {"attach",
       [](SVSMgr& m) { return m.SetRender(0xABCD, MM_MEDIASTREAMING_RENDER_ATTACH); },
       MM_MEDIASTREAMING_CMD_SET_RENDER,
       kNever,
       {{6, 7}, kHeld},
       "01000000"
       "82000000"
       "cdab000000000000" +
           zero8},
      {"detach", [](SVSMgr& m) { return m.SetRender(0, MM_MEDIASTREAMING_RENDER_DETACH); },
       MM_MEDIASTREAMING_CMD_SET_RENDER, kNever, kAlways,
       "01000000"
       "80000000" +
           zero8 + zero8},
      {"update render",
       [](SVSMgr& m) { return m.UpdateRenderMsg(4, &rendered, 0xABCD); },
       MM_MEDIASTREAMING_CMD_UPDATE_RENDER,
       kNever,
       {{7}, kRefused},
       "01000000" + zero4 +
           "cdab000000000000"
           "0400000000000000" +
           hex(reinterpret_cast<std::uintptr_t>(&rendered), 8) + zero8},
      {"volume",
       [](SVSMgr& m) { return m.UpdateVolume(0x1234); },
       MM_MEDIASTREAMING_CMD_VOLUME,
       kNever,
       {{7}, kRefused},
       "SIDE"
       "34120000"},
      {"mute",
       [](SVSMgr& m) { return m.UpdateMuteStatus(kNoMute); },
       MM_MEDIASTREAMING_CMD_MUTE_STATUS,
       kNever,
       {{7}, kRefused},
       "SIDE"
       "a4a3a2a1"},
      {"sample",
       sendSample,
       MM_MEDIASTREAMING_CMD_MEDIA_DATA,
       {{7}, kRefused},
       {{7}, kRefused},
       "2221000000000000" + zero8 + zero8 +
           "0300000000000000"
           "01000000" +
           zero4 + zero8 + zero8},
  };
  return rows;
}

bool contains(const std::vector<int>& states, int state) {
  return std::find(states.begin(), states.end(), state) != states.end();
}

std::string recordOf(const RequestRow& row, MM_MEDIASTREAMING_CHANNLE_TYPE side) {
  std::string body = row.body;
  if (body.rfind("SIDE", 0) == 0) {
    body.replace(0, 4, hex(side, 4));
  }
  return kHead + body;
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
  for (const RequestRow& row : requests()) {
    for (const auto side : {kSource, kListener}) {
      const Fate& fate = side == kSource ? row.source : row.listener;
      for (const int state : kAllStates) {
        SCOPED_TRACE(std::string(row.name) + " side " + std::to_string(side) + " state " +
                     std::to_string(state));
        const auto manager = make(side, static_cast<SvsState>(state));
        const bool sent = contains(fate.sentIn, state);
        EXPECT_EQ(row.send(*manager), sent || fate.otherwise == kHeld);
        auto messages = router.take();
        EXPECT_EQ(messages.size(), sent ? 1 : 0);
        if (!sent) {
          manager->ExecuteAllMsCommand();
          messages = router.take();
          ASSERT_EQ(messages.size(), fate.otherwise == kHeld ? 1 : 0);
        }
        for (const Routed& message : messages) {
          EXPECT_EQ(message.from, MODULE_TYPE_SVS);
          EXPECT_EQ(message.to, MODULE_TYPE_MMP);
          EXPECT_EQ(message.type, SVS_MSG_MS_COMMAND);
          EXPECT_EQ(message.uMsg, row.command);
          EXPECT_EQ(hex(message.record), recordOf(row, side));
        }
      }
    }
  }
}

TEST_F(SvsMgrTest, WithoutARouterRefusesAndKeepsItsBuffer) {
  SVSMgr manager;
  for (const RequestRow& row : requests()) {
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

TEST_F(SvsMgrTest, ReleasesAListenersRequestsStepByStep) {
  const auto manager = make(kListener);
  manager->RegisterStreamingVideoSharing(1, kContent);
  manager->UpdatePlayerStatus(MM_MEDIASTREAMING_PLAY, 0, 0);
  manager->SetRender(1, MM_MEDIASTREAMING_RENDER_ATTACH);
  manager->UpdatePlayerStatus(MM_MEDIASTREAMING_STOP, 0, 0);
  manager->RegisterStreamingVideoSharing(2, kContent);
  EXPECT_THAT(router.takeCommands(), IsEmpty());

  manager->SetSVSState(SVS_OPENFILE_SUCCESS);
  EXPECT_THAT(router.takeCommands(), IsEmpty());
  manager->SetSVSState(SVS_JOINSESSION_SUCCESS);
  EXPECT_THAT(router.takeCommands(), ElementsAre(0));
  manager->SetSVSState(SVS_REGISTERCHANNEL_PENDING);
  EXPECT_THAT(router.takeCommands(), ElementsAre(0, 2, 4));
  EXPECT_EQ(count(takeTraceLines(),
                  "I Current status is SVS_REGISTERCHANNEL_PENDING, "
                  "Lintener send reginster, status, render out, this = 0x"),
            1);
  manager->SetSVSState(SVS_REGISTERCHANNEL_SUCCESS);
  EXPECT_THAT(router.takeCommands(), ElementsAre(2));
}

TEST_F(SvsMgrTest, ReleasesASourcesRegistrationOnceItsFileIsOpenAndTheRestWhenJoined) {
  const auto manager = make(kSource);
  manager->UpdatePlayerStatus(MM_MEDIASTREAMING_PD_ACTIVE, 0, 0);
  manager->RegisterStreamingVideoSharing(1, kContent);
  manager->RegisterStreamingVideoSharing(2, kContent);
  manager->SetSourceMediaFormat(MM_MEDIASTREAMING_MEDIATYPE_AUDIO, &format, 32);
  manager->SetSVSState(SVS_JOINSESSION_SUCCESS);
  manager->SetSVSState(SVS_REGISTERCHANNEL_PENDING);
  EXPECT_THAT(router.takeCommands(), IsEmpty());
  manager->SetSVSState(SVS_OPENFILE_SUCCESS);
  const auto registration = router.take();
  ASSERT_THAT(registration, SizeIs(1));
  EXPECT_EQ(registration[0].record[24], 1) << "the older one";
  manager->SetSVSState(SVS_REGISTERCHANNEL_SUCCESS);
  EXPECT_THAT(router.takeCommands(), ElementsAre(2, 0, 3));
  EXPECT_TRUE(sendSample(*manager));
  for (const int state : {9, 6, 0, 12}) {
    manager->SetSVSState(static_cast<SvsState>(state));
    EXPECT_FALSE(sendSample(*manager)) << state;
  }
}

TEST_F(SvsMgrTest, PurgesReportsOfWindowActivityOnly) {
  const auto manager = make(kListener);
  manager->RegisterStreamingVideoSharing(1, kContent);
  manager->UpdatePlayerStatus(MM_MEDIASTREAMING_PD_ACTIVE, 0, 0);
  manager->UpdatePlayerStatus(MM_MEDIASTREAMING_PLAY, 0, 0);
  manager->UpdatePlayerStatus(MM_MEDIASTREAMING_PD_ACTIVE, 0, 0);
  manager->SetRender(1, MM_MEDIASTREAMING_RENDER_ATTACH);
  manager->removeAllActiveStatusFromBuffer();
  manager->ExecuteAllMsCommand();
  const auto messages = router.take();
  ASSERT_THAT(messages, SizeIs(3));
  EXPECT_EQ(messages[0].uMsg, MM_MEDIASTREAMING_CMD_REGISTER);
  EXPECT_EQ(messages[1].uMsg, MM_MEDIASTREAMING_CMD_SOURCE_STATUS);
  EXPECT_EQ(messages[1].record[20], MM_MEDIASTREAMING_PLAY);
  EXPECT_EQ(messages[2].uMsg, MM_MEDIASTREAMING_CMD_SET_RENDER);
}

TEST_F(SvsMgrTest, AttachesTheSameRenderViewOnce) {
  const auto manager = make(kListener);
  EXPECT_TRUE(manager->SetRender(5, MM_MEDIASTREAMING_RENDER_ATTACH));
  takeTraceLines();
  EXPECT_TRUE(manager->SetRender(5, MM_MEDIASTREAMING_RENDER_ATTACH));
  EXPECT_THAT(takeTraceLines(), ElementsAre("W Already have send out the render"));
  EXPECT_TRUE(manager->SetRender(0, MM_MEDIASTREAMING_RENDER_DETACH));
  EXPECT_TRUE(manager->SetRender(5, MM_MEDIASTREAMING_RENDER_ATTACH));
  EXPECT_THAT(router.takeCommands(), ElementsAre(4)) << "the detach";
  manager->ExecuteAllMsCommand();
  EXPECT_THAT(router.takeCommands(), ElementsAre(4, 4)) << "both attaches were held";
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

TEST_F(SvsMgrTest, ToldStatesReachThePlayer) {
  class Player : public CAVPlayer {
   public:
    Player() : CAVPlayer(nullptr, kSource) {}
    void onSVSStateChanged(SvsState state) override { states.push_back(state); }
    std::vector<int> states;
  };
  const auto manager = make(kSource, SVS_SESSION_LEFT);
  auto* const player = new Player;
  manager->setPlayer(player);
  manager->SetSVSState(SVS_FAILOVER);
  manager->SetSVSState(SVS_FAILOVER);
  manager->setPlayer(nullptr);
  manager->SetSVSState(SVS_INIT);
  EXPECT_THAT(player->states, ElementsAre(12, 9, 9));
  EXPECT_EQ(manager->player(), nullptr);
  player->release();
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
  bool sampleSent = false;
  router.within = [&](const Routed& message) {
    if (message.uMsg == MM_MEDIASTREAMING_CMD_VOLUME) {
      std::thread delivery([&] { sampleSent = sendSample(*manager); });
      const RequestLock::Yield yield(manager->requestLock());
      delivery.join();
    }
  };
  EXPECT_TRUE(manager->UpdateVolume(1));
  EXPECT_TRUE(sampleSent);
  EXPECT_THAT(router.takeCommands(), ElementsAre(7, 2000));
  // The lock is whole again: another thread gets it once this one has left.
  std::thread([&] { EXPECT_TRUE(sendSample(*manager)); }).join();
}

TEST_F(SvsMgrTest, WarnsOffTheMainThreadAndCarriesOn) {
  const auto manager = make(kListener, SVS_REGISTERCHANNEL_SUCCESS);
  const auto source = make(kSource, SVS_REGISTERCHANNEL_SUCCESS);
  takeTraceLines();
  std::thread([&] {
    tagQuery query{};
    manager->SetMsgRouter(&router, 0);
    for (const RequestRow& row : requests()) {
      row.send(*manager);
    }
    source->SetSourceMediaFormat(MM_MEDIASTREAMING_MEDIATYPE_AUDIO, &format, 32);
    manager->QueryState(&query);
    manager->ExecuteMSCommand(MM_MEDIASTREAMING_CMD_REGISTER);
    manager->ExecuteAllMsCommand();
    manager->SetSVSState(SVS_INIT);
    // These do not ask.
    manager->StartStreamingVideoSession();
    manager->StopStreamingVideoSession();
    manager->stopAdvancePage();
    manager->removeAllActiveStatusFromBuffer();
  }).join();
  std::vector<std::string> warnings;
  for (std::string line : takeTraceLines()) {
    if (line.rfind("W SVSMgr::", 0) == 0) {
      line = line.substr(10, line.find(", this = 0x") - 10);
      if (warnings.empty() || warnings.back() != line) {
        warnings.push_back(line);
      }
    }
  }
  EXPECT_THAT(
      warnings,
      ElementsAre(
          "SetMsgRouter, should in mainThread",
          "RegisterStreamingVideoSharing, should in mainThread",
          "UnRegisterStreamingVideoSharing, should in mainThread",
          "UpdatePlayerStatus, should in mainThread", "SetRender, should in mainThread",
          "UpdateRenderMsg, should in mainThread,",
          "UpdateVolume(unsigned short volumeLevel), should in mainThread",
          "UpdateMuteStatus, should in mainThread", "SetSourceMediaFormat, should in mainThread",
          "QueryState, should in mainThread", "ExecuteMSCommand, should in mainThread",
          "ExecuteAllMsCommand, should in mainThread", "SetSVSState, should in mainThread"));
}

}  // namespace
