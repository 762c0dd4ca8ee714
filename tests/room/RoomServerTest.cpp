#include "meeting/room/RoomServer.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "meeting/room/WebServer.h"
#include "tests/room/FakeModel.h"
#include "tests/room/RoomClient.h"
#include "ucf/IUCFMsgRouter.h"
#include "ucf/SessionMessages.h"

namespace meeting {
namespace {

class RoomServerTest : public testing::Test {
 protected:
  explicit RoomServerTest(const std::string& token = {}) {
    auto opened = RoomServer::open(model_, journal_, {.token = token});
    room_ = std::get<std::unique_ptr<RoomServer>>(std::move(opened));
  }

  std::unique_ptr<RoomClient> visitor() {
    auto client = std::make_unique<RoomClient>(room_->port());
    EXPECT_EQ(client->open(), 101);
    return client;
  }
  std::string host() const { return "Host: 127.0.0.1:" + std::to_string(room_->port()) + "\r\n"; }
  void recordPlay() {
    journal_.record("presenter", Direction::toObject, {MODULE_TYPE_MMP, MODULE_TYPE_SVS},
                    ROUTE_TYPE_SESSION, SESSION_MSG_START_PLAY, nullptr, nullptr, 0);
  }
  void recordSample() {
    journal_.record("presenter", Direction::toHost, {}, SVS_MSG_MS_COMMAND,
                    MM_MEDIASTREAMING_CMD_MEDIA_DATA, nullptr, nullptr, 1);
  }
  // A new visitor is served, whatever others do.
  void expectServed() { EXPECT_FALSE(visitor()->nextText({"\"status\""}).empty()); }

