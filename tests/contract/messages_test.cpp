// Routed messages: what the session and the platform report, on both sides.
#include "tests/contract/ContractFixture.h"

namespace contract {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::int32_t kOtherCode = 0xFE01;
constexpr std::int32_t kLimitCode = 0xFE02;

struct SessionRow {
  const char* name;
  unsigned long message;
  const std::int32_t* code;
  bool recording;
  int shownToSource;
  int shownToListener;
  bool tellsEverybody;  // a source, and the object hears nothing from then on
  const char* line;
};

TEST_F(ContractTest, SessionMessagesMoveTheStateAndEndTheObjectsEars) {
  const SessionRow rows[] = {
      {"failed", 1, nullptr, false, 4, 204, true, ""},
      {"failed otherwise", 1, &kOtherCode, false, 4, 204, true, ""},
      {"limit", 1, &kLimitCode, false, 7, 7, true, "W reach max limit!"},
      {"limit in a recording", 1, &kLimitCode, true, 4, 1, true, ""},
      {"left", 3, &kLimitCode, false, 9, 9, true, ""},
      {"attendee limit", 100, nullptr, false, 7, 7, false,
       "I Reive max attendee reach request. just stop current media stream!"},
      {"bandwidth", 101, nullptr, false, 8, 8, false,
       "I svc request stop svs for network bandwidth. just stop current media "
       "stream!"},
      {"unknown", 2, nullptr, false, 103, 203, false, ""},
      {"unknown, too", 103, nullptr, false, 103, 203, false, ""},
  };
  for (const SessionRow& row : rows) {
    for (const bool source : {true, false}) {
      SCOPED_TRACE(std::string(row.name) + (source ? " source" : " listener"));
      host.liveMeeting = !row.recording;
      host.role = UCF_ROLE_PRESENTER;
      host.runtimeMode = source ? 0 : UCF_RUNTIME_MODE_LISTENER;
      create();
      activate();
      forget();
      std::int32_t code = row.code ? *row.code : 0;
      session(row.message, row.code ? &code : nullptr);
      if (source || !row.recording) {
        EXPECT_EQ(shown(), source && row.recording ? 1
                           : source                ? row.shownToSource
                                                   : row.shownToListener);
      }
      EXPECT_EQ(count(host.take(), "to all 0800000003000000"),
                source && row.tellsEverybody ? 1 : 0);
      const Lines trace = takeTraceLines();
      if (*row.line != '\0') {
        EXPECT_THAT(trace, Contains(row.line));
      }
      EXPECT_EQ(count(trace, "reach max limit!"), std::string(row.name) == "limit" ? 1 : 0);

      route(2, 77, nullptr);
      const Lines after = takeTraceLines();
      EXPECT_EQ(count(after, "unkown message , msg = 77"), row.tellsEverybody ? 0 : 1);
      EXPECT_EQ(count(after, "m_bIgoreAllMessage = TRUE, just ignore all message"),
                row.tellsEverybody ? 1 : 0);
      release();
      advance(1.0);
    }
  }
}

TEST_F(ContractTest, ADeafObjectStillHearsThatTheSessionIsOver) {
  create();
  activate();
  session(SESSION_MSG_JOIN_FAILED);
  view()->playing = true;
  forget();
  session(SESSION_MSG_LEFT);
  EXPECT_THAT(view()->takeCalls(), ElementsAre("onStart", "setStatusViewType 9"));
  EXPECT_EQ(count(takeTraceLines(), "type = 0, uMsg = 3, this = 0x"), 1);
}

TEST_F(ContractTest, StartPlayIsPassedOnToAPlayerThatWasRefused) {
  create();
  session(SESSION_MSG_START_PLAY);
  activate();
  view()->takeCalls();
  session(SESSION_MSG_START_PLAY);
  EXPECT_THAT(view()->takeCalls(), IsEmpty());
  view()->refusedToPlay = true;
  session(SESSION_MSG_START_PLAY);
  EXPECT_THAT(view()->takeCalls(), ElementsAre("onStart by itself"));
}

TEST_F(ContractTest, AnAgendaDocumentDropsMessagesSilently) {
  host.ownDocument = false;
  create();
  activate();
  forget();
  session(SESSION_MSG_MAX_ATTENDEE_REACHED);
  route(2, 77, nullptr);
  EXPECT_THAT(view()->takeCalls(), IsEmpty());
  EXPECT_THAT(takeTraceLines(),
              testing::Each(testing::HasSubstr("CMovaraApp::RouteMessage, type")));
}

TEST_F(ContractTest, ChannelStatusFollowsItsTable) {
  constexpr const char* kFailed = "SVS_REGISTERCHANNEL_FAILED back, this = 0x";
  constexpr const char* kJoined = "CHANNEL_STATUS_JOIN_SUCCESS back, this = 0x";
  constexpr const char* kCreated = "CHANNEL_STATUS_CREATE_CONFIRM back, this = 0x";
  constexpr const char* kAgain = "CREATE_CONFIRM back, it is a reconnect action, this = 0x";
  constexpr const char* kNone = nullptr;
  struct Row {
    std::vector<std::uint32_t> before;  // channel statuses, 100: the attendee limit
    std::uint32_t status;
    int shownToSource;
    int shownToListener;
    std::vector<const char*> lines;
  };
  const Row rows[] = {
      {{}, 0, 103, 203, {kCreated}},
      {{}, 2, 5, 1, {kJoined}},
      {{}, 3, 4, 204, {kFailed}},
      {{}, 1, 103, 203, {kNone}},
      {{}, 4, 103, 203, {kNone}},
      {{0}, 0, 103, 203, {kCreated}},
      {{0}, 2, 5, 1, {kJoined}},
      {{0}, 3, 4, 204, {kFailed}},
      {{2}, 0, 103, 203, {kCreated, kAgain}},
      {{2}, 2, 5, 1, {kNone}},
      {{2}, 3, 5, 1, {kNone}},
      {{3}, 0, 103, 203, {kCreated, kAgain}},
      {{3}, 2, 5, 1, {kJoined}},
      {{3}, 3, 4, 204, {kFailed}},
      {{100}, 0, 103, 203, {kCreated}},
      {{100}, 2, 5, 1, {kJoined}},
  };
  for (const Row& row : rows) {
    for (const bool source : {true, false}) {
      SCOPED_TRACE(testing::PrintToString(row.before) + " then " + std::to_string(row.status) +
                   (source ? " source" : " listener"));
      host.runtimeMode = source ? 0 : UCF_RUNTIME_MODE_LISTENER;
      create();
      activate();
      for (const std::uint32_t earlier : row.before) {
        earlier == 100 ? session(earlier) : channelStatus(earlier);
      }
      forget();
      channelStatus(row.status);
      EXPECT_EQ(shown(), source ? row.shownToSource : row.shownToListener);
      const Lines trace = takeTraceLines();
      EXPECT_EQ(count(trace, "Curent chanel status is = " + std::to_string(row.status)), 1);
      std::ptrdiff_t reports = 0;
      for (const char* line : row.lines) {
        if (line) {
          ++reports;
          EXPECT_EQ(count(trace, line), 1) << line;
        }
      }
      EXPECT_EQ(count(trace, "CMovaraApp::handleMediaStreamMessage,"), reports);
      const bool reconnect = reports == 2;
      EXPECT_EQ(count(host.take(), "request 0"), reconnect && !source ? 1 : 0);
      release();
      advance(1.0);
    }
  }
}

TEST_F(ContractTest, StatusMessagesAboutThePresenterReachAListenersPlayer) {
  createListener();
  activate();
  mediaInfo({90000, MM_MEDIASTREAMING_MEDIACONTENT_AUDIO_VIDEO, 3});
  forget();
  auto* const answers = view()->delegate;

  tagMSVideoQuality quality{};
  quality.nQuality = -3;
  quality.fFps = 12.5F;
  status(MM_MEDIASTREAMING_MSSTATUS_VIDEOQUALITY_INDICATE, quality);
  EXPECT_EQ(answers->fps(), 12.5F);
  EXPECT_EQ(count(takeTraceLines(), "current video quality = -3, fps = 12.500000, this = 0x"), 1);

  const std::pair<std::uint64_t, float> positions[] = {
      {12345, 12.345F}, {0, 0.0F}, {90000, 90.0F}, {90001, 90.0F}, {~std::uint64_t{0}, 90.0F}};
  for (const auto& [milliseconds, seconds] : positions) {
    tagMSPlayPosition position{};
    position.dwPosition = milliseconds;
    status(MM_MEDIASTREAMING_MSSTATUS_CURRENT_PLAY_POSITION, position);
    EXPECT_EQ(answers->currentTime(), seconds);
  }
  EXPECT_THAT(takeTraceLines(), IsEmpty());

  // View code after 0.2 seconds.
  const std::tuple<std::uint32_t, int, const char*> states[] = {
      {0, 1, "MM_MEDIA_STREAMING_PLYASTATUS_PLAYING"},
      {1, 201, "MM_MEDIA_STREAMING_PLYASTATUS_PAUSE"},
      {2, 202, "MM_MEDIA_STREAMING_PLYASTATUS_REBUFFER"},
      {3, 1, "MM_MEDIA_STREAMING_PLYASTATUS_STOP"},
      {4, 205, "MM_MEDIA_STREAMING_PLYASTATUS_PROVIDER_CRASH"},
      {5, 206, "SVS_REST_MOVIE_INVALID"}};
  for (const auto& [value, code, name] : states) {
    tagMSPlayStatus play{};
    play.dwPlayStatus = value;
    status(MM_MEDIASTREAMING_MSSTATUS_CURRENT_PLAY_STATUS, play);
    advance(0.2);
    EXPECT_EQ(shown(), code) << name;
    EXPECT_EQ(count(takeTraceLines(), std::string("Receive ") + name + ", docid = 42, this = 0x"),
              1);
  }
  tagMSPlayStatus beyond{};
  beyond.dwPlayStatus = 6;
  status(MM_MEDIASTREAMING_MSSTATUS_CURRENT_PLAY_STATUS, beyond);
  advance(0.2);
  EXPECT_EQ(shown(), 206);

  tagMSVideoInfo info{};
  info.wWidth = 640;
  info.wHeight = 360;
  view()->takeCalls();
  for (int i = 0; i < 2; ++i) {
    status(MM_MEDIASTREAMING_MSSTATUS_VIDEO_INFORMATION, info);
  }
  EXPECT_THAT(view()->takeCalls(), testing::SizeIs(1)) << "placed once for the new size";
  EXPECT_EQ(answers->mediaSize(), (platform::Size{640, 360}));
  info.dwInfoKind = 1;
  info.wWidth = 1;
  status(MM_MEDIASTREAMING_MSSTATUS_VIDEO_INFORMATION, info);
  EXPECT_EQ(answers->mediaSize(), (platform::Size{640, 360}));
  EXPECT_EQ(
      count(takeTraceLines(), "docid = 42 Attendee receive vide info Width(640), Height(360), "),
      2);
}

TEST_F(ContractTest, StatusMessagesAboutAnotherStreamAreNotActedOn) {
  createListener();
  activate();
  forget();
  struct {
    tagMSHead head;
    std::uint32_t words[4];
  } record = {{RecordingHost::kSessionID, RecordingHost::kSourceID + 1}, {0, 0x00010001, 2, 0}};
  for (const unsigned long message : {0UL, 2UL, 3UL, 4UL, 5UL}) {
    route(2, message, &record);
  }
  advance(0.2);
  EXPECT_THAT(view()->takeCalls(), IsEmpty());
  const Lines trace = takeTraceLines();
  EXPECT_EQ(count(trace, "_VIDEOQUALITY_INDICATE, not my message, this = 0x"), 1);
  EXPECT_EQ(count(trace, "_CURRENT_PLAY_STATUS, not my message, this = 0x"), 1);
  EXPECT_EQ(trace.size(), 6) << "four messages but the position are logged on arrival";
}

TEST_F(ContractTest, EveryMessageMayComeWithoutAPayload) {
  for (const bool source : {true, false}) {
    host.runtimeMode = source ? 0 : UCF_RUNTIME_MODE_LISTENER;
    for (const bool active : {true, false}) {
      create();
      if (active) {
        activate();
      }
      forget();
      for (unsigned long message = 0; message <= 300; ++message) {
        route(2, message, nullptr);
      }
      Lines trace = takeTraceLines();
      EXPECT_EQ(count(trace,
                      "W CMovaraApp::handleMediaStreamMessage, unkown "
                      "message , msg = "),
                295);
      EXPECT_EQ(count(trace, "current vdQuality = NULL"), source ? 0 : 1);
      EXPECT_EQ(count(trace, "current playStatus = NULL, this = 0x"), source ? 0 : 1);
      EXPECT_EQ(count(trace, "W pChannelStatus is NULL, this = 0x"), 1);
      EXPECT_EQ(count(trace, "VIDEO_INFORMATION, info = NULL, this = 0x"), 1);
      EXPECT_THAT(host.take(), IsEmpty());
      for (const unsigned long type : {1UL, 3UL, 100UL, 0UL}) {
        for (unsigned long message = 0; message <= 300; ++message) {
          route(type, message, nullptr);
        }
        trace = takeTraceLines();
        EXPECT_EQ(count(trace, "current type is NB, this = 0x"), type == 1 ? 301 : 0);
        EXPECT_EQ(count(trace, "uMsg = 2, this"), 0);
      }
      release();
      advance(1.0);
    }
  }
}

}  // namespace
}  // namespace contract
