// Traffic is kept in a file, read back, and compared.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <fstream>
#include <functional>
#include <nlohmann/json.hpp>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "meeting/MessageDifference.h"
#include "meeting/MessageJournal.h"
#include "meeting/MessageLog.h"
#include "meeting/MessageRecording.h"
#include "meeting/MessageText.h"
#include "mmp/ParticipantRecords.h"
#include "mmp/RequestRecords.h"
#include "mmp/StatusRecords.h"
#include "tests/platform/TemporaryFolder.h"
#include "ucf/IUCFMsgRouter.h"
#include "ucf/SessionMessages.h"

namespace meeting {
namespace {

using Messages = std::vector<PassedMessage>;
constexpr tagMSHead kChannelHead{1001, 1};

class RecordingTest : public testing::Test {
 protected:
  // A meeting in small: some of everything that is told apart.
  void SetUp() override {
    MessageJournal journal;
    MessageLog log(file(), MessageLog::Form::recording);
    journal.addListener(log);
    const auto request = [&](const char* from, unsigned long uMsg, const void* record) {
      journal.record(from, Direction::toHost, {MODULE_TYPE_SVS, MODULE_TYPE_MMP},
                     SVS_MSG_MS_COMMAND, uMsg, record, nullptr, 1);
    };
    journal.record("presenter", Direction::toObject, {MODULE_TYPE_CONF, 77}, ROUTE_TYPE_SESSION,
                   SESSION_MSG_JOIN_CONFIRM, nullptr, nullptr, 0);
    tagMSRenderInfo render{kChannelHead, MM_MEDIASTREAMING_CHANNEL_LISTENER,
                           MM_MEDIASTREAMING_RENDER_ATTACH, 0xBEEF, 0};
    request("attendee-1", MM_MEDIASTREAMING_CMD_SET_RENDER, &render);
    tagMSSourceStatus status{kChannelHead, MM_MEDIASTREAMING_CHANNEL_SOURCE, MM_MEDIASTREAMING_PLAY,
                             -700, MM_MEDIASTREAMING_SEEK_MARK};
    request("presenter", MM_MEDIASTREAMING_CMD_SOURCE_STATUS, &status);
    std::array<char, 5> sound{"abcd"};
    tagMSDataStructure sample{
        1001, 1,       40, 0, {}, sound.data(), sound.size(), MM_MEDIASTREAMING_MEDIATYPE_AUDIO,
        0,    nullptr, 0};
    request("presenter", MM_MEDIASTREAMING_CMD_MEDIA_DATA, &sample);
    const std::array<unsigned char, 8> command{8, 0, 0, 0, 3, 0, 0, 0};
    journal.recordCommand("presenter", Direction::toHost, command, SVS_USER_EVERYBODY);
    journal.recordCommand("attendee-1", Direction::toObject, command);
    const tagMSPlayPosition position{kChannelHead, 1500};
    journal.record("attendee-1", Direction::toObject, {MODULE_TYPE_MMP, MODULE_TYPE_SVS},
                   ROUTE_TYPE_MEDIASTREAMING, MM_MEDIASTREAMING_MSSTATUS_CURRENT_PLAY_POSITION,
                   &position, nullptr, 0);
    journal.setKept(MessageJournal::Keep::everything);
    ASSERT_EQ(log.close(), 0);
  }

  std::string file() const { return folder_ / "meeting.rec"; }
  // The messages of the file; `failure` is what stopped the reading, or empty.
  static Messages read(const std::string& path, std::string& failure) {
    Messages messages;
    const auto stopped = readRecording(path, [&](PassedMessage message) {
      messages.push_back(std::move(message));
      return true;
    });
    failure = stopped ? stopped->line : "";
    EXPECT_TRUE(!stopped || stopped->status == ExitStatus::wrongFile);
    return messages;
  }
  Messages read() const {
    std::string failure;
    Messages messages = read(file(), failure);
    EXPECT_EQ(failure, "");
    return messages;
  }

