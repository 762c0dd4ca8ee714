// Routed messages: what the session and the platform report, on both sides.
#include "validator/cases/ContractFixture.h"

namespace contract {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::int32_t kOtherCode = 0xFE01;
constexpr std::int32_t kLimitCode = 0xFE02;

// What a state shows on either side, and what else tells it from the others.
struct StateRow {
  int state;
  int source;  // status view code; 0: not entered on this side
  int listener;
};
constexpr StateRow kStates[] = {{0, 103, 203}, {1, 103, 203}, {2, 4, 204},   {3, 103, 0},
                                {4, 101, 0},   {5, 102, 0},   {6, 103, 203}, {7, 5, 1},
                                {8, 4, 204},   {10, 7, 7},    {11, 8, 8},    {12, 9, 9}};

constexpr int kOpeningFailed2012 = 5;

constexpr int kStays = -1;
enum Family { kSession, kChannel };
struct TriggerRow {
  Family family;
  std::uint32_t message;  // session message, or channel status
  const std::int32_t* code;
  int to;
  bool ends;  // a source tells everybody, and the object hears nothing from then on
};
constexpr TriggerRow kTriggers[] = {
    {kSession, SESSION_MSG_JOIN_CONFIRM, nullptr, kStays, false},  // but see nextState
    {kSession, SESSION_MSG_JOIN_FAILED, nullptr, 2, true},
    {kSession, SESSION_MSG_JOIN_FAILED, &kOtherCode, 2, true},
    {kSession, SESSION_MSG_JOIN_FAILED, &kLimitCode, 10, true},
    {kSession, 2, nullptr, kStays, false},
    {kSession, SESSION_MSG_LEFT, &kLimitCode, 12, true},
    {kSession, SESSION_MSG_MAX_ATTENDEE_REACHED, nullptr, 10, false},
    {kSession, SESSION_MSG_STOP_FOR_BANDWIDTH, nullptr, 11, false},
    {kSession, 103, nullptr, kStays, false},
    {kChannel, MM_MEDIA_STREAMING_CHANNEL_STATUS_CREATE_CONFIRM, nullptr, 6, false},
    {kChannel, 1, nullptr, kStays, false},
    {kChannel, MM_MEDIA_STREAMING_CHANNEL_STATUS_JOIN_SUCCESS, nullptr, 7, false},
    {kChannel, MM_MEDIA_STREAMING_CHANNEL_STATUS_REGISTER_FAILED, nullptr, 8, false},
    {kChannel, 4, nullptr, kStays, false},
};

class ChannelStates : public ContractTest {
 protected:
  void make(bool source) {
    host.runtimeMode = source ? 0 : UCF_RUNTIME_MODE_LISTENER;
    createActive();
  }
  virtual void enter(int state) {
    switch (state) {
      case 1:  // a source's first confirmation only arms its countdown
        session(SESSION_MSG_JOIN_CONFIRM);
        session(SESSION_MSG_JOIN_CONFIRM);
        break;
      case 3:
      case 4:
        view()->accepts = state == 3;
        startSource();
        break;
      case 6:
      case 7:
      case 8:
        channelStatus(state == 6 ? 0 : static_cast<std::uint32_t>(state) - 5);
        break;
      case 10:
      case 11:
        session(static_cast<unsigned long>(state) + 90);
        break;
      default:
        break;
    }
  }
  void pull(const TriggerRow& trigger) {
    std::int32_t code = trigger.code ? *trigger.code : 0;
    trigger.family == kChannel ? channelStatus(trigger.message)
                               : session(trigger.message, trigger.code ? &code : nullptr);
  }
  static int nextState(const TriggerRow& trigger, int from, bool source) {
    if (trigger.family == kSession && trigger.message == SESSION_MSG_JOIN_CONFIRM) {
      return from == 0 && !source ? 1 : from;  // a source's countdown goes back to 0
    }
    return trigger.to == kStays || (trigger.to == 8 && from == 7) ? from : trigger.to;
  }
  // Leaves the object in some other state.
  void expectState(int state, bool source, bool deaf) {
    const auto* const row = std::ranges::find(kStates, state, &StateRow::state);
    EXPECT_EQ(shown(), source ? row->source : row->listener);
    forget();
    view()->delegate->onPause(nullptr);
    EXPECT_EQ(count(host.take(), "status "), state == 6 || state == 7 ? 1 : 0) << "sent at once";
    session(SESSION_MSG_JOIN_CONFIRM);
    EXPECT_EQ(view()->takeCalls().empty(), state != 0 || deaf) << "acts on a confirmed join";
  }
  void follow(const StateRow& from, bool source) {
    if ((source ? from.source : from.listener) == 0) return;
    for (const TriggerRow& trigger : kTriggers) {
      SCOPED_TRACE(testing::Message()
                   << "state " << from.state << " family " << trigger.family << " message "
                   << trigger.message << " code " << (trigger.code ? *trigger.code : 0)
                   << " source " << source);
      make(source);
      enter(from.state);
      forget();
      pull(trigger);
      const Lines lines = host.take();
      EXPECT_EQ(count(lines, "to all 0800000003000000"), source && trigger.ends ? 1 : 0);
      const bool reconnect = trigger.family == kChannel && trigger.message == 0 &&
                             (from.state == 7 || from.state == 8);
      EXPECT_EQ(count(lines, "request 0"), reconnect && !source ? 1 : 0);
      expectState(nextState(trigger, from.state, source), source, trigger.ends);
      end();
    }
  }
};

CONTRACT_CASE(ChannelStates, FollowTheTable, messages,
              "every message leads from every state to the documented one") {
  for (const StateRow& from : kStates) {
    if (from.state == 2 || from.state == 12 || from.state == kOpeningFailed2012)
      continue;  // two are deaf
    for (const bool source : {true, false}) follow(from, source);
  }
}

// Only a player can tell its object so.
class InsideStates : public Inside<ChannelStates> {
 protected:
  void enter(int /*state*/) override {
    ChannelStates::enter(1);
    EXPECT_EQ(notify(1, static_cast<unsigned long>(-2012L)), -2012);
  }
};

CONTRACT_CASE(InsideStates, FollowTheTable, inside,
              "every message leads from a failure of the player's own to the documented state") {
  follow(*std::ranges::find(kStates, kOpeningFailed2012, &StateRow::state), true);
}

CONTRACT_CASE(ChannelStates, ARecordingHasNoLimitOfAttendees, messages,
              "a recording is not refused for its number of attendees") {
  host.liveMeeting = false;
  make(false);
  forget();
  pull(kTriggers[3]);
  EXPECT_THAT(view()->takeCalls(), ElementsAre("setStatusViewType 1")) << "failed, nothing more";
}

CONTRACT_CASE(ContractTest, StartPlayIsPassedOnToAPlayerThatWasRefused, messages,
              "a player that was refused starts when it is told to") {
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

CONTRACT_CASE(ObjectTest, AnAgendaDocumentDropsMessages, messages,
              "an agenda document takes part in nothing") {
  host.ownDocument = false;
  createActive();
  mediaInfo({90000, MM_MEDIASTREAMING_MEDIACONTENT_AUDIO_VIDEO, 3});
  forget();
  session(SESSION_MSG_MAX_ATTENDEE_REACHED);
  route(2, 77, nullptr);
  joinChannel();
  session(SESSION_MSG_JOIN_FAILED);
  EXPECT_THAT(host.take(), IsEmpty());
  if (view()) {
    EXPECT_THAT(view()->takeCalls(), IsEmpty());
  }
}

CONTRACT_CASE(ContractTest, StatusMessagesAboutThePresenterReachAListenersPlayer, messages,
              "quality, position, play state and size reach the player") {
  listen();
  mediaInfo({90000, MM_MEDIASTREAMING_MEDIACONTENT_AUDIO_VIDEO, 3});
  forget();
  const auto answers = view()->delegate;

  tagMSVideoQuality quality{};
  quality.nQuality = -3;
  quality.fFps = 12.5F;
  status(MM_MEDIASTREAMING_MSSTATUS_VIDEOQUALITY_INDICATE, quality);
  EXPECT_EQ(answers->fps(), 12.5F);

  const std::pair<std::uint64_t, float> positions[] = {
      {12345, 12.345F}, {0, 0.0F}, {90000, 90.0F}, {90001, 90.0F}, {~std::uint64_t{0}, 90.0F}};
  for (const auto& [milliseconds, seconds] : positions) {
    tagMSPlayPosition position{};
    position.dwPosition = milliseconds;
    status(MM_MEDIASTREAMING_MSSTATUS_CURRENT_PLAY_POSITION, position);
    EXPECT_EQ(answers->currentTime(), seconds);
  }

  // View code after 0.2 seconds.
  const std::pair<std::uint32_t, int> states[] = {{0, 1},   {1, 201}, {2, 202}, {3, 1},
                                                  {4, 205}, {5, 206}, {6, 206}};
  for (const auto& [value, code] : states) {
    tagMSPlayStatus play{};
    play.dwPlayStatus = value;
    status(MM_MEDIASTREAMING_MSSTATUS_CURRENT_PLAY_STATUS, play);
    advance(0.2);
    EXPECT_EQ(shown(), code) << value;
  }

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
}

CONTRACT_CASE(ObjectTest, StatusMessagesAboutAnotherStreamAreNotActedOn, messages,
              "messages about other streams change nothing") {
  listen();
  mediaInfo({90000, MM_MEDIASTREAMING_MEDIACONTENT_AUDIO_VIDEO, 3});
  forget();
  struct {
    tagMSHead head;
    std::uint32_t words[4];
  } record = {{RecordingHost::kSessionID, RecordingHost::kSourceID + 1}, {0, 0x00010001, 2, 0}};
  for (const unsigned long message : {0UL, 2UL, 3UL, 4UL, 5UL}) {
    route(2, message, &record);
  }
  advance(0.2);
  EXPECT_THAT(host.take(), IsEmpty());
  if (view()) {
    EXPECT_THAT(view()->takeCalls(), IsEmpty());
  }
}

CONTRACT_CASE(ObjectTest, EveryMessageMayComeWithoutAPayload, messages,
              "a message without its record does no harm") {
  for (const bool source : {true, false}) {
    host.runtimeMode = source ? 0 : UCF_RUNTIME_MODE_LISTENER;
    for (const bool active : {true, false}) {
      create();
      if (active) {
        activate();
      }
      forget();
      for (const unsigned long type : {2UL, 1UL, 3UL, 100UL}) {
        for (unsigned long message = 0; message <= 300; ++message) {
          route(type, message, nullptr);
        }
      }
      EXPECT_THAT(host.take(), IsEmpty());
      end();
    }
  }
}

}  // namespace
}  // namespace contract
