#include "meeting/MessageJournal.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

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

std::string text(const Fields& fields) {
  std::string text;
  for (const auto& [name, value] : fields) text += (text.empty() ? "" : ", ") + name + "=" + value;
  return text;
}

// A record with all that it points to, and what the journal must make of it.
struct Case {
  const char* name;
  MessageKind kind;
  std::string fields;
  std::function<void(MessageJournal&)> record;
};

template <class Record>
std::function<void(MessageJournal&)> request(unsigned long uMsg, const Record& record) {
  return [uMsg, record](MessageJournal& journal) {
    journal.record("attendee-1", Direction::toHost, SVS_MSG_MS_COMMAND, uMsg, &record, nullptr, 1);
  };
}

std::function<void(MessageJournal&)> bare(unsigned long type) {
  return [type](MessageJournal& journal) {
    journal.record("presenter", Direction::toHost, type, 0, nullptr, nullptr, 1);
  };
}

std::function<void(MessageJournal&)> ids(unsigned long type) {
  return [type](MessageJournal& journal) {
    const std::uint64_t session = 1001;
    const std::uint64_t source = 7;
    journal.record("presenter", Direction::toHost, type, 0, &session, &source, 1);
  };
}

template <class Record>
std::function<void(MessageJournal&)> status(unsigned long uMsg, const Record& record) {
  return [uMsg, record](MessageJournal& journal) {
    journal.record("attendee-1", Direction::toObject, ROUTE_TYPE_MEDIASTREAMING, uMsg, &record,
                   nullptr, 0);
  };
}