  const TemporaryFolder folder_;
};

TEST_F(RecordingTest, IsReadBackWhole) {
  std::string text;
  for (PassedMessage& message : read()) {
    message.seconds = 1.5;
    text += messageAsText(message) + '\n';
  }
  EXPECT_EQ(
      text,
      "     1     1.500  presenter    77<-CONF   SESSION_MSG_JOIN_CONFIRM\n"
      "     2     1.500  attendee-1   SVS->MMP   MM_MEDIASTREAMING_CMD_SET_RENDER  "
      "eChannelType=MM_MEDIASTREAMING_CHANNEL_LISTENER, "
      "eRenderType=MM_MEDIASTREAMING_RENDER_ATTACH, hRender=0xbeef, sessionID=1001, "
      "sourceID=1\n"
      "     3     1.500  presenter    SVS->MMP   MM_MEDIASTREAMING_CMD_SOURCE_STATUS  "
      "eChannelType=MM_MEDIASTREAMING_CHANNEL_SOURCE, eStatus=MM_MEDIASTREAMING_PLAY, "
      "lPosition=-700 ms, dwSeekMark=MM_MEDIASTREAMING_SEEK_MARK, sessionID=1001, sourceID=1\n"
      "     4     1.500  presenter    SVS->MMP   MM_MEDIASTREAMING_CMD_MEDIA_DATA  "
      "nMediaType=MM_MEDIASTREAMING_MEDIATYPE_AUDIO, dwTimestamp=40 ms, bReserved=live, "
      "dwDataLength=5 bytes, dwFormatLength=0 bytes, hash=90a8b09af125002ba51b2d408009ba0d, "
      "sessionID=1001, "
      "sourceID=1\n"
      "     5     1.500  presenter    ->all      SVS_JOINSESSION_FAILED_CMD  dwLength=8 bytes, "
      "length=8 bytes\n"
      "     6     1.500  attendee-1   <-         SVS_JOINSESSION_FAILED_CMD  dwLength=8 bytes, "
      "length=8 bytes\n"
      "     7     1.500  attendee-1   SVS<-MMP   MM_MEDIASTREAMING_MSSTATUS_CURRENT_PLAY_POSITION  "
      "dwPosition=1500 ms, sessionID=1001, sourceID=1\n");
}

TEST_F(RecordingTest, OfAFormerProgramIsReadAsWell) {
  std::ostringstream whole;
  whole << std::ifstream(file()).rdbuf();
  static const std::regex kLater(R"re(,"(fromModule|toModule|toUser)":\d+)re");
  const std::string former = std::regex_replace(whole.str(), kLater, "");
  ASSERT_EQ(whole.str().size() - former.size(), 5 * std::strlen(R"(,"fromModule":0,"toModule":1)") +
                                                    1 + std::strlen(R"(,"toUser":4294967295)"));
  std::ofstream(folder_ / "former.rec") << former;
  std::string failure;
  const Messages messages = read(folder_ / "former.rec", failure);
  EXPECT_EQ(failure, "");
  ASSERT_EQ(messages.size(), 7U);
  EXPECT_NE(messageAsText(messages[1]).find("  attendee-1   ->         MM_"), std::string::npos);
  EXPECT_NE(messageAsText(messages[4]).find("  presenter    ->         SVS_"), std::string::npos);
  EXPECT_FALSE(messageAsJson(messages[1]).contains("fromModule"));
  EXPECT_FALSE(messageAsJson(messages[4]).contains("toUser"));
  EXPECT_FALSE(firstDifference(messages, read()));
}

// Programs need not take figures apart.
TEST_F(RecordingTest, FiguresInJsonAreNumbersAndNamesAreTexts) {
  Messages all = read();
  all[4].message.toUser = 2;
  std::string fields;
  for (const std::size_t i : {0U, 2U, 3U, 4U}) {
    nlohmann::ordered_json message = messageAsJson(all[i]);
    message.erase("seconds");
    for (const char* same : {"number", "participant", "kind", "taken", "name"}) message.erase(same);
    fields += lineOf(message) + '\n';
  }
  EXPECT_EQ(fields,
            R"({"to":"object","fromModule":"MODULE_TYPE_CONF","toModule":77,"fields":{}}
{"to":"host","fromModule":"MODULE_TYPE_SVS","toModule":"MODULE_TYPE_MMP","fields":{"sessionID":1001,"sourceID":1,"eChannelType":"MM_MEDIASTREAMING_CHANNEL_SOURCE","eStatus":"MM_MEDIASTREAMING_PLAY","lPosition":-700,"dwSeekMark":"MM_MEDIASTREAMING_SEEK_MARK"}}
{"to":"host","fromModule":"MODULE_TYPE_SVS","toModule":"MODULE_TYPE_MMP","fields":{"sessionID":1001,"sourceID":1,"nMediaType":"MM_MEDIASTREAMING_MEDIATYPE_AUDIO","dwTimestamp":40,"bReserved":"live","dwDataLength":5,"dwFormatLength":0,"hash":"90a8b09af125002ba51b2d408009ba0d"}}
{"to":"host","toUser":2,"fields":{"dwLength":8,"length":8}}
)");
  EXPECT_EQ(messageAsJson(read()[4])["toUser"], "SVS_USER_EVERYBODY");
  EXPECT_EQ(messageAsReadableJson(all[2])["fields"]["lPosition"], "-700 ms");
}

// Sets the R that a message carries to what `change` makes of it.
template <class R>
void edit(PassedMessage& message, const std::function<void(R&)>& change) {
  R record;
  std::memcpy(&record, message.message.record.data(), sizeof record);
  change(record);
  std::memcpy(message.message.record.data(), &record, sizeof record);
}

// Another block of sound.
PassedMessage soundAt(std::uint64_t milliseconds, PassedMessage like) {
  edit<tagMSDataStructure>(like, [&](auto& r) { r.dwTimestamp = milliseconds; });
  return like;
}

// Without the numbers of samples, which stand behind a comma.
std::string whatOf(const std::optional<MessageDifference>& found) {
  return found ? found->participant + ", " + found->what.substr(0, found->what.find(',')) : "";
}

TEST_F(RecordingTest, TheFirstDifferenceIsFound) {
  struct Case {
    const char* what;  // as it is told; empty: none
    std::function<void(Messages&)> change;
  };
  const Case cases[] = {
      {"", [](Messages&) {}},
      {"", [](Messages& all) { all[2].seconds += 3; }},
      {"", [](Messages& all) { all.pop_back(); }},             // how often positions are told
      {"", [](Messages& all) { std::swap(all[0], all[1]); }},  // of two participants
      {"", [](Messages& all) { edit<tagMSRenderInfo>(all[1], [](auto& r) { r.hRender = 7; }); }},
      {"", [](Messages& all) { edit<tagMSDataStructure>(all[3], [](auto& r) { r.pData = &r; }); }},
      {"", [](Messages& all) { all.insert(all.begin() + 3, 9, soundAt(80, all[3])); }},  // dropped
      {"presenter, sound samples",
       [](Messages& all) { all.insert(all.begin() + 3, 10, soundAt(80, all[3])); }},
      {"presenter, sound samples", [](Messages& all) { all.erase(all.begin() + 3); }},
      {"presenter, sound at 40 ms",
       [](Messages& all) { edit<tagMSDataStructure>(all[3], [](auto& r) { r.padding0[6] = 1; }); }},
      {"attendee-1, message 1",
       [](Messages& all) { edit<tagMSRenderInfo>(all[1], [](auto& r) { r.reserved = 7; }); }},
      {"presenter, message 3", [](Messages& all) { all[4].message.toUser = 2; }},
      {"presenter, message 3",  // of an unknown command
       [](Messages& all) { edit<tagStmCommand>(all[4], [](auto& r) { r.dwCommand = 9; }); }},
      {"attendee-1, message 2", [](Messages& all) { all[5].message.recordBytes = 7; }},
      {"", [](Messages& all) { all.insert(all.begin() + 3, all[3])->hash.clear(); }},  // sent twice
      {"attendee-1, message 1",
       [](Messages& all) { edit<tagMSRenderInfo>(all[1], [](auto& r) { r.hRender = 0; }); }},
      {"presenter, message 2",
       [](Messages& all) { edit<tagMSSourceStatus>(all[2], [](auto& r) { r.lPosition = 1; }); }},
      {"presenter, message 2", [](Messages& all) { all[2].taken = false; }},
      {"presenter, message 2", [](Messages& all) { all.erase(all.begin() + 2); }},
      {"presenter, message 1", [](Messages& all) { std::swap(all[0], all[2]); }},
      {"presenter, message 2", [](Messages& all) { all[2].message.modules->to = 7; }},
      {"",
       [](Messages& all) {
         for (auto& one : all) one.message.modules.reset();
         all[4].message.toUser.reset();
       }},
      {"presenter, sound at 40 ms", [](Messages& all) { all[3].hash.clear(); }},
      {"attendee-1, message 2", [](Messages& all) { all[5].message.length = 9; }},
      {"attendee-1, message 1",
       [](Messages& all) { all[1].participant = all[5].participant = std::string("attendee-2"); }},
  };
  const Messages one = read();
  for (const Case& test : cases) {
    Messages other = one;
    test.change(other);
    for (const auto& found : {firstDifference(one, other), firstDifference(other, one)})
      EXPECT_EQ(whatOf(found), test.what);
  }
}

TEST_F(RecordingTest, WhatIsDamagedIsRefusedInItsLine) {
  struct Case {
    const char* from;  // of the file's text, the first such part
    const char* to;
    const char* says;
    std::size_t messages;  // that are read before
  };
  const Case cases[] = {
      {"movara", "other", "not a recording", 0},
      {"recording\":1", "recording\":2", "its first line version 2, and not 1", 0},
      {"{", "", "not a recording", 0},
      {"\"number\":3", "\"number\":4", "line 4 \"number\" is no number that it may be", 2},
      {"\"number\":3", "\"number\":2", "line 4 is not the next message", 2},
      {"\"uMsg\":4", "\"uMsg\":-4", "\"uMsg\" is no number", 1},
      {"\"fromModule\":0", "\"fromModule\":-1", "line 3 \"fromModule\" is no number", 1},
      {"toModule", "module", "line 2 has no \"toModule\"", 0},
      {"\"way\":\"command\"", "\"way\":\"smoke\"", "line 6 \"way\" is none of its words", 4},
      {"\"participant\":\"att", "\"participant\":\"\\u001b", "\"participant\" is no text", 1},
      {"\"toUser\":4", "\"toUser\":-4", "line 6 \"toUser\" is no number", 4},
      {"\"record\":\"e9", "\"record\":\"e", "line 3 \"record\" is not hexadecimal", 1},
      {"\"toUser\":4", "\"toUser\":-4", "line 6 \"toUser\" is no number", 4},
      {"\"record\":\"e9", "\"record\":\"xx", "line 3 \"record\" is not hexadecimal", 1},
      {"\"hash\":\"", "\"hash\":\"x", "\"hash\" is ", 3},
      {"\"taken\":true", "\"taken\":1", "line 2 \"seconds\" or \"taken\"", 0},
      {"\"length\":8", "\"breadth\":8", "line 6 has no \"length\"", 4},
      {"{\"end\":7}\n", "", "line 9 is missing: the meeting did not end in order", 7},
      {"\"end\":7", "\"end\":5", "line 9 counts other messages", 7},
      {"\"end\":7}\n", "\"end\":7}\n{}\n", "line 10 comes after the end", 7},
  };
  std::ostringstream whole;
  whole << std::ifstream(file()).rdbuf();
  const auto expectRefused = [&](const std::string& text, const char* says, std::size_t messages) {
    std::ofstream(folder_ / "damaged.rec") << text;
    std::string failure;
    EXPECT_EQ(read(folder_ / "damaged.rec", failure).size(), messages) << failure;
    EXPECT_NE(failure.find(says), std::string::npos) << failure << " instead of " << says;
  };
  for (const Case& test : cases) {
    std::string text = whole.str();
    const std::size_t place = text.find(test.from);
    ASSERT_NE(place, text.npos) << test.from;
    expectRefused(text.replace(place, std::strlen(test.from), test.to), test.says, test.messages);
  }
  expectRefused(std::string(100'000, ' '), "longer than a message", 0);
  // Cut off anywhere, as when the program was killed: what is whole is shown.
  const std::string all = whole.str();
  for (std::size_t length = 0; length < all.size(); ++length) {
    const bool atLineEnd = all[length] == '\n' || (length > 0 && all[length - 1] == '\n');
    if (length % 17 != 0 && !atLineEnd) continue;
    const std::string text = all.substr(0, length);
    const auto lines = std::count(text.begin(), text.end(), '\n');
    const std::string line = std::to_string(std::max(lines, 1L) + 1);
    const std::string says = " line " + line + " is missing: the meeting did not end in order";
    expectRefused(text, length < all.find('\n') ? "not a recording" : says.c_str(),
                  static_cast<std::size_t>(std::max(lines - 1, 0L)));
  }
}

}  // namespace
}  // namespace meeting
