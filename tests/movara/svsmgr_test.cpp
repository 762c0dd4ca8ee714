// What no message of the host leads to: a router that comes back from within a request, and muting.
#include "movara/svsmgr.h"

#include <gmock/gmock.h>

#include <thread>

#include "validator/cases/RecordingHost.h"
#include "validator/cases/TraceLines.h"

namespace {

using testing::ElementsAre;

constexpr auto kSource = MM_MEDIASTREAMING_CHANNEL_SOURCE;
constexpr auto kListener = MM_MEDIASTREAMING_CHANNEL_LISTENER;
constexpr auto kContent = MM_MEDIASTREAMING_MEDIACONTENT_AUDIO_VIDEO;

class SvsMgrTest : public testing::Test {
 protected:
  // A manager with a router, on a side, in a state.
  std::unique_ptr<SVSMgr> make(MM_MEDIASTREAMING_CHANNLE_TYPE side, SvsState state = SVS_INIT) {
    auto manager = std::make_unique<SVSMgr>();
    host.runtimeMode = side == kSource ? 0 : UCF_RUNTIME_MODE_LISTENER;
    manager->SetMsgRouter(&host, 0);
    manager->SetChannelType(side);
    manager->SetSVSState(state);
    host.take();
    return manager;
  }
  contract::RecordingHost host;
};

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

TEST_F(SvsMgrTest, OfTwoHeldRegistrationsTheOlderGoesFirst) {
  const auto manager = make(kSource);
  manager->RegisterStreamingVideoSharing(1, kContent);
  manager->RegisterStreamingVideoSharing(2, kContent);
  for (const char* sent : {"register 1 3", "register 2 3"}) {
    manager->SetSVSState(SVS_OPENFILE_SUCCESS);
    EXPECT_THAT(host.take(), ElementsAre(sent)) << "one at a time";
  }
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
    tagMSDataStructure sample{};
    EXPECT_TRUE(manager->SendMediaSampleData(&sample));
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

TEST_F(SvsMgrTest, MutingIsForAListenerThatHasJoined) {
  for (const auto side : {kSource, kListener}) {
    for (const SvsState state : {SVS_REGISTERCHANNEL_PENDING, SVS_REGISTERCHANNEL_SUCCESS}) {
      const auto manager = make(side, state);
      takeTraceLines();
      const bool may = side == kListener && state == SVS_REGISTERCHANNEL_SUCCESS;
      std::thread([&] { EXPECT_EQ(manager->UpdateMuteStatus({}), may); }).join();
      EXPECT_EQ(host.take(), may ? contract::Lines{"mute 0"} : contract::Lines{});
      EXPECT_EQ(count(takeTraceLines(), "W SVSMgr::UpdateMuteStatus, should in mainThread"), may);
    }
  }
}

}  // namespace