  FakeModel model_;
  MessageJournal journal_;
  std::unique_ptr<RoomServer> room_;
};

TEST_F(RoomServerTest, ServesThePageToThoseWhoAskForIt) {
  const std::string long9000(9000, 'x');
  struct Case {
    const char* what;
    const char* method;
    const char* target;
    std::string headers;
    int status;  // 0: hangs up
  };
  const Case cases[] = {
      {"the page", "GET", "/", host(), 200},
      {"a query is no matter", "GET", "/?again", host(), 200},
      {"style", "GET", "/room.css", host(), 200},
      {"script", "GET", "/room.js", host(), 200},
      {"what it needs", "GET", "/tiles.js", host(), 200},
      {"its head", "HEAD", "/room.js", host(), 200},
      {"by the name of the host", "GET", "/",
       "Host: localhost:" + std::to_string(room_->port()) + "\r\n", 200},
      {"no such file", "GET", "/other", host(), 404},
      {"no way out", "GET", "/../room.js", host(), 404},
      {"not a path", "GET", "http://elsewhere/", host(), 404},
      {"nothing to post", "POST", "/", host(), 405},
      {"another host's name", "GET", "/", "Host: example.org\r\n", 403},
      {"another port", "GET", "/", "Host: 127.0.0.1:1\r\n", 403},
      {"no host", "GET", "/", "", 403},
      {"a socket without upgrade", "GET", "/socket", host(), 426},
      {"headers too long", "GET", "/", host() + "X: " + long9000 + "\r\n", 0},
      {"a body", "GET", "/", host() + "Content-Length: 5\r\n", 0},
      {"not HTTP", "\x01\x02", "\x03", host(), 0},
  };
  for (const Case& each : cases) {
    RoomClient client(room_->port());
    EXPECT_EQ(client.request(each.target, each.headers, each.method), each.status) << each.what;
  }
  RoomClient client(room_->port());
  ASSERT_EQ(client.request("/", host()), 200);
  for (const char* header :
       {"Content-Type: text/html; charset=utf-8", "Content-Security-Policy: default-src 'none'",
        "X-Content-Type-Options: nosniff", "Referrer-Policy: no-referrer"})
    EXPECT_NE(client.received().find(header), std::string::npos) << header;
  EXPECT_EQ(client.request("/room.css", host()), 200) << "on the same connection";
}

TEST_F(RoomServerTest, OnlyItsOwnPagesOpenSockets) {
  const std::string port = std::to_string(room_->port());
  RoomClient own(room_->port());
  EXPECT_EQ(own.open("/socket", "Origin: http://127.0.0.1:" + port + "\r\n"), 101);
  for (const char* origin : {"http://example.org", "null", "http://127.0.0.1", "https://127.0.0.1"})
    EXPECT_EQ(RoomClient(room_->port()).open("/socket", std::string("Origin: ") + origin + "\r\n"),
              403)
        << origin;
  EXPECT_EQ(RoomClient(room_->port()).open("/socket2"), 404);
}

class RoomWithTokenTest : public RoomServerTest {
 protected:
  RoomWithTokenTest() : RoomServerTest("secret") {}
};

TEST_F(RoomWithTokenTest, LetsNobodyInWithoutTheToken) {
  EXPECT_EQ(room_->url(), "http://127.0.0.1:" + std::to_string(room_->port()) + "/secret/");
  for (const char* target : {"/", "/socket", "/room.js", "/secret", "/secre/", "/secreT/",
                             "/secretx/", "//secret/", "/x/secret/", "/?secret/"})
    EXPECT_EQ(RoomClient(room_->port()).request(target, host()), 404) << target;
  EXPECT_EQ(RoomClient(room_->port()).request("/secret/", host()), 200);
  EXPECT_EQ(RoomClient(room_->port()).request("/secret/room.js", host()), 200);
  EXPECT_EQ(RoomClient(room_->port()).open("/secret/socket"), 101);
}

TEST_F(RoomServerTest, ATakenPortIsOneLine) {
  const auto second = RoomServer::open(model_, journal_, {.port = room_->port(), .token = ""});
  const auto* problem = std::get_if<std::string>(&second);
  ASSERT_NE(problem, nullptr);
  EXPECT_EQ(*problem, "cannot open the room at 127.0.0.1 port " + std::to_string(room_->port()) +
                          ": Address already in use");
  const auto nowhere = RoomServer::open(model_, journal_, {.address = "not.numeric"});
  EXPECT_EQ(std::get<std::string>(nowhere), "not a numeric address: not.numeric");
}

TEST_F(RoomServerTest, EachAddressThatIsNotLoopbackGetsItsOwnToken) {
  const auto url = [this] {
    const auto room = RoomServer::open(model_, journal_, {.address = "0.0.0.0"});
    return std::get<std::unique_ptr<RoomServer>>(room)->url();
  };
  const std::string first = url();
  EXPECT_EQ(first.size() - first.rfind('/', first.size() - 2), 34U) << first;
  EXPECT_NE(first.substr(first.size() - 33), url().substr(first.size() - 33));
}

TEST_F(RoomServerTest, TellsTheStatusAtOnceAndWhenItChanges) {
  const auto client = visitor();
  EXPECT_FALSE(client->nextText({R"("id":"presenter")", R"("state":"playing")"}).empty());
  model_.statuses[0].state = "paused";
  EXPECT_FALSE(client->nextText({R"("state":"paused")"}).empty());
  model_.statuses[0].position = 1.5;
  EXPECT_FALSE(client->nextText({R"("position":1.5)"}).empty());
  model_.statuses[0].file = "\xFF.mp4";
  EXPECT_FALSE(client->nextText({"\xEF\xBF\xBD.mp4"}).empty()) << "a name that is no UTF-8";
}

TEST_F(RoomServerTest, ActsAndAnswers) {
  const auto client = visitor();
  client->sendText(R"({"type":"act","action":7,"text":"attendee=1 volume=80"})");
  EXPECT_EQ(client->nextText({"\"answer\""}), R"({"type":"answer","action":7,"error":null})");
  model_.problem = "no such attendee";
  client->sendText(R"({"type":"act","action":8,"text":"attendee=9 mute"})");
  EXPECT_EQ(client->nextText({"\"answer\""}),
            R"({"type":"answer","action":8,"error":"no such attendee"})");
  EXPECT_EQ(model_.actions, (std::vector<std::string>{"attendee=1 volume=80", "attendee=9 mute"}));
}

TEST_F(RoomServerTest, PicturesGoToWhomLooksAsFastAsTheyAreDrawn) {
  const auto client = visitor();
  model_.draw("attendee-1", 10);
  client->sendText(R"({"type":"watch","views":["attendee-1","nobody"]})");
  RoomClient::Frame frame = client->next();
  while (frame.opcode == RoomClient::kText) frame = client->next();
  EXPECT_EQ(frame.data.substr(0, 14),
            "P\x0A"
            "attendee-1\xFF\xD8")
      << "the head and a JPEG's begin";
  EXPECT_TRUE(model_.watched["attendee-1"]);
  EXPECT_EQ(model_.watched.count("nobody"), 0U);
  EXPECT_EQ(model_.watched.count("presenter"), 0U);

  // Without confirmation no third one comes, however often the view changes.
  std::uint8_t grey = 10;
  const auto changes = [&](int number) {
    for (int i = 0; i < number; ++i) {
      model_.draw("attendee-1", ++grey);
      ASSERT_FALSE(client->nextText({"\"status\""}).empty());
    }
  };
  changes(5);
  EXPECT_EQ(client->pictures(), 2U);
  client->sendText(R"({"type":"drawn","view":"attendee-1"})");
  EXPECT_TRUE(pumpUntil([&] { return client->pictures() == 3; }));
  changes(3);
  EXPECT_EQ(client->pictures(), 3U);

  client->sendText(R"({"type":"watch","views":[]})");
  EXPECT_TRUE(pumpUntil([&] { return !model_.watched["attendee-1"]; }));
}

TEST_F(RoomServerTest, APictureThatIsReplacedBeforeItIsSentIsNotWaitedFor) {
  const auto slow = visitor();
  const auto witness = visitor();
  std::size_t drawn = 0;
  // Shows another picture and waits until it has been sent to whoever takes it.
  const auto change = [&] {
    model_.draw("presenter", static_cast<std::uint8_t>(10 * ++drawn));
    EXPECT_TRUE(pumpUntil([&] { return witness->pictures() == drawn; }));
    witness->sendText(R"({"type":"drawn","view":"presenter"})");
  };
  for (const auto* client : {&slow, &witness})
    (*client)->sendText(R"({"type":"watch","views":["presenter"]})");
  change();
  EXPECT_TRUE(pumpUntil([&] { return slow->pictures() == 1; }));
  slow->sendText(R"({"type":"drawn","view":"presenter"})");

  // An answer longer than what the system takes in keeps all that follows waiting.
  model_.problem = std::string(32UL * 1024 * 1024, 'x');
  slow->sendText(R"({"type":"act","action":1,"text":"play"})");
  EXPECT_TRUE(pumpUntil([&] { return model_.actions.size() == 1; }));
  change();
  change();
  EXPECT_TRUE(pumpUntil([&] { return slow->pictures() == 2; })) << "the newest only";
  change();
  EXPECT_TRUE(pumpUntil([&] { return slow->pictures() == 3; })) << "one drawn, one on its way";
}

TEST_F(RoomServerTest, TwoVisitorsSeeTheSame) {
  auto first = visitor();
  auto second = visitor();
  model_.draw("presenter", 10);
  first->sendText(R"({"type":"watch","views":["presenter"]})");
  EXPECT_TRUE(pumpUntil([&] { return first->pictures() == 1; }));
  second->sendText(R"({"type":"watch","views":["presenter"]})");
  EXPECT_TRUE(pumpUntil([&] { return second->pictures() == 1; })) << "though nothing has changed";
  // The look of one ends with its connection; the other's does not.
  first.reset();
  model_.draw("presenter", 20);
  EXPECT_TRUE(pumpUntil([&] { return second->pictures() == 2; }));
  EXPECT_TRUE(model_.watched["presenter"]);
  second.reset();
  EXPECT_TRUE(pumpUntil([&] { return !model_.watched["presenter"]; }));
}

TEST_F(RoomServerTest, AParticipantThatComesBackIsWatchedAgain) {
  const auto client = visitor();
  client->sendText(R"({"type":"watch","views":["presenter"]})");
  EXPECT_TRUE(pumpUntil([&] { return model_.watched["presenter"]; }));
  model_.views["presenter"] = nullptr;
  model_.watched.clear();
  ASSERT_FALSE(client->nextText({"\"status\""}).empty());
  model_.views["presenter"] = std::make_shared<platform::View>(platform::Rect{{0, 0}, {8, 8}});
  EXPECT_TRUE(pumpUntil([&] { return model_.watched["presenter"]; }));
}

TEST_F(RoomServerTest, MessagesComeInBatchesThatAreConfirmed) {
  recordPlay();
  recordSample();
  const auto client = visitor();
  EXPECT_FALSE(client->nextText({R"("number":1)", "SESSION_MSG_START_PLAY"}).empty())
      << "what came before the visitor";
  recordPlay();
  for (int i = 0; i < 4; ++i)
    EXPECT_EQ(client->nextText({"e"}).find("\"messages\""), std::string::npos) << "not confirmed";
  client->sendText(R"({"type":"read","number":1})");
  EXPECT_FALSE(client->nextText({R"("number":2)"}).empty());
  client->sendText(R"({"type":"read","number":2})");
  client->sendText(R"({"type":"samples","wanted":true})");
  // The answer to an action tells that all before it has been dealt with.
  client->sendText(R"({"type":"act","action":1,"text":"play"})");
  EXPECT_FALSE(client->nextText({"\"answer\""}).empty());
  recordSample();
  EXPECT_FALSE(client->nextText({R"("number":3)", R"("kind":"sample")"}).empty());
}

TEST_F(RoomServerTest, SoundGoesToWhomListens) {
  const auto client = visitor();
  client->sendText(R"({"type":"listen","participant":"attendee-1"})");
  ASSERT_TRUE(pumpUntil([&] { return model_.sinks["attendee-1"] != nullptr; }));
  const auto sink = model_.sinks["attendee-1"];
  const std::vector<std::uint8_t> samples = {1, 2, 3, 4};
  const AudioFormat format{2, 48000, 16};
  sink->sound(format, {0, samples.data(), samples.size()});
  RoomClient::Frame frame = client->next();
  while (frame.opcode == RoomClient::kText) frame = client->next();
  EXPECT_EQ(frame.data, std::string("S\x0A"
                                    "attendee-1\x80\xBB\0\0\2\0\1\2\3\4",
                                    22));

  client->sendText(R"({"type":"listen","participant":"presenter"})");
  EXPECT_TRUE(pumpUntil([&] { return model_.sinks["presenter"] != nullptr; }));
  EXPECT_EQ(model_.sinks["attendee-1"], nullptr);
  client->sendText(R"({"type":"listen","participant":null})");
  EXPECT_TRUE(pumpUntil([&] { return model_.sinks["presenter"] == nullptr; }));
  client->sendText(R"({"type":"listen","participant":"presenter"})");
  EXPECT_TRUE(pumpUntil([&] { return model_.sinks["presenter"] != nullptr; }));
  const auto last = model_.sinks["presenter"];
  room_.reset();
  EXPECT_EQ(model_.sinks["presenter"], nullptr);
  last->sound(format, {0, samples.data(), samples.size()});  // into nothing
}

TEST_F(RoomServerTest, WhoSendsNonsenseIsDisconnectedAndNobodyElse) {
  const auto witness = visitor();
  const std::string big(WebServer::kMaxTextBytes + 1, ' ');
  struct Case {
    const char* what;
    unsigned char head;
    std::string data;
    bool masked = true;
  };
  const Case cases[] = {
      {"not JSON", 0x81, "{"},
      {"no object", 0x81, "[]"},
      {"no type", 0x81, "{}"},
      {"a type that is no text", 0x81, R"({"type":5})"},
      {"an unknown type", 0x81, R"({"type":"other"})"},
      {"an action without text", 0x81, R"({"type":"act","action":1})"},
      {"an action without number", 0x81, R"({"type":"act","action":"1","text":"play"})"},
      {"views that are no list", 0x81, R"({"type":"watch","views":"presenter"})"},
      {"views that are no ids", 0x81, R"({"type":"watch","views":[1]})"},
      {"a negative number", 0x81, R"({"type":"read","number":-1})"},
      {"nested without end", 0x81, std::string(16000, '[')},
      {"not UTF-8", 0x81, "\xFF"},
      {"binary", 0x82, R"({"type":"drawn","view":"presenter"})"},
      {"too long", 0x81, big},
      {"too long in parts", 0x01, big},
      {"unmasked", 0x81, R"({"type":"drawn","view":"presenter"})", false},
      {"an unknown opcode", 0x83, ""},
      {"reserved bits", 0xF1, ""},
      {"a continuation of nothing", 0x80, "x"},
  };
  for (const Case& each : cases) {
    const auto client = visitor();
    client->sendFrame(each.head, each.data, each.masked);
    EXPECT_TRUE(pumpUntil([&] {
      client->receive();
      return client->closed();
    })) << each.what;
  }
  EXPECT_FALSE(witness->nextText({"\"status\""}).empty());
  EXPECT_FALSE(witness->closed());
  EXPECT_TRUE(model_.actions.empty());
}

TEST_F(RoomServerTest, WhoTakesNoAnswersIsGivenUp) {
  const auto witness = visitor();
  const auto client = visitor();
  model_.problem = std::string(64UL * 1024, 'x');
  while (!client->closed()) client->sendText(R"({"type":"act","action":1,"text":"play"})");
  EXPECT_FALSE(witness->nextText({"\"status\""}).empty());
}

TEST_F(RoomServerTest, ThereIsRoomForSoManyAndNoMore) {
  std::vector<std::unique_ptr<RoomClient>> visitors;
  for (std::size_t i = 0; i < WebServer::kMaxVisitors; ++i) visitors.push_back(visitor());
  EXPECT_EQ(RoomClient(room_->port()).open(), 503);
  visitors.pop_back();
  EXPECT_TRUE(pumpUntil([&] { return RoomClient(room_->port()).open() == 101; }));
  std::vector<std::unique_ptr<RoomClient>> idle;
  for (std::size_t i = 0; i < WebServer::kMaxConnections; ++i)
    idle.push_back(std::make_unique<RoomClient>(room_->port()));
  EXPECT_TRUE(pumpUntil([&] {
    idle.back()->receive();
    return idle.back()->closed();
  })) << "one connection too many";
  idle.clear();
  visitors.clear();
  EXPECT_TRUE(pumpUntil([&] { return RoomClient(room_->port()).open() == 101; }));
  expectServed();
}

TEST_F(RoomServerTest, EndsWhileEverybodyIsBusy) {
  std::vector<std::unique_ptr<RoomClient>> visitors;
  for (int i = 0; i < 4; ++i) {
    visitors.push_back(visitor());
    visitors.back()->sendText(R"({"type":"watch","views":["presenter","attendee-1"]})");
    visitors.back()->sendText(R"({"type":"listen","participant":"presenter"})");
  }
  ASSERT_TRUE(pumpUntil([&] { return model_.watched["presenter"] && model_.sinks["presenter"]; }));
  model_.draw("presenter", 10);
  for (const auto& client : visitors) client->sendText(R"({"type":"act","action":1,"text":"x"})");
  room_.reset();
  EXPECT_FALSE(model_.watched["presenter"]);
  EXPECT_EQ(model_.sinks["presenter"], nullptr);
  for (const auto& client : visitors)
    EXPECT_TRUE(pumpUntil([&] {
      client->receive();
      return client->closed();
    }));
}

}  // namespace
}  // namespace meeting
