// An attendee's way to the stream, whatever comes first.
#include <map>
#include <sstream>

#include "validator/cases/ContractFixture.h"

namespace contract {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr tagStmMediaInfo kInfo{90000, MM_MEDIASTREAMING_MEDIACONTENT_AUDIO_VIDEO, 3};

class ListenerTest : public ObjectTest {
 protected:
  // A: first activation, J: join confirmed, P: parameter data, C: channel created, S: joined.
  void happen(char event) {
    switch (event) {
      case 'A':
        activate();
        break;
      case 'J':
        session(SESSION_MSG_JOIN_CONFIRM);
        break;
      case 'P':
        mediaInfo(kInfo);
        break;
      case 'C':
        channelStatus(MM_MEDIA_STREAMING_CHANNEL_STATUS_CREATE_CONFIRM);
        break;
      default:
        channelStatus(MM_MEDIA_STREAMING_CHANNEL_STATUS_JOIN_SUCCESS);
    }
  }
  // Each word of a story is an event and what the platform is then sent.
  void expectStory(const std::string& story) {
    std::string before;
    std::istringstream words(story);
    for (std::string word; words >> word && !HasFailure();) {
      host.take();
      happen(word[0]);
      const Lines told = withoutQuestions(host.take());
      EXPECT_EQ(told, linesOf(word.substr(1)))
          << "by " << nameOf(word[0]) << (before.empty() ? "" : ", after " + before);
      before += (before.empty() ? "" : ", ") + nameOf(word[0]);
    }
  }

