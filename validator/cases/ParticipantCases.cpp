// What the instances of one document tell each other, and the video size that the client reports.
#include <algorithm>

#include "validator/cases/ContractFixture.h"
#include "validator/cases/Listener.h"

namespace contract {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<unsigned char> commandRecord(std::uint32_t stated, std::int32_t command,
                                         std::size_t bytes) {
  std::vector<unsigned char> record(std::max(bytes, std::size_t{16}));
  record[8] = 7;  // the sender's user id
  std::memcpy(record.data(), &stated, sizeof(stated));
  std::memcpy(record.data() + 4, &command, sizeof(command));
  record.resize(bytes);
  record.shrink_to_fit();
  return record;
}

CONTRACT_CASE(ObjectTest, APresenterWhoseJoinFailedAnswersTheQuestionForIt, records,
              "command records are read by their length") {
  std::int32_t limit = 0xFE02;
  std::int32_t other = 0xFE01;
  const struct {
    const char* name;
    unsigned long message;
    std::int32_t* code;
    bool live;
    bool answers;
  } rows[] = {{"joined", SESSION_MSG_JOIN_CONFIRM, nullptr, true, false},
              {"refused", SESSION_MSG_JOIN_FAILED, nullptr, true, true},
              {"refused, other code", SESSION_MSG_JOIN_FAILED, &other, true, true},
              {"refused, limit", SESSION_MSG_JOIN_FAILED, &limit, true, false},
              {"refused, limit, recording", SESSION_MSG_JOIN_FAILED, &limit, false, true},
              {"left", SESSION_MSG_LEFT, nullptr, true, false}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    host.liveMeeting = row.live;
    create();
    session(row.message, row.code);
    forget();
    for (std::uint32_t bytes = 0; bytes <= 24; ++bytes) {
      for (const std::uint32_t stated : {bytes, bytes + 4, bytes - std::min(bytes, 4U)}) {
        auto record = commandRecord(stated, SVS_QUERY_JOINSEESION_FAILED_CMD, bytes);
        runtime->OnCommandData(record.data(), bytes, 0, 0);
        const bool whole = bytes >= 16 && stated == bytes;
        EXPECT_EQ(host.take(), row.answers && whole ? Lines{"to 7 0800000003000000"} : Lines{})
            << bytes << " " << stated;
      }
    }
    host.role = UCF_ROLE_ATTENDEE;
    auto record = commandRecord(16, SVS_QUERY_JOINSEESION_FAILED_CMD, 16);
    runtime->OnCommandData(record.data(), 16, 0, 0);
    EXPECT_THAT(host.take(), IsEmpty()) << "only a presenter answers";
    host.role = UCF_ROLE_PRESENTER;
    runtime->OnCommandData(nullptr, 16, 0, 0);
    release();
  }
}

CONTRACT_CASE(ContractTest, NewsOfAFailedJoinCountsForAttendees, records,
              "a command of another length or number is ignored") {
  for (const std::uint32_t role : {0U, 1U, 2U, 3U}) {
    host.runtimeMode = UCF_RUNTIME_MODE_LISTENER;
    host.role = role;
    createActive();
    for (const std::int32_t command : {0, 1, 4, -1}) {
      auto record = commandRecord(8, command, 8);
      runtime->OnCommandData(record.data(), 8, 0, 0);
    }
    for (std::uint32_t bytes = 0; bytes <= 12; ++bytes) {
      auto record = commandRecord(bytes < 8 ? bytes : bytes + 1, SVS_JOINSESSION_FAILED_CMD, bytes);
      runtime->OnCommandData(record.data(), bytes, 0, 0);
    }
    EXPECT_EQ(shown(), 203);
    auto record = commandRecord(12, SVS_JOINSESSION_FAILED_CMD, 12);  // what follows is not read
    runtime->OnCommandData(record.data(), 12, 0, 0);
    EXPECT_EQ(shown(), (role & 2) != 0 ? 204 : 203) << role;
    release();
  }
}

CONTRACT_CASE(ObjectTest, NewsThatCannotBeSentAreDropped, messages,
              "news that the host cannot send are dropped") {
  host.canSend = false;
  create();
  forget();
  session(SESSION_MSG_JOIN_FAILED);
  EXPECT_THAT(host.take(), IsEmpty());
  host.canSend = true;
  host.throwsOnSend = true;
  session(SESSION_MSG_LEFT);
  EXPECT_THAT(host.take(), ElementsAre("to all 0800000003000000"));
}

CONTRACT_CASE(ContractTest, AListenerRegistersWithThePresentersMediaInfo, records,
              "a listener registers what the presenter has published") {
  listen();
  ticks(1);
  forget();
  const auto questions = Listener::to({"PDSyncSharingViewModeNotification"});
  mediaInfo({90700, MM_MEDIASTREAMING_MEDIACONTENT_AUDIO_VIDEO, 3});
  EXPECT_THAT(host.take(), IsEmpty()) << "held";
  EXPECT_THAT(view()->takeCalls(), ElementsAre("setMediaType 3", "setDuration 90"));
  EXPECT_EQ(view()->delegate->duration(), 90.0F);
  EXPECT_THAT(questions->names, testing::SizeIs(1)) << "asks for the view mode";
  mediaInfo({1000, MM_MEDIASTREAMING_MEDIACONTENT_AUDIO, 1});
  EXPECT_THAT(view()->takeCalls(), IsEmpty()) << "once";

  channelStatus(MM_MEDIA_STREAMING_CHANNEL_STATUS_JOIN_SUCCESS);
  channelStatus(MM_MEDIA_STREAMING_CHANNEL_STATUS_CREATE_CONFIRM);
  host.take();
  mediaInfo({-1500, MM_MEDIASTREAMING_MEDIACONTENT_AUDIO, 1});
  EXPECT_THAT(host.take(), ElementsAre("register -1 1", "status 3 0")) << "after a reconnect";
}

CONTRACT_CASE(ObjectTest, ParameterDataOfWrongLengthOrIdIsIgnored, records,
              "parameter data of another length or number is ignored") {
  listen();
  channelStatus(MM_MEDIA_STREAMING_CHANNEL_STATUS_CREATE_CONFIRM);
  forget();
  const tagStmMediaInfo info{90000, MM_MEDIASTREAMING_MEDIACONTENT_AUDIO, 1};
  for (std::uint32_t bytes = 0; bytes < sizeof(info); ++bytes) {
    std::vector<unsigned char> data(bytes);
    if (bytes > 0) {
      std::memcpy(data.data(), &info, bytes);
    }
    runtime->OnParameterData(0, data.data(), bytes);
  }
  runtime->OnParameterData(0, nullptr, 12);
  auto whole = info;
  for (const std::uint32_t id : {1U, 2U, 0xFFFFFFFFU}) {
    runtime->OnParameterData(id, reinterpret_cast<unsigned char*>(&whole), sizeof(whole));
  }
  EXPECT_THAT(host.take(), IsEmpty());
  mediaInfo(whole);
  EXPECT_THAT(host.take(), testing::Contains("register 90 1"));
}

CONTRACT_CASE(ContractTest, AListenersVolumeAndTheClientsVideoSizeArePassedOn, messages,
              "volume and the client's video size are passed on") {
  listen();
  channelStatus(MM_MEDIA_STREAMING_CHANNEL_STATUS_JOIN_SUCCESS);
  forget();
  view()->delegate->volumeChange(nullptr, 200);
  EXPECT_THAT(host.take(), ElementsAre("volume 200"));

  const auto post = [](int source, int width, int height) {
    postNotification("MSVideoRenderSizeChanged", {{"MSVideoRenderSourceID", source},
                                                  {"MSVideoRenderWidth", width},
                                                  {"MSVideoRenderHeight", height}});
  };
  constexpr int kOwn = RecordingHost::kSourceID;
  for (const auto& [source, width, height] :
       {std::tuple{kOwn, 640, 0}, {kOwn, -640, 360}, {41, 640, 360}}) {
    post(source, width, height);
  }
  EXPECT_THAT(view()->takeCalls(), IsEmpty());
  post(kOwn, 640, 360);
  post(kOwn, 640, 360);
  EXPECT_THAT(view()->takeCalls(), testing::SizeIs(1)) << "placed once for the new size";
  EXPECT_EQ(view()->delegate->mediaSize(), (platform::Size{640, 360}));
}

}  // namespace
}  // namespace contract
