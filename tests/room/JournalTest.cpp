#include "meeting/MessageJournal.h"

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "meeting/MessageText.h"
#include "mmp/ParticipantRecords.h"
#include "mmp/RequestRecords.h"
#include "mmp/StatusRecords.h"
#include "ucf/IUCFMsgRouter.h"
#include "ucf/SessionMessages.h"

namespace meeting {
namespace {

using std::chrono_literals::operator""ms;

constexpr tagMSHead kHead{1001, 1};
constexpr auto kListener = MM_MEDIASTREAMING_CHANNEL_LISTENER;
constexpr auto kSource = MM_MEDIASTREAMING_CHANNEL_SOURCE;

constexpr Modules kToPlatform{MODULE_TYPE_SVS, MODULE_TYPE_MMP};
constexpr Modules kFromPlatform{MODULE_TYPE_MMP, MODULE_TYPE_SVS};

std::string text(const Fields& fields) {
  std::string text;
  for (const auto& [name, value] : fields)
    text += (text.empty() ? "" : ", ") + name + "=" + value.text();
  return text;
}

// A record with all that it points to, and what the journal must make of it.
struct Case {
  const char* name;
  MessageKind kind;
  std::string fields;
  std::function<void(MessageJournal&)> record;
};

// A routed message with the two that it may point to.
template <class... Records>
std::function<void(MessageJournal&)> routed(Direction direction, unsigned long type,
                                            unsigned long uMsg, Records... records) {
  return [=](MessageJournal& journal) {
    const std::array<const void*, 2> params{&records...};
    const bool toHost = direction == Direction::toHost;
    journal.record("presenter", direction, toHost ? kToPlatform : kFromPlatform, type, uMsg,
                   params[0], params[1], toHost ? 1 : 0);
  };
}

std::function<void(MessageJournal&)> command(std::vector<unsigned char> bytes) {
  return [bytes = std::move(bytes)](MessageJournal& journal) {
    journal.recordCommand("presenter", Direction::toObject, bytes);
  };
}

std::function<void(MessageJournal&)> parameter(std::uint32_t id, std::vector<unsigned char> bytes) {
  return [id, bytes = std::move(bytes)](MessageJournal& journal) {
    journal.recordParameterData("attendee-1", Direction::toObject, id, bytes);
  };
}

tMSAUDIOFORMATEX audio{3, 2, 0, 48000, 192000, 4, 16, 32, 0};
tagMSVIDEOFORMATEX video{0, 640, 360, 29.97F, 5, 0};
tagMSRenderView renderView{0xBEEF, 2, 0};

tagMSDataStructure sample(std::uint8_t still, MM_MEDIASTREAMING_MEDIATYPE type, void* format,
                          std::uint64_t formatBytes) {
  return {1001, 1, 40, still, {}, nullptr, 12, type, 0, format, formatBytes};
}

std::string zeros(std::size_t bytes) { return std::string(2 * bytes, '0'); }

const std::string kIds = "sessionID=1001, sourceID=1, ";
const std::string kFromSource = kIds + "eChannelType=MM_MEDIASTREAMING_CHANNEL_SOURCE";
const std::string kFromListener = kIds + "eChannelType=MM_MEDIASTREAMING_CHANNEL_LISTENER";

#define ROUTED(name, kind, fields, ...) \
  Case { #name, MessageKind::kind, fields, routed(__VA_ARGS__) }
#define COMMAND(name, kind, fields, record) \
  ROUTED(name, kind, fields, Direction::toHost, SVS_MSG_MS_COMMAND, name, record)
#define REQUEST(name, fields, ...) COMMAND(name, request, fields, (__VA_ARGS__))
#define TO_HOST(name, kind, fields, ...) \
  ROUTED(name, kind, fields, Direction::toHost, name, 0 __VA_OPT__(, ) __VA_ARGS__)
#define SESSION(name, fields, ...)                                       \
  ROUTED(name, session, fields, Direction::toObject, ROUTE_TYPE_SESSION, \
         name __VA_OPT__(, ) __VA_ARGS__)
#define STATUS(name, fields, ...)                                                             \
  ROUTED(name, status, kIds + (fields), Direction::toObject, ROUTE_TYPE_MEDIASTREAMING, name, \
         (__VA_ARGS__))
#define DATA(name, fields, record) \
  Case { #name, MessageKind::data, fields, record }

std::vector<Case> cases() {
  return {
      COMMAND(MM_MEDIASTREAMING_CMD_MEDIA_DATA, sample,
              kIds + "nMediaType=MM_MEDIASTREAMING_MEDIATYPE_VIDEO, dwTimestamp=40 ms, "
                     "bReserved=still, dwDataLength=12 bytes, dwFormatLength=16 bytes, "
                     "wFormatTag=0, wWidth=640, wHeight=360, wFrameRate=29.97, cbSize=5 bytes",
              sample(1, MM_MEDIASTREAMING_MEDIATYPE_VIDEO, &video, sizeof video)),
      COMMAND(MM_MEDIASTREAMING_CMD_MEDIA_DATA, sample,
              kIds + "nMediaType=MM_MEDIASTREAMING_MEDIATYPE_AUDIO, dwTimestamp=40 ms, "
                     "bReserved=live, dwDataLength=12 bytes, dwFormatLength=0 bytes",
              sample(0, MM_MEDIASTREAMING_MEDIATYPE_AUDIO, nullptr, 0)),
      REQUEST(MM_MEDIASTREAMING_CMD_REGISTER,
              kFromSource + ", dwDuration=10000 ms, "
                            "eMediaContent=MM_MEDIASTREAMING_MEDIACONTENT_AUDIO_VIDEO",
              tagMSRegisterInfo{kHead, kSource, 0, 10000,
                                MM_MEDIASTREAMING_MEDIACONTENT_AUDIO_VIDEO, 0}),
      REQUEST(MM_MEDIASTREAMING_CMD_REGISTER, kFromListener + ", dwDuration=10 s, eMediaContent=9",
              tagMSRegisterInfo{kHead, kListener, 0, 10, MM_MEDIASTREAMING_MEDIACONTENENT{9}, 0}),
      REQUEST(MM_MEDIASTREAMING_CMD_UNREGISTER, kFromListener,
              tagMSUnRegisterInfo{kHead, kListener, 0}),
      REQUEST(MM_MEDIASTREAMING_CMD_SOURCE_STATUS,
              kFromSource + ", eStatus=MM_MEDIASTREAMING_PAUSE, lPosition=-1 ms, "
                            "dwSeekMark=MM_MEDIASTREAMING_SEEK_MARK",
              tagMSSourceStatus{kHead, kSource, MM_MEDIASTREAMING_PAUSE, -1,
                                MM_MEDIASTREAMING_SEEK_MARK}),
      REQUEST(MM_MEDIASTREAMING_CMD_MEDIA_FORMAT,
              kIds + "eMediaType=MM_MEDIASTREAMING_MEDIATYPE_AUDIO, dwFormatSize=32 bytes, "
                     "wFormatTag=3, nChannels=2, nSamplesPerSec=48000, nAvgBytesPerSec=192000, "
                     "nBlockAlign=4, wBitsPerSample=16, cbSize=32 bytes",
              tagMSMediaFormat{kHead, MM_MEDIASTREAMING_MEDIATYPE_AUDIO, 0, &audio, 32}),
      REQUEST(MM_MEDIASTREAMING_CMD_MEDIA_FORMAT,
              kIds + "eMediaType=MM_MEDIASTREAMING_MEDIATYPE_VIDEO, dwFormatSize=15 bytes",
              tagMSMediaFormat{kHead, MM_MEDIASTREAMING_MEDIATYPE_VIDEO, 0, &video, 15}),
      REQUEST(MM_MEDIASTREAMING_CMD_SET_RENDER,
              kFromListener + ", eRenderType=MM_MEDIASTREAMING_RENDER_ATTACH, hRender=0xbeef",
              tagMSRenderInfo{kHead, kListener, MM_MEDIASTREAMING_RENDER_ATTACH, 0xBEEF, 0}),
      REQUEST(MM_MEDIASTREAMING_CMD_UPDATE_RENDER,
              kFromListener + ", hRender=0xbeef, dwUpdateKind=4, hRenderView=0xbeef, nViewKind=2",
              tagMSRenderUpdate{kHead, kListener, 0, 0xBEEF, 4, &renderView, 0}),
      REQUEST(MM_MEDIASTREAMING_CMD_UPDATE_RENDER, kFromListener + ", hRender=0x0, dwUpdateKind=3",
              tagMSRenderUpdate{kHead, kListener, 0, 0, 3, &renderView, 0}),
      REQUEST(MM_MEDIASTREAMING_CMD_MUTE_STATUS, kFromListener + ", eMuteStatus=1",
              tagMSMuteInfo{kHead, kListener, MM_MEDIASTREAMING_MUTESTATUS{1}}),
      REQUEST(MM_MEDIASTREAMING_CMD_VOLUME, kFromListener + ", wVolumeLevel=80",
              tagMSVolumeInfo{kHead, kListener, 80, 0}),
      REQUEST(MM_MEDIASTREAMING_CMD_QUERY,
              "sessionID=1001, nQueryType=MM_MEDIASTREAMING_QUERY_SESSION_PROBE, dwStatus=5, "
              "dwResult=6",
              tagQuery{1001, 5, MM_MEDIASTREAMING_QUERY_SESSION_PROBE, 0, 6, 2, {}}),
      REQUEST(MM_MEDIASTREAMING_CMD_QUERY,
              "sessionID=1001, nQueryType=MM_MEDIASTREAMING_QUERY_CHANNEL_STATUS, dwStatus=0, "
              "dwResult=1, dwChannelStatus=MM_MEDIA_STREAMING_CHANNEL_STATUS_JOIN_SUCCESS",
              tagQuery{1001, 0, MM_MEDIASTREAMING_QUERY_CHANNEL_STATUS, 0, 1, 2, {}}),
      TO_HOST(SVS_MSG_GET_IDS, request, "sessionID=1001, sourceID=7", 1001UL, 7UL),
      TO_HOST(SVS_MSG_GET_IDS_EMBED, request, "sessionID=1001, sourceID=7", 1001UL, 7UL),
      TO_HOST(SVS_MSG_START_SESSION, session, ""),
      TO_HOST(SVS_MSG_STOP_SESSION, session, ""),
      TO_HOST(SVS_MSG_STOP_ADVANCE_PAGE, request, ""),
      SESSION(SESSION_MSG_JOIN_CONFIRM, ""),
      SESSION(SESSION_MSG_JOIN_FAILED, ""),
      SESSION(SESSION_MSG_JOIN_FAILED, "code=SESSION_ERR_MAX_LIMIT",
              std::int32_t{SESSION_ERR_MAX_LIMIT}),
      SESSION(SESSION_MSG_JOIN_FAILED, "code=-3", std::int32_t{-3}),
      SESSION(SESSION_MSG_LEFT, ""),
      SESSION(SESSION_MSG_MAX_ATTENDEE_REACHED, ""),
      SESSION(SESSION_MSG_STOP_FOR_BANDWIDTH, ""),
      SESSION(SESSION_MSG_START_PLAY, ""),
      STATUS(MM_MEDIASTREAMING_MSSTATUS_VIDEOQUALITY_INDICATE, "nQuality=-2, fFps=12.5",
             tagMSVideoQuality{kHead, -2, 12.5F}),
      STATUS(MM_MEDIASTREAMING_MSSTATUS_CURRENT_PLAY_POSITION, "dwPosition=1500 ms",
             tagMSPlayPosition{kHead, 1500}),
      STATUS(MM_MEDIASTREAMING_MSSTATUS_CURRENT_PLAY_STATUS,
             "dwPlayStatus=MM_MEDIA_STREAMING_PLYASTATUS_REBUFFER", tagMSPlayStatus{kHead, 2, 0}),
      STATUS(MM_MEDIASTREAMING_MSSTATUS_CHANNEL_STATUS,
             "dwStatus=MM_MEDIA_STREAMING_CHANNEL_STATUS_REGISTER_FAILED",
             tagMSChannelStatus{kHead, 0, 3, 0}),
      STATUS(MM_MEDIASTREAMING_MSSTATUS_VIDEO_INFORMATION,
             "dwInfoKind=MM_MEDIASTREAMING_VIDEO_INFO_SIZE, wWidth=640, wHeight=360",
             tagMSVideoInfo{kHead, 0, 640, 360}),
      DATA(SVS_QUERY_JOINSEESION_FAILED_CMD,
           "dwLength=16 bytes, userId=7, payload=0700000001000000, length=16 bytes",
           command({16, 0, 0, 0, 2, 0, 0, 0, 7, 0, 0, 0, 1, 0, 0, 0})),
      DATA(SVS_QUERY_JOINSEESION_FAILED_CMD, "dwLength=15 bytes, payload=07, length=9 bytes",
           command({15, 0, 0, 0, 2, 0, 0, 0, 7})),
      DATA(SVS_QUERY_JOINSEESION_FAILED_CMD, "dwLength=8 bytes, length=8 bytes",
           command({8, 0, 0, 0, 2, 0, 0, 0})),
      DATA(SVS_JOINSESSION_FAILED_CMD, "dwLength=9 bytes, length=8 bytes",
           command({9, 0, 0, 0, 3, 0, 0, 0})),
      DATA(STM_PARAMETER_MEDIA_INFO,
           "nDurationMs=-1500 ms, nMediaContent=MM_MEDIASTREAMING_MEDIACONTENT_VIDEO, "
           "nMediaType=3, length=12 bytes",
           parameter(0, {0x24, 0xFA, 0xFF, 0xFF, 2, 0, 0, 0, 3, 0, 0, 0})),
      DATA(STM_PARAMETER_MEDIA_INFO, "record=" + zeros(11) + ", length=11 bytes",
           parameter(0, std::vector<unsigned char>(11))),
      DATA(STM_PARAMETER_PROVIDER_CRASHED, "length=0 bytes", parameter(1, {})),
      DATA(STM_PARAMETER_PROVIDER_CRASHED, "record=ff, length=1 bytes", parameter(1, {0xFF})),
      DATA(UNKNOWN, "dwCommand=0, record=010203, length=3 bytes", command({1, 2, 3})),
      DATA(UNKNOWN, "dwCommand=9, dwLength=10 bytes, payload=abcd, length=10 bytes",
           command({10, 0, 0, 0, 9, 0, 0, 0, 0xAB, 0xCD})),
      DATA(UNKNOWN, "id=500, record=" + zeros(72) + ", length=100 bytes",
           parameter(500, std::vector<unsigned char>(100))),
      ROUTED(UNKNOWN, request, "type=0, uMsg=8", Direction::toHost, SVS_MSG_MS_COMMAND, 8, kHead),
      ROUTED(UNKNOWN, status, "type=ROUTE_TYPE_MEDIASTREAMING, uMsg=6", Direction::toObject,
             ROUTE_TYPE_MEDIASTREAMING, 6, kHead),
      ROUTED(UNKNOWN, status, "type=ROUTE_TYPE_MEDIASTREAMING, uMsg=1", Direction::toObject,
             ROUTE_TYPE_MEDIASTREAMING, 1),
      ROUTED(UNKNOWN, session, "type=ROUTE_TYPE_SESSION, uMsg=2", Direction::toObject,
             ROUTE_TYPE_SESSION, 2),
      ROUTED(UNKNOWN, status, "type=3, uMsg=2", Direction::toObject, 3, 2),
      ROUTED(ROUTE_TYPE_NB, session, "uMsg=0", Direction::toObject, ROUTE_TYPE_NB, 0),
      ROUTED(ROUTE_TYPE_NB, session, "uMsg=5", Direction::toObject, ROUTE_TYPE_NB, 5, kHead),
      ROUTED(UNKNOWN, request, "type=1, uMsg=5", Direction::toHost, ROUTE_TYPE_NB, 5),
  };
}

#undef ROUTED
#undef COMMAND
#undef REQUEST
#undef TO_HOST
#undef SESSION
#undef STATUS
#undef DATA

TEST(MessageJournalTest, EveryMessageIsDecoded) {
  std::set<std::string> seen;
  for (const Case& each : cases()) {
    MessageJournal journal;
    journal.setKept(MessageJournal::Keep::everything);
    each.record(journal);
    const auto entries = journal.since(0, 10);
    ASSERT_EQ(entries.size(), 1U) << each.name;
    EXPECT_STREQ(entries[0].name(), each.name);
    EXPECT_EQ(entries[0].kind(), each.kind) << each.name;
    EXPECT_EQ(text(entries[0].fields()), each.fields) << each.name;
    EXPECT_TRUE(entries[0].taken) << each.name;
    EXPECT_EQ(journal.totals(), (std::map<std::string, std::uint64_t>{{each.name, 1}}));
    seen.insert(each.name);
  }
  for (std::size_t index = 0; index < kUnknownMessage; ++index)
    EXPECT_TRUE(seen.contains(messageName(index))) << messageName(index) << " has no case";
}

// A session probe is rightly answered by 0; the status of a channel is a word of the answer.
TEST(MessageJournalTest, AnswersOfZeroAreToldAsSuch) {
  const struct {
    MM_MEDIASTREAMING_QUERY_TYPE type;
    UCFResult answer;
    const char* told;  // behind dwResult
  } rows[] = {
      {MM_MEDIASTREAMING_QUERY_SESSION_PROBE, 0, ", sessionID=1001  (answered 0)"},
      {MM_MEDIASTREAMING_QUERY_CHANNEL_STATUS, 0, ", sessionID=1001  (answered 0)"},
      {MM_MEDIASTREAMING_QUERY_CHANNEL_STATUS, 1,
       ", dwChannelStatus=MM_MEDIA_STREAMING_CHANNEL_STATUS_CREATE_CONFIRM, sessionID=1001"},
      {MM_MEDIASTREAMING_QUERY_PLAY_ALLOWED, 1, ", sessionID=1001"},
  };
  for (const auto& row : rows) {
    MessageJournal journal;
    journal.setKept(MessageJournal::Keep::everything);
    tagQuery query{1001, 0, row.type, 0, 7, 0, {}};
    journal.record("presenter", Direction::toHost, kToPlatform, SVS_MSG_MS_COMMAND,
                   MM_MEDIASTREAMING_CMD_QUERY, &query, nullptr, row.answer);
    const std::string all = messageAsText(journal.since(0, 1).at(0));
    const std::string result = "dwResult=7";
    const std::size_t at = all.find(result);
    ASSERT_NE(at, std::string::npos) << all;
    EXPECT_EQ(all.substr(at + result.size()), row.told) << all;
  }
}

TEST(MessageJournalTest, ARequestWithoutARecordHasNoFields) {
  for (std::size_t index = 0; index <= MM_MEDIASTREAMING_CMD_QUERY; ++index) {
    MessageJournal journal;
    journal.setKept(MessageJournal::Keep::everything);
    journal.record("presenter", Direction::toHost, kToPlatform, SVS_MSG_MS_COMMAND, index, nullptr,
                   nullptr, 0);
    const auto entries = journal.since(0, 1);
    ASSERT_EQ(entries.size(), 1U);
    EXPECT_EQ(entries[0].fields().empty(), std::string(entries[0].name()) != "UNKNOWN")
        << entries[0].name();
    EXPECT_FALSE(entries[0].taken);
  }
}

class KeptJournalTest : public testing::Test {
 protected:
  void recordPlay(const std::string& participant) { session(SESSION_MSG_START_PLAY, participant); }
  void session(unsigned long uMsg, const std::string& participant) {
    journal_.record(participant, Direction::toObject, kFromPlatform, ROUTE_TYPE_SESSION, uMsg,
                    nullptr, nullptr, 0);
  }
  void recordSample() {
    const tagMSDataStructure sample{};
    journal_.record("presenter", Direction::toHost, kToPlatform, SVS_MSG_MS_COMMAND,
                    MM_MEDIASTREAMING_CMD_MEDIA_DATA, &sample, nullptr, 1);
  }

  std::shared_ptr<platform::ManualClock> clock_ = std::make_shared<platform::ManualClock>();
  MessageJournal journal_{3, clock_};
};

TEST_F(KeptJournalTest, NothingIsKeptUntilSomebodyAsks) {
  recordPlay("a");
  EXPECT_TRUE(journal_.since(0, 10).empty());
  journal_.setKept(MessageJournal::Keep::allButSamples);
  recordSample();
  recordPlay("b");
  journal_.setKept(MessageJournal::Keep::everything);
  recordSample();
  const auto entries = journal_.since(0, 10);
  ASSERT_EQ(entries.size(), 2U);
  EXPECT_EQ(entries[0].participant, "b");
  EXPECT_EQ(entries[1].kind(), MessageKind::sample);
  const auto totals = journal_.totals();
  EXPECT_EQ(totals.at("SESSION_MSG_START_PLAY"), 2U);
  EXPECT_EQ(totals.at("MM_MEDIASTREAMING_CMD_MEDIA_DATA"), 2U);
}

TEST_F(KeptJournalTest, TheNewestAreKeptAndReadInSteps) {
  journal_.setKept(MessageJournal::Keep::everything);
  for (const char* participant : {"a", "b", "c", "d", "e"}) {
    clock_->advance(500ms);
    recordPlay(participant);
  }
  const auto first = journal_.since(0, 2);
  ASSERT_EQ(first.size(), 2U);
  EXPECT_EQ(first[0].number, 3U);
  EXPECT_EQ(first[0].participant, "c");
  EXPECT_DOUBLE_EQ(first[0].seconds, 1.5);
  const auto rest = journal_.since(first[1].number, 100);
  ASSERT_EQ(rest.size(), 1U);
  EXPECT_EQ(rest[0].number, 5U);
  EXPECT_TRUE(journal_.since(5, 100).empty());
  EXPECT_TRUE(journal_.since(99, 100).empty()) << "a number that has not been given yet";
}

TEST_F(KeptJournalTest, ThreadsRecordAndReadAtOnce) {
  journal_.setKept(MessageJournal::Keep::everything);
  constexpr int kEach = 2000;
  std::vector<std::thread> writers;
  for (int index = 0; index < 2; ++index)
    writers.emplace_back([this] {
      for (int i = 0; i < kEach; ++i) recordSample();
    });
  std::uint64_t read = 0;
  while (read < 2UL * kEach)
    for (const PassedMessage& entry : journal_.since(read, 100)) {
      EXPECT_GT(entry.number, read);
      read = entry.number;
    }
  for (std::thread& writer : writers) writer.join();
  EXPECT_EQ(journal_.totals().at("MM_MEDIASTREAMING_CMD_MEDIA_DATA"), 2UL * kEach);
}

}  // namespace
}  // namespace meeting