 private:
  static std::string nameOf(char event) {
    static const std::map<char, std::string> names = {{'A', "the first activation"},
                                                      {'J', "S 0 (join confirmed)"},
                                                      {'P', "parameter data 0"},
                                                      {'C', "M 4 (0, channel created)"},
                                                      {'S', "M 4 (2, channel joined)"}};
    return names.at(event);
  }
  static Lines linesOf(const std::string& letters) {
    static const std::map<char, std::string> meant = {{'r', "register 90 3"},
                                                      {'s', "status 3 0"},
                                                      {'v', "render 130 view"},
                                                      {'u', "update render 4 2 view"}};
    Lines lines;
    for (const char letter : letters) lines.push_back(meant.at(letter));
    return lines;
  }
  static Lines withoutQuestions(Lines lines) {
    std::erase_if(lines, [](const std::string& line) {
      return line.starts_with("query") || line.starts_with("item") || line.starts_with("request") ||
             line.starts_with("to ");
    });
    return lines;
  }
};

// The first activation sets the state back, so what it finds waiting goes on waiting; a view is
// attached only by parameter data that finds the player active.
CONTRACT_CASE(ListenerTest, RegistersOnceInEachOrderOfEvents, messages,
              "a listener registers once, whatever comes first") {
  for (const std::string story :
       {"A Cs J Prsv Su", "A Cs Prsv J Su",   "A J Cs Prsv Su", "A J P Crsv Ssu", "A P Crsv J Ssu",
        "A P Jr Csv Ssu", "C A J P Ssrsvu",   "C A P Jr Sssvu", "C J A P Ssrsvu", "C J Pr A Ssu",
        "C Pr A J Ssu",   "C Pr J A Ssu",     "J A Cs Prsv Su", "J A P Crsv Ssu", "J C A P Ssrsvu",
        "J C Pr A Ssu",   "J P A Crs Su",     "J P Cr A Ssu",   "P A Crs J Su",   "P A Jr Cs Su",
        "P Cr A J Ssu",   "P Cr J A Ssu",     "P Jr A Cs Su",   "P Jr C A Ssu",   "A Ssu C Prsv Su",
        "S A P Crsv Ssu", "A P Ssrsvu J C Su"}) {
    createListener();
    expectStory(story);
    end();
    if (HasFailure()) return;  // the others differ in the same way
  }
}

CONTRACT_CASE(ListenerTest, FirstActivationTakesOverThePresentStatusOfTheChannel, messages,
              "a channel that was there before the view is taken over") {
  struct Row {
    UCFResult answer;
    std::uint32_t status;
    int shown;
    Lines told;  // when a second join follows
  };
  const Lines kLater = {"status 3 0", "update render 4 2 view"};
  for (const Row& row : {Row{1, 0, 203, {"update render 4 2 view"}}, Row{1, 1, 203, kLater},
                         Row{1, 2, 1, {}}, Row{1, 3, 204, kLater}, Row{0, 2, 203, kLater}}) {
    for (const UCFCtx context : {kEmbedded, kOutside}) {
      SCOPED_TRACE(testing::Message() << row.status << " context " << context);
      host.answerQuery = [&row](tagQuery& query) {
        query.dwChannelStatus = row.status;
        return row.answer;
      };
      createListener(context);
      activate();
      if (view()) {
        EXPECT_EQ(view()->statusViewType(), row.shown);
      }
      EXPECT_EQ(count(host.take(), "update render 4 2 view"),
                row.shown == 1 && context == kEmbedded ? 1 : 0)
          << "told once, when there is a view";
      channelStatus(MM_MEDIA_STREAMING_CHANNEL_STATUS_JOIN_SUCCESS);
      Lines told = row.told;
      if (context == kOutside) {
        std::erase(told, "update render 4 2 view");
      }
      EXPECT_EQ(host.take(), told);
      end();
    }
  }
}

CONTRACT_CASE(ListenerTest, ParameterDataThatFindsThePlayerInactiveAttachesNothing, messages,
              "no render view is attached by an inactive player") {
  createListener();
  host.within = [this](const std::string& line) {
    if (line == "request 0") {  // as a host that answers at once
      mediaInfo(kInfo);
    }
  };
  host.take();
  activate();
  host.within = nullptr;
  EXPECT_THAT(host.take(),
              ElementsAre("query 1 0", "query 0 42", "item 800=0", "request 0", "status 4 0",
                          "request 1", "to 9 1000000002000000050000000a0b0c0d", "query 1 0"));
  happen('C');
  EXPECT_THAT(host.take(), ElementsAre("register 90 3", "status 3 0"));
  object->DestroyActiveUI();
  EXPECT_THAT(host.take(), testing::IsSupersetOf({"status 4 0", "render 128 none"}));
  object->CreateActiveUI(parent.get(), &rect);
  EXPECT_THAT(host.take(), ElementsAre("render 130 view", "item 800=0", "status 3 0", "query 1 0"));
}

CONTRACT_CASE(ListenerTest, ReconnectsFromAJoinedAndFromAFailedChannel, messages,
              "a listener finds its way back after a reconnect") {
  createListener();
  for (const char event : std::string("APCS")) {
    happen(event);
  }
  host.within = [this](const std::string& line) {
    if (line == "request 0") {
      mediaInfo({60000, MM_MEDIASTREAMING_MEDIACONTENT_AUDIO, 1});
    }
  };
  for (const bool failed : {false, true}) {
    if (failed) {
      channelStatus(MM_MEDIA_STREAMING_CHANNEL_STATUS_CREATE_CONFIRM);
      channelStatus(MM_MEDIA_STREAMING_CHANNEL_STATUS_REGISTER_FAILED);
    }
    host.take();
    happen('C');
    // Answered before the channel is pending again: held, and sent with the flush.
    EXPECT_THAT(host.take(), failed ? ElementsAre("request 0", "register 60 1", "status 3 0")
                                    : ElementsAre("request 0", "status 3 0", "register 60 1"));
    happen('S');
  }
  if (view()) {
    EXPECT_EQ(view()->delegate->duration(), 60.0F);
    EXPECT_EQ(view()->statusViewType(), 2) << "sound only now";
  }
}

CONTRACT_CASE(ListenerTest, ActivatedAfterARefusalItStaysDeaf, messages,
              "a refused join stays refused") {
  createListener();
  session(SESSION_MSG_JOIN_FAILED);
  activate();
  const auto expectShown = [](int code, const char* why) {
    if (view()) {
      EXPECT_EQ(view()->statusViewType(), code) << why;
    }
  };
  expectShown(203, "the activation sets the state back");
  host.take();
  for (const char event : std::string("JPCS")) {
    happen(event);
  }
  expectShown(203, "nothing that follows is heard");
  EXPECT_THAT(host.take(), IsEmpty()) << "parameter data is heard, its request held";
  session(SESSION_MSG_LEFT);
  expectShown(9, "the end is");
}

CONTRACT_CASE(ListenerTest, ARecordingIsActivatedAgainWithoutAChannel, messages,
              "a recording is shown again without a channel") {
  host.liveMeeting = false;
  listen();
  object->DestroyActiveUI();
  forget();
  object->CreateActiveUI(parent.get(), &rect);
  EXPECT_THAT(host.take(), ElementsAre("render 130 view", "item 800=0", "status 3 0",
                                       "update render 4 2 view", "query 1 0"));
  if (view()) {
    EXPECT_THAT(view()->takeCalls(), testing::Not(testing::Contains("setNBRMode 1")));
  }
  mediaInfo(kInfo);
  EXPECT_THAT(host.take(), ElementsAre("status 3 0")) << "joined: its registration waits";
  channelStatus(MM_MEDIA_STREAMING_CHANNEL_STATUS_JOIN_SUCCESS);
  EXPECT_THAT(host.take(), IsEmpty()) << "joined already";
}

}  // namespace
}  // namespace contract
