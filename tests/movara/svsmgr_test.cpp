// The manager's requests by side and state, and a router that comes back from within one.
#include "movara/svsmgr.h"

#include <gmock/gmock.h>

#include <thread>

#include "tests/contract/RecordingHost.h"
#include "tests/movara/TraceLines.h"

namespace {

using contract::Lines;
using contract::RecordingHost;
using testing::ElementsAre;

constexpr auto kSource = MM_MEDIASTREAMING_CHANNEL_SOURCE;
constexpr auto kListener = MM_MEDIASTREAMING_CHANNEL_LISTENER;
constexpr auto kContent = MM_MEDIASTREAMING_MEDIACONTENT_AUDIO_VIDEO;

int format = 0;  // stands for a format record

bool updateRender(SVSMgr& manager) {
  tagMSRenderView view{};
  view.nViewKind = 2;
  view.hRenderView = 0xABCD;
  return manager.UpdateRenderMsg(4, &view, 0xABCD);
}
bool sendSample(SVSMgr& manager) {
  tagMSDataStructure sample{};
  return manager.SendMediaSampleData(&sample);
}

// What becomes of a request on one side: the states in which it is sent at once, a letter each (a,
// b, c: 10 to 12; x: some other), and whether it is held in the others or refused.
constexpr std::string_view kAllStates = "0123456789abcx";
struct Fate {
  std::string_view sentIn;
  bool held;
};
constexpr Fate only(std::string_view states) { return {states, false}; }
constexpr Fate heldUntil(std::string_view states) { return {states, true}; }
constexpr Fate kNever = only("");
constexpr Fate kAlways = only(kAllStates);

struct RequestRow {
  const char* line;  // that the host keeps
  Fate source;
  Fate listener;
  bool (*send)(SVSMgr&);
};

const RequestRow kRequests[] = {
    {"register 7 3", heldUntil("3"), heldUntil("6"),
     [](SVSMgr& m) { return m.RegisterStreamingVideoSharing(7, kContent); }},
    {"unregister", only("7"), only("7"),
     [](SVSMgr& m) { return m.UnRegisterStreamingVideoSharing(); }},
    {"status 2 -2 seek", heldUntil("67"), heldUntil("67"),
     [](SVSMgr& m) {
       return m.UpdatePlayerStatus(MM_MEDIASTREAMING_PAUSE, -2, MM_MEDIASTREAMING_SEEK_MARK);
     }},
    {"status 3 0", heldUntil("67"), heldUntil("67"),
     [](SVSMgr& m) { return m.UpdatePlayerStatus(MM_MEDIASTREAMING_PD_ACTIVE, 0, 0); }},
    {"status 4 0", kAlways, kAlways,
     [](SVSMgr& m) { return m.UpdatePlayerStatus(MM_MEDIASTREAMING_PD_INACTIVE, 0, 0); }},
    {"format 1 00000000", heldUntil("7"), kNever,
     [](SVSMgr& m) {
       return m.SetSourceMediaFormat(MM_MEDIASTREAMING_MEDIATYPE_VIDEO, &format, sizeof(format));
     }},
    {"render 130 view", kNever, heldUntil("67"),
     [](SVSMgr& m) { return m.SetRender(0xABCD, MM_MEDIASTREAMING_RENDER_ATTACH); }},
    {"render 128 none", kNever, kAlways,
     [](SVSMgr& m) { return m.SetRender(0, MM_MEDIASTREAMING_RENDER_DETACH); }},
    {"update render 4 2 view", kNever, only("7"), updateRender},
    {"volume 4660", kNever, only("7"), [](SVSMgr& m) { return m.UpdateVolume(0x1234); }},
    {"mute 1", kNever, only("7"),
     [](SVSMgr& m) { return m.UpdateMuteStatus(MM_MEDIASTREAMING_MUTESTATUS{1}); }},
    {"sample", only("7"), only("7"), sendSample},
};

class SvsMgrTest : public testing::Test {
 protected:
  // A manager with a router, on a side, in a state.
  std::unique_ptr<SVSMgr> make(MM_MEDIASTREAMING_CHANNLE_TYPE side, SvsState state = SVS_INIT) {
    auto manager = std::make_unique<SVSMgr>();
    manager->SetMsgRouter(&host, 0);
    manager->SetChannelType(side);
    manager->SetSVSState(state);
    takeSent();
    return manager;
  }
  Lines takeSent() {
    Lines lines = host.take();
    lines.insert(lines.end(), static_cast<std::size_t>(host.samples.exchange(0)), "sample");
    return lines;
  }

