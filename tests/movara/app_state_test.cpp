// Members of the application object that no message of the host leads to.
#include "movara/CMovaraApp.h"
#include "validator/cases/FrameworkTest.h"
#include "validator/cases/RecordingHost.h"

namespace {

class AppStateTest : public FrameworkTest {
 protected:
  ~AppStateTest() override { app->Release(); }

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
  const auto lines = takeTraceLines();
  ASSERT_GE(lines.size(), 2U);
  EXPECT_THAT(lines[1], testing::MatchesRegex("I CMovaraApp::RenderFileName, m_pAVRender address = "
                                              "0x[0-9a-f]{1,8}, this = 0x[0-9a-f]{1,8} "));
  ASSERT_TRUE(FakeFramework::view);
  const auto first = FakeFramework::view;
  EXPECT_TRUE(first->asset);
  EXPECT_FALSE(app->RenderFileName("/m/other.mov")) << "the open movie stays";
  EXPECT_EQ(FakeFramework::view, first);
  EXPECT_EQ(first->asset->path(), "/m/talk.mov");
}

}  // namespace