std::function<void(MessageJournal&)> session(unsigned long uMsg, const std::int32_t* code) {
  return [uMsg, code](MessageJournal& journal) {
    journal.record("presenter", Direction::toObject, ROUTE_TYPE_SESSION, uMsg, code, nullptr, 0);
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

tMSAUDIOFORMATEX audio{0, 2, 0, 48000, 192000, 4, 16, 32, 0};
tagMSVIDEOFORMATEX video{0, 640, 360, 29.97F, 0, 0};
tagMSRenderView renderView{0xBEEF, 2, 0};
constexpr std::int32_t kLimit = SESSION_ERR_MAX_LIMIT;
constexpr std::int32_t kOtherFailure = -3;

const std::string kIds = "sessionID=1001, sourceID=1, ";

#define MESSAGE(name, kind, fields, record) \
  Case { #name, MessageKind::kind, fields, record }
#define REQUEST(name, fields, ...) MESSAGE(name, request, fields, request(name, __VA_ARGS__))
#define STATUS(name, fields, ...) MESSAGE(name, status, kIds + (fields), status(name, __VA_ARGS__))

std::vector<Case> cases() {
  return {
      MESSAGE(MM_MEDIASTREAMING_CMD_MEDIA_DATA, sample,
              kIds + "nMediaType=MM_MEDIASTREAMING_MEDIATYPE_VIDEO, dwTimestamp=40 ms, "
                     "bReserved=still, dwDataLength=12 bytes, wWidth=640, wHeight=360, "
                     "wFrameRate=29.97",
              request(MM_MEDIASTREAMING_CMD_MEDIA_DATA,
                      tagMSDataStructure{1001,
                                         1,
                                         40,
                                         1,
                                         {},
                                         nullptr,
                                         12,
                                         MM_MEDIASTREAMING_MEDIATYPE_VIDEO,
                                         0,
                                         &video,
                                         16})),
      MESSAGE(MM_MEDIASTREAMING_CMD_MEDIA_DATA, sample,
              kIds + "nMediaType=MM_MEDIASTREAMING_MEDIATYPE_AUDIO, dwTimestamp=40 ms, "
                     "bReserved=live, dwDataLength=12 bytes",
              request(MM_MEDIASTREAMING_CMD_MEDIA_DATA,
                      tagMSDataStructure{1001,
                                         1,
                                         40,
                                         0,
                                         {},
                                         nullptr,
                                         12,
                                         MM_MEDIASTREAMING_MEDIATYPE_AUDIO,
                                         0,
                                         nullptr,
                                         0})),
      REQUEST(MM_MEDIASTREAMING_CMD_REGISTER,
              kIds + "eChannelType=MM_MEDIASTREAMING_CHANNEL_SOURCE, dwDuration=10000 ms, "
                     "eMediaContent=MM_MEDIASTREAMING_MEDIACONTENT_AUDIO_VIDEO",
              tagMSRegisterInfo{kHead, kSource, 0, 10000,
                                MM_MEDIASTREAMING_MEDIACONTENT_AUDIO_VIDEO, 0}),
      REQUEST(MM_MEDIASTREAMING_CMD_REGISTER,
              kIds + "eChannelType=MM_MEDIASTREAMING_CHANNEL_LISTENER, dwDuration=10 s, "
                     "eMediaContent=9",
              tagMSRegisterInfo{kHead, kListener, 0, 10, MM_MEDIASTREAMING_MEDIACONTENENT{9}, 0}),
      REQUEST(MM_MEDIASTREAMING_CMD_UNREGISTER,
              kIds + "eChannelType=MM_MEDIASTREAMING_CHANNEL_LISTENER",
              tagMSUnRegisterInfo{kHead, kListener, 0}),
      REQUEST(MM_MEDIASTREAMING_CMD_SOURCE_STATUS,
              kIds + "eChannelType=MM_MEDIASTREAMING_CHANNEL_SOURCE, "
                     "eStatus=MM_MEDIASTREAMING_PAUSE, lPosition=-1 ms, "
                     "dwSeekMark=MM_MEDIASTREAMING_SEEK_MARK",
              tagMSSourceStatus{kHead, kSource, MM_MEDIASTREAMING_PAUSE, -1,
                                MM_MEDIASTREAMING_SEEK_MARK}),
      REQUEST(MM_MEDIASTREAMING_CMD_MEDIA_FORMAT,
              kIds + "eMediaType=MM_MEDIASTREAMING_MEDIATYPE_AUDIO, dwFormatSize=32 bytes, "
                     "nChannels=2, nSamplesPerSec=48000, wBitsPerSample=16, nBlockAlign=4",
              tagMSMediaFormat{kHead, MM_MEDIASTREAMING_MEDIATYPE_AUDIO, 0, &audio, 32}),
      REQUEST(MM_MEDIASTREAMING_CMD_MEDIA_FORMAT,
              kIds + "eMediaType=MM_MEDIASTREAMING_MEDIATYPE_VIDEO, dwFormatSize=15 bytes",
              tagMSMediaFormat{kHead, MM_MEDIASTREAMING_MEDIATYPE_VIDEO, 0, &video, 15}),
      REQUEST(MM_MEDIASTREAMING_CMD_SET_RENDER,
              kIds + "eChannelType=MM_MEDIASTREAMING_CHANNEL_LISTENER, "
                     "eRenderType=MM_MEDIASTREAMING_RENDER_ATTACH, hRender=0xbeef",
              tagMSRenderInfo{kHead, kListener, MM_MEDIASTREAMING_RENDER_ATTACH, 0xBEEF, 0}),
      REQUEST(MM_MEDIASTREAMING_CMD_UPDATE_RENDER,
              kIds + "eChannelType=MM_MEDIASTREAMING_CHANNEL_LISTENER, hRender=0xbeef, "
                     "dwUpdateKind=4, hRenderView=0xbeef, nViewKind=2",
              tagMSRenderUpdate{kHead, kListener, 0, 0xBEEF, 4, &renderView, 0}),
      REQUEST(MM_MEDIASTREAMING_CMD_UPDATE_RENDER,
              kIds + "eChannelType=MM_MEDIASTREAMING_CHANNEL_LISTENER, hRender=0x0, "
                     "dwUpdateKind=3",
              tagMSRenderUpdate{kHead, kListener, 0, 0, 3, &renderView, 0}),
      REQUEST(MM_MEDIASTREAMING_CMD_MUTE_STATUS,
              kIds + "eChannelType=MM_MEDIASTREAMING_CHANNEL_LISTENER, eMuteStatus=1",
              tagMSMuteInfo{kHead, kListener, MM_MEDIASTREAMING_MUTESTATUS{1}}),
      REQUEST(MM_MEDIASTREAMING_CMD_VOLUME,
              kIds + "eChannelType=MM_MEDIASTREAMING_CHANNEL_LISTENER, wVolumeLevel=80",
              tagMSVolumeInfo{kHead, kListener, 80, 0}),
      REQUEST(MM_MEDIASTREAMING_CMD_QUERY,
              "sessionID=1001, nQueryType=MM_MEDIASTREAMING_QUERY_SESSION_PROBE, dwStatus=5, "
              "dwResult=6, dwChannelStatus=MM_MEDIA_STREAMING_CHANNEL_STATUS_JOIN_SUCCESS",
              tagQuery{1001, 5, MM_MEDIASTREAMING_QUERY_SESSION_PROBE, 0, 6, 2, {}}),
      MESSAGE(SVS_MSG_GET_IDS, request, "sessionID=1001, sourceID=7", ids(SVS_MSG_GET_IDS)),
      MESSAGE(SVS_MSG_GET_IDS_EMBED, request, "sessionID=1001, sourceID=7",
              ids(SVS_MSG_GET_IDS_EMBED)),
      MESSAGE(SVS_MSG_START_SESSION, session, "", bare(SVS_MSG_START_SESSION)),
      MESSAGE(SVS_MSG_STOP_SESSION, session, "", bare(SVS_MSG_STOP_SESSION)),
      MESSAGE(SVS_MSG_STOP_ADVANCE_PAGE, request, "", bare(SVS_MSG_STOP_ADVANCE_PAGE)),
      MESSAGE(SESSION_MSG_JOIN_CONFIRM, session, "", session(SESSION_MSG_JOIN_CONFIRM, nullptr)),
      MESSAGE(SESSION_MSG_JOIN_FAILED, session, "", session(SESSION_MSG_JOIN_FAILED, nullptr)),
      MESSAGE(SESSION_MSG_JOIN_FAILED, session, "code=SESSION_ERR_MAX_LIMIT",
              session(SESSION_MSG_JOIN_FAILED, &kLimit)),
      MESSAGE(SESSION_MSG_JOIN_FAILED, session, "code=-3",
              session(SESSION_MSG_JOIN_FAILED, &kOtherFailure)),
      MESSAGE(SESSION_MSG_LEFT, session, "", session(SESSION_MSG_LEFT, nullptr)),
      MESSAGE(SESSION_MSG_MAX_ATTENDEE_REACHED, session, "",
              session(SESSION_MSG_MAX_ATTENDEE_REACHED, nullptr)),
      MESSAGE(SESSION_MSG_STOP_FOR_BANDWIDTH, session, "",
              session(SESSION_MSG_STOP_FOR_BANDWIDTH, nullptr)),
      MESSAGE(SESSION_MSG_START_PLAY, session, "", session(SESSION_MSG_START_PLAY, nullptr)),
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
      MESSAGE(SVS_QUERY_JOINSEESION_FAILED_CMD, data, "dwLength=16 bytes, user=7, length=16 bytes",
              command({16, 0, 0, 0, 2, 0, 0, 0, 7, 0, 0, 0, 0, 0, 0, 0})),
      MESSAGE(SVS_QUERY_JOINSEESION_FAILED_CMD, data, "dwLength=8 bytes, length=8 bytes",
              command({8, 0, 0, 0, 2, 0, 0, 0})),
      MESSAGE(SVS_JOINSESSION_FAILED_CMD, data, "dwLength=9 bytes, length=8 bytes",
              command({9, 0, 0, 0, 3, 0, 0, 0})),
      MESSAGE(STM_PARAMETER_MEDIA_INFO, data,
              "nDurationMs=-1500 ms, nMediaContent=MM_MEDIASTREAMING_MEDIACONTENT_VIDEO, "
              "nMediaType=3, length=12 bytes",
              parameter(0, {0x24, 0xFA, 0xFF, 0xFF, 2, 0, 0, 0, 3, 0, 0, 0})),
      MESSAGE(STM_PARAMETER_MEDIA_INFO, data, "length=11 bytes",
              parameter(0, std::vector<unsigned char>(11))),
      MESSAGE(STM_PARAMETER_PROVIDER_CRASHED, data, "length=0 bytes", parameter(1, {})),
      MESSAGE(UNKNOWN, data, "dwCommand=0, length=3 bytes", command({1, 2, 3})),
      MESSAGE(UNKNOWN, data, "id=500, length=100 bytes",
              parameter(500, std::vector<unsigned char>(100))),
      MESSAGE(UNKNOWN, request, "type=0, uMsg=8", request(8, kHead)),
      MESSAGE(UNKNOWN, status, "type=2, uMsg=6", status(6, kHead)),
      MESSAGE(UNKNOWN, session, "type=0, uMsg=2", session(2, nullptr)),
  };
}

#undef MESSAGE
#undef REQUEST
#undef STATUS

TEST(MessageJournalTest, EveryMessageIsDecoded) {
  std::set<std::string> seen;
  for (const Case& each : cases()) {
    MessageJournal journal;
    journal.setKept(MessageJournal::Keep::everything);
    each.record(journal);
    const auto entries = journal.since(0, 10);
    ASSERT_EQ(entries.size(), 1U) << each.name;
    EXPECT_EQ(entries[0].name, each.name);
    EXPECT_EQ(entries[0].kind, each.kind) << each.name;
    EXPECT_EQ(text(entries[0].fields), each.fields) << each.name;
    EXPECT_TRUE(entries[0].taken) << each.name;
    EXPECT_EQ(journal.totals(), (std::map<std::string, std::uint64_t>{{each.name, 1}}));
    seen.insert(each.name);
  }
  for (std::size_t index = 0; index < kUnknownMessage; ++index)
    EXPECT_TRUE(seen.contains(messageName(index))) << messageName(index) << " has no case";
}

TEST(MessageJournalTest, ARequestWithoutARecordHasNoFields) {
  for (std::size_t index = 0; index <= MM_MEDIASTREAMING_CMD_QUERY; ++index) {
    MessageJournal journal;
    journal.setKept(MessageJournal::Keep::everything);
    journal.record("presenter", Direction::toHost, SVS_MSG_MS_COMMAND, index, nullptr, nullptr, 0);
    const auto entries = journal.since(0, 1);
    ASSERT_EQ(entries.size(), 1U);
    EXPECT_EQ(entries[0].fields.empty(), entries[0].name != "UNKNOWN") << entries[0].name;
    EXPECT_FALSE(entries[0].taken);
  }
}

class KeptJournalTest : public testing::Test {
 protected:
  void recordPlay(const std::string& participant) { session(SESSION_MSG_START_PLAY, participant); }
  void session(unsigned long uMsg, const std::string& participant) {
    journal_.record(participant, Direction::toObject, ROUTE_TYPE_SESSION, uMsg, nullptr, nullptr,
                    0);
  }
  void recordSample() {
    const tagMSDataStructure sample{};
    journal_.record("presenter", Direction::toHost, SVS_MSG_MS_COMMAND,
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
  EXPECT_EQ(entries[1].kind, MessageKind::sample);
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
    for (const JournalEntry& entry : journal_.since(read, 100)) {
      EXPECT_GT(entry.number, read);
      read = entry.number;
    }
  for (std::thread& writer : writers) writer.join();
  EXPECT_EQ(journal_.totals().at("MM_MEDIASTREAMING_CMD_MEDIA_DATA"), 2UL * kEach);
}

}  // namespace
}  // namespace meeting
