// The language of scenarios, and their time.
#include "meeting/Scenario.h"

#include <gtest/gtest.h>

#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "meeting/ScenarioPlayer.h"
#include "platform/Clock.h"
#include "platform/RunLoop.h"
#include "tests/platform/TemporaryFolder.h"

namespace meeting {
namespace {

using std::chrono_literals::operator""ms;

TEST(Scenario, SaysWhoDoesWhat) {
  struct Case {
    const char* text;
    Verb verb;
    unsigned document, participant;
    double number;
    std::uint32_t bits, width, height;
  };
  const Case cases[] = {
      {"play", Verb::play, 1, 0, 0, 0, 0, 0},
      {"  seek=1.25 ", Verb::seek, 1, 0, 1.25, 0, 0, 0},
      {"volume=255", Verb::volume, 1, 0, 255, 0, 0, 0},
      {"attendee=2 volume=80", Verb::volume, 1, 2, 80, 0, 0, 0},
      {"attendee=12\tleave", Verb::leave, 1, 12, 0, 0, 0, 0},
      {"attendee=1 resize=640x360", Verb::resize, 1, 1, 0, 0, 640, 360},
      {"attendee=1 delay=40", Verb::delay, 1, 1, 40, 0, 0, 0},
      {"document=2 pause", Verb::pause, 2, 0, 0, 0, 0, 0},
      {"document=2 attendee=1 join", Verb::join, 2, 1, 0, 0, 0, 0},
      {"controls=on", Verb::controls, 1, 0, 1, 0, 0, 0},
      {"attendee=1 controls=off", Verb::controls, 1, 1, 0, 0, 0, 0},
      {"deactivate", Verb::deactivate, 1, 0, 0, 0, 0, 0},
      {"role=3,2", Verb::role, 1, 3, 0, 2, 0, 0},
      {"session=refuse", Verb::session, 1, 0, 0, 1, 0, 0},
      {"session=leave", Verb::session, 1, 0, 0, 3, 0, 0},
      {"session=limit", Verb::session, 1, 0, 0, 100, 0, 0},
      {"session=bandwidth", Verb::session, 1, 0, 0, 101, 0, 0},
      {"session=play", Verb::session, 1, 0, 0, 102, 0, 0},
      {"channel=fail", Verb::channelFail, 1, 0, 0, 0, 0, 0},
      {"channel=reconnect", Verb::channelReconnect, 1, 0, 0, 0, 0, 0},
      {"presenter-crash", Verb::crash, 1, 0, 0, 0, 0, 0},
      {"presenter-return", Verb::comeBack, 1, 0, 0, 0, 0, 0},
  };
  for (const Case& expected : cases) {
    SCOPED_TRACE(expected.text);
    const auto parsed = parseAction(expected.text);
    const auto* action = std::get_if<Action>(&parsed);
    ASSERT_NE(action, nullptr) << std::get<std::string>(parsed);
    EXPECT_EQ(action->verb, expected.verb);
    EXPECT_EQ(action->document, expected.document);
    EXPECT_EQ(action->participant, expected.participant);
    EXPECT_EQ(action->number, expected.number);
    EXPECT_EQ(action->bits, expected.bits);
    EXPECT_EQ(action->width, expected.width);
    EXPECT_EQ(action->height, expected.height);
  }
}

TEST(Scenario, RefusesWhatNobodyCanDo) {
  for (const char* text : {"",
                           "  ",
                           "dance",
                           "play=1",
                           "seek",
                           "seek=",
                           "seek=-1",
                           "seek=nan",
                           "seek=1s",
                           "seek=1e99",
                           "volume=256",
                           "attendee=1",
                           "attendee=0 leave",
                           "attendee=x leave",
                           "attendee=1 play",
                           "attendee=1 role=1,1",
                           "controls",
                           "controls=yes",
                           "attendee=1 resize=640",
                           "attendee=1 resize=0x360",
                           "attendee=1 resize=99999x1",
                           "attendee=1 document=2 leave",
                           "join",
                           "leave",
                           "delay=5",
                           "role=1",
                           "role=-1,2",
                           "session=",
                           "session=later",
                           "channel=open",
                           "play now",
                           "attendee=99999999999 leave",
                           "document=0 play"}) {
    const auto parsed = parseAction(text);
    ASSERT_TRUE(std::holds_alternative<std::string>(parsed)) << text;
    EXPECT_EQ(std::get<std::string>(parsed).rfind(std::string("no such action: ") + text, 0), 0U);
  }
}

class ScenarioFile : public testing::Test {
 protected:
  std::variant<Scenario, std::string> read(const std::string& text) {
    std::ofstream(path_) << text;
    return readScenario(path_);
  }
  // A folder of its own: tests of this file run at the same time.
  const TemporaryFolder folder_;
  const std::string path_ = folder_ / "scenario.txt";
};

TEST_F(ScenarioFile, IsReadLineByLine) {
  const auto read_ = read("# a comment\n\n 2.5 \tattendee=1  leave\r\n0 pause\n2.5 play");
  ASSERT_TRUE(std::holds_alternative<Scenario>(read_)) << std::get<std::string>(read_);
  Scenario scenario = std::get<Scenario>(read_);
  sort(scenario);
  ASSERT_EQ(scenario.size(), 3U);
  EXPECT_EQ(scenario[0].at, 0ms);
  EXPECT_EQ(scenario[1].at, 2500ms);
  EXPECT_EQ(scenario[1].action.verb, Verb::leave);
  EXPECT_EQ(scenario[2].action.verb, Verb::play);
}

TEST_F(ScenarioFile, SaysWhichLineIsWrong) {
  const std::pair<std::string, std::string> cases[] = {
      {"0 play\nsoon pause\n", ":2: not a time in seconds: soon"},
      {"-1 play\n", ":1: not a time in seconds: -1"},
      {"\n\n3\n", ":3: no such action: "},
      {"3 jump\n", ":1: no such action: jump"},
  };
  for (const auto& [text, says] : cases) {
    const auto wrong = read(text);
    ASSERT_TRUE(std::holds_alternative<std::string>(wrong)) << text;
    EXPECT_EQ(std::get<std::string>(wrong), path_ + says);
  }
  EXPECT_EQ(std::get<std::string>(readScenario("/no/such/file")),
            "cannot read the scenario /no/such/file");
  EXPECT_EQ(std::get<std::string>(readScenario("/")), "cannot read the scenario /");
}

TEST(ScenarioPlayer, ActsInOrderWhenTheTimeHasCome) {
  auto& loop = platform::RunLoop::main();
  const auto clock = std::make_shared<platform::ManualClock>();
  loop.setClock(clock);
  Scenario scenario;
  for (const auto& [time, action] : std::vector<std::pair<const char*, const char*>>{
           {"0.2", "stop"}, {"0", "seek=1"}, {"0.1", "pause"}, {"0.1", "play"}, {"0", "seek=2"}})
    scenario.push_back(std::get<TimedAction>(parseTimedAction(time, action)));
  std::vector<Verb> done;
  ScenarioPlayer player(scenario,
                        [&](const TimedAction& timed) { done.push_back(timed.action.verb); });
  const auto serve = [&](std::chrono::milliseconds step) {
    clock->advance(step);
    while (loop.runReady() > 0) {
    }
    return done;
  };
  using Done = std::vector<Verb>;
  EXPECT_EQ(serve(500ms), Done{}) << "before it has been started";
  player.start();
  EXPECT_EQ(serve(1ms), (Done{Verb::seek, Verb::seek}));
  EXPECT_EQ(serve(98ms), (Done{Verb::seek, Verb::seek}));
  EXPECT_EQ(serve(1ms), (Done{Verb::seek, Verb::seek, Verb::pause, Verb::play}));
  EXPECT_FALSE(player.finished());
  player.start();
  EXPECT_EQ(serve(300ms), (Done{Verb::seek, Verb::seek, Verb::pause, Verb::play, Verb::stop}));
  EXPECT_TRUE(player.finished());
  loop.setClock(nullptr);
}

}  // namespace
}  // namespace meeting
