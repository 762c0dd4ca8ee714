// Members of the application object that no message of the host leads to.
#include <gmock/gmock.h>

#include "movara/CMovaraApp.h"
#include "tests/contract/RecordingHost.h"
#include "tests/movara/TraceLines.h"
#include "tests/movara/common/FakeVideoPlayer.h"

namespace {

class AppStateTest : public testing::Test {
 protected:
  AppStateTest() { FakeFramework::install(); }
  ~AppStateTest() override {
    app->Release();
    FakeFramework::uninstall();
  }

  contract::RecordingHost host;
  unsigned char ok = 1;
  CMovaraApp* app = new CMovaraApp(&host, nullptr, 0, nullptr, nullptr, 0, ok);
};

TEST_F(AppStateTest, PlayerStateComesBackAsTheContainerKeptIt) {
  tagStmVideoStatus states;
  EXPECT_TRUE(app->GetLstStates(states));
  EXPECT_EQ(states.nCurPos, -1);
  EXPECT_EQ(states.nVolume, -1);
  EXPECT_EQ(states.nStatus, 1);

  states.nCurPos = 0x1'8000'0001;  // beyond 32 bits
  states.nVolume = 200;
  states.nStatus = 4;
  states.bMute = -2;
  states.bFullScreen = 1;
  app->SetLstStates(states);
  EXPECT_EQ(host.shared.at(0x427).lVal, -2) << "the byte with its sign";
  tagStmVideoStatus read;
  EXPECT_TRUE(app->GetLstStates(read));
  EXPECT_EQ(read.nCurPos, -0x7FFFFFFF);
  EXPECT_EQ(read.nVolume, 200);
  EXPECT_EQ(read.nStatus, 4);
  EXPECT_EQ(read.bMute, -2);
  EXPECT_EQ(read.bFullScreen, 1);
  EXPECT_EQ(host.variantsHeld, 0);
}

TEST_F(AppStateTest, OpeningMakesThePlayerOnceAndReportsFalseWhenItWorked) {
  takeTraceLines();
  EXPECT_FALSE(app->RenderFileName("/m/talk.mov"));
  EXPECT_THAT(takeTraceLines()[1],
              testing::MatchesRegex("I CMovaraApp::RenderFileName, m_pAVRender address = "
                                    "0x[0-9a-f]{1,8}, this = 0x[0-9a-f]{1,8} "));
  ASSERT_TRUE(FakeFramework::view);
  const auto first = FakeFramework::view;
  EXPECT_TRUE(first->asset);
  EXPECT_FALSE(app->RenderFileName("/m/other.mov")) << "the open movie stays";
  EXPECT_EQ(FakeFramework::view, first);
  EXPECT_EQ(first->asset->path(), "/m/talk.mov");
}

TEST_F(AppStateTest, AnOpenResultCountsOnceAndInItsLow32Bits) {
  struct Row {
    unsigned long result;
    std::int32_t answer;
    int shown;  // status view code
  };
  for (const Row& row :
       {Row{0, 0, 103}, Row{0x1'0000'0000, 0, 103}, Row{1, 1, 101}, Row{~0UL, -1, 101},
        Row{0xFFFF'F824, -2012, 102}, Row{static_cast<unsigned long>(-2012L), -2012, 102}}) {
    SCOPED_TRACE(row.result);
    auto* const source = new CMovaraApp(&host, nullptr, 0, nullptr, nullptr, 0, ok);
    EXPECT_EQ(source->OnNotify(PLAYER_NOTIFY_OPEN_RESULT, row.result, 0), -1) << "no player";
    source->RenderFileName("/m/talk.mov");
    EXPECT_EQ(source->OnNotify(PLAYER_NOTIFY_OPEN_RESULT, row.result, 0), -1) << "not joined";
    // The first arms the countdown, the second finds it armed and leaves the session joined.
    for (int i = 0; i < 2; ++i) {
      source->RouteMessage(MODULE_TYPE_CONF, MODULE_TYPE_SVS, 0, 0, nullptr, nullptr);
    }
    EXPECT_EQ(source->OnNotify(PLAYER_NOTIFY_OPEN_RESULT, row.result, 0), row.answer);
    EXPECT_EQ(FakeFramework::view->statusViewType(), row.shown);
    EXPECT_EQ(source->OnNotify(PLAYER_NOTIFY_OPEN_RESULT, row.result, 0), -1) << "a second time";
    source->Release();
  }
}

}  // namespace