  RecordingHost host;
};

TEST_F(SvsMgrTest, SendsHoldsOrRefusesByRequestSideAndState) {
  for (const RequestRow& row : kRequests) {
    SVSMgr withoutRouter;
    EXPECT_FALSE(row.send(withoutRouter)) << row.line;
    for (const auto side : {kSource, kListener}) {
      const Fate& fate = side == kSource ? row.source : row.listener;
      for (std::size_t state = 0; state < kAllStates.size(); ++state) {
        SCOPED_TRACE(testing::Message() << row.line << " side " << side << " state " << state);
        const auto manager = make(side, static_cast<SvsState>(state));
        host.channel = side;
        const bool sent = fate.sentIn.find(kAllStates[state]) != std::string_view::npos;
        EXPECT_EQ(row.send(*manager), sent || fate.held);
        EXPECT_EQ(takeSent(), sent ? Lines{row.line} : Lines{});
        manager->ExecuteAllMsCommand();
        EXPECT_EQ(takeSent(), !sent && fate.held ? Lines{row.line} : Lines{});
        EXPECT_EQ(host.channel, side);
      }
    }
  }
}

TEST_F(SvsMgrTest, WithoutARouterNothingLeavesTheBuffer) {
  const auto manager = make(kSource);
  manager->RegisterStreamingVideoSharing(1, kContent);
  manager->SetMsgRouter(nullptr, 0);
  manager->SetSVSState(SVS_OPENFILE_SUCCESS);
  manager->SetSVSState(SVS_REGISTERCHANNEL_SUCCESS);
  manager->SetMsgRouter(&host, 0);
  host.take();
  manager->ExecuteAllMsCommand();
  EXPECT_THAT(host.take(), ElementsAre("register 1 3"));
}

TEST_F(SvsMgrTest, TheRouterMayComeBackFromWithinARequest) {
  const auto manager = make(kListener);
  manager->RegisterStreamingVideoSharing(1, kContent);
  manager->UpdatePlayerStatus(MM_MEDIASTREAMING_PLAY, 0, 0);
  host.within = [&](const std::string& line) {
    if (line.starts_with("register")) {
      manager->ExecuteAllMsCommand();                       // must not send the registration again
      manager->RegisterStreamingVideoSharing(2, kContent);  // at the end of the line
    }
  };
  manager->ExecuteAllMsCommand();
  EXPECT_THAT(host.take(), ElementsAre("register 1 3", "status 0 0", "register 2 3"));
  host.within = nullptr;
  manager->ExecuteAllMsCommand();
  EXPECT_THAT(host.take(), ElementsAre("register 2 3")) << "held from within the last one";

  manager->SetSVSState(SVS_REGISTERCHANNEL_PENDING);
  host.within = [&](const std::string& line) {
    if (line.starts_with("register")) {
      manager->SetSVSState(SVS_REGISTERCHANNEL_SUCCESS);
      EXPECT_TRUE(manager->UpdateVolume(1)) << "locked once more";
    }
  };
  EXPECT_TRUE(manager->RegisterStreamingVideoSharing(3, kContent));
  EXPECT_THAT(host.take(), ElementsAre("register 3 3", "volume 1"));
}

TEST_F(SvsMgrTest, AThreadThatHoldsTheLockCanLetASampleThrough) {
  const auto manager = make(kListener, SVS_REGISTERCHANNEL_SUCCESS);
  std::atomic<int> begun{0};
  const auto deliver = [&] {
    ++begun;
    EXPECT_TRUE(sendSample(*manager));
  };
  std::thread late;
  host.within = [&](const std::string&) {
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
    EXPECT_EQ(host.samples, 1) << "locked again";
  };
  EXPECT_TRUE(manager->UpdateVolume(1));
  late.join();
  EXPECT_EQ(host.samples, 2);
}

// The others' warnings are seen through an object; nothing in the module mutes a listener.
TEST_F(SvsMgrTest, MutingWarnsOffTheMainThread) {
  const auto manager = make(kListener, SVS_REGISTERCHANNEL_SUCCESS);
  takeTraceLines();
  std::thread([&] { manager->UpdateMuteStatus({}); }).join();
  EXPECT_THAT(takeTraceLines(), ElementsAre("W SVSMgr::UpdateMuteStatus, should in mainThread"));
}

}  // namespace
