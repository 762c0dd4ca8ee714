// What an attendee's object logs, and what any object logs on a thread that it is not meant for.
#include <future>

#include "validator/cases/Listener.h"
#include "validator/cases/TextsFixture.h"

namespace contract {
namespace {

constexpr const char* kActive = "I Tell mmp my active status, MM_MEDIASTREAMING_PD_ACTIVE";
constexpr const char* kStatusHeld = "I UpdatePlayerStatus, status = 3 to buffer, this = 0xMANAGER ";
constexpr const char* kActiveAgain =
    "I CMovaraApp::CreateActiveUI active again, tell mmp the render of listener, this = 0xAPP ";

class AttendeeTexts : public TextsTest {
 protected:
  void createJoined() {
    listen();
    channelStatus(MM_MEDIA_STREAMING_CHANNEL_STATUS_JOIN_SUCCESS);
  }
  template <class Record>
  void foreign(unsigned long message, Record record) {
    record.head = {0, RecordingHost::kSourceID + 1};
    route(2, message, &record);
  }
};

CONTRACT_CASE(AttendeeTexts, FromCreationToAJoinedChannel, inside,
              "the log from creation to a joined channel") {
  expectTexts({
      {"creation and activation in the agenda document",
       [this] { host.ownDocument = false; },
       [this] {
         listen();
         host.ownDocument = true;
       },
       {"I UCFCreateInstance(...)",
        "I current doc is agenda doc. regard it as listender in attendee side",
        "I Chanel type is listen, this = 0xAPP ", "I CMovaraApp::CreateActiveUI, this = 0xAPP ",
        "I CAVPlayer::CeateUI",
        "I CAVPlayer::CeateUI,m_pVideoPlayer created, m_pVideoPlayer = 0xVIEW",
        "I player type = LISTENER", kActive, kStatusHeld, "I Active UI, My role now is attendee"}},
      {"media info, then a second activation",
       [this] { listen(); },
       [this] {
         mediaInfo({90000, MM_MEDIASTREAMING_MEDIACONTENT_AUDIO_VIDEO, 3});
         object->CreateActiveUI(parent.get(), &rect);
       },
       {"I listen register info to buffer, this = 0xMANAGER ", kActive, kStatusHeld,
        "I setRender to buffer, this = 0xMANAGER ", kActiveAgain,
        "W Already have send out the render", "I CMovaraApp::CreateActiveUI, this = 0xAPP ",
        kActive, kStatusHeld, "I Active UI, My role now is attendee"}},
      {"media info to a hidden document whose channel is there",
       [this] {
         listen();
         object->DestroyActiveUI();
         channelStatus(MM_MEDIA_STREAMING_CHANNEL_STATUS_CREATE_CONFIRM);
       },
       [this] {
         mediaInfo({90000, MM_MEDIASTREAMING_MEDIACONTENT_AUDIO_VIDEO, 3});
         object->CreateActiveUI(parent.get(), &rect);
       },
       {"I listen register info sended, this = 0xMANAGER ",
        "I Tell mmp my active status, MM_MEDIASTREAMING_PD_INACTIVE",
        "I UpdatePlayerStatus, status = 4, sended, this = 0xMANAGER ", kActiveAgain,
        "I setRender sended, this = 0xMANAGER ", "I CMovaraApp::CreateActiveUI, this = 0xAPP ",
        kActive, "I UpdatePlayerStatus, status = 3, sended, this = 0xMANAGER ",
        "I Active UI, My role now is attendee"}},
      {"channel",
       [this] { listen(); },
       [this] { joinChannel(); },
       {"I CMovaraApp::RouteMessage, type = 2, uMsg = 4, this = 0xAPP ",
        "I Curent chanel status is = 0, this = 0xAPP ",
        "I CMovaraApp::handleMediaStreamMessage,MM_MEDIA_STREAMING_CHANNEL_STATUS_CREATE_CONFIRM "
        "back, this = 0xAPP ",
        "I Current status is SVS_REGISTERCHANNEL_PENDING, Lintener send reginster, status, render "
        "out, this = 0xMANAGER ",
        "I CMovaraApp::RouteMessage, type = 2, uMsg = 4, this = 0xAPP ",
        "I Curent chanel status is = 2, this = 0xAPP ",
        "I CMovaraApp::handleMediaStreamMessage,MM_MEDIA_STREAMING_CHANNEL_STATUS_JOIN_SUCCESS "
        "back, this = 0xAPP ",
        "I Send all mmp command + data out, this = 0xMANAGER ",
        "I UpdateRenderMsg sended, this = 0xMANAGER "}},
  });
}

CONTRACT_CASE(AttendeeTexts, OfThePresentersPlayer, inside,
              "the log of an attendee about the presenter's player") {
  const auto play = [this](std::uint32_t value) {
    tagMSPlayStatus record{};
    record.dwPlayStatus = value;
    status(3, record);
  };
  constexpr const char* kRouted3 = "I CMovaraApp::RouteMessage, type = 2, uMsg = 3, this = 0xAPP ";
  constexpr const char* kRouted0 = "I CMovaraApp::RouteMessage, type = 2, uMsg = 0, this = 0xAPP ";
  constexpr const char* kRouted5 = "I CMovaraApp::RouteMessage, type = 2, uMsg = 5, this = 0xAPP ";
  expectTexts({
      {"play status",
       [this] { listen(); },
       [&] {
         for (std::uint32_t value = 0; value <= 6; ++value) {
           play(value);
         }
         foreign(3, tagMSPlayStatus{});
         route(2, 3, nullptr);
       },
       {kRouted3, "I Receive MM_MEDIA_STREAMING_PLYASTATUS_PLAYING, docid = 42, this = 0xAPP ",
        kRouted3, "I Receive MM_MEDIA_STREAMING_PLYASTATUS_PAUSE, docid = 42, this = 0xAPP ",
        kRouted3, "I Receive MM_MEDIA_STREAMING_PLYASTATUS_REBUFFER, docid = 42, this = 0xAPP ",
        kRouted3, "I Receive MM_MEDIA_STREAMING_PLYASTATUS_STOP, docid = 42, this = 0xAPP ",
        kRouted3,
        "I Receive MM_MEDIA_STREAMING_PLYASTATUS_PROVIDER_CRASH, docid = 42, this = 0xAPP ",
        kRouted3, "I Receive SVS_REST_MOVIE_INVALID, docid = 42, this = 0xAPP ", kRouted3, kRouted3,
        "I CMovaraApp::handleMediaStreamMessage, msg = "
        "MM_MEDIASTREAMING_MSSTATUS_CURRENT_PLAY_STATUS, not my message, this = 0xAPP ",
        kRouted3,
        "W CMovaraApp::handleMediaStreamMessage, msg = "
        "MM_MEDIASTREAMING_MSSTATUS_CURRENT_PLAY_STATUS, current playStatus = NULL, this = "
        "0xAPP "}},
      {"quality, position and size",
       [this] { listen(); },
       [&] {
         tagMSVideoQuality quality{};
         quality.nQuality = -3;
         quality.fFps = 12.5F;
         status(0, quality);
         foreign(0, quality);
         route(2, 0, nullptr);
         status(2, tagMSPlayPosition{});
         route(2, 2, nullptr);
         tagMSVideoInfo size{};
         size.wWidth = 40000;
         size.wHeight = 360;
         status(5, size);
         foreign(5, size);
         route(2, 5, nullptr);
         route(2, 1, nullptr);
         route(2, 4, nullptr);
         route(2, 6, nullptr);
       },
       {kRouted0,
        "I CMovaraApp::handleMediaStreamMessage current video quality = -3, fps = 12.500000, this "
        "= 0xAPP ",
        kRouted0,
        "I CMovaraApp::handleMediaStreamMessage, msg = "
        "MM_MEDIASTREAMING_MSSTATUS_VIDEOQUALITY_INDICATE, not my message, this = 0xAPP ",
        kRouted0,
        "W CMovaraApp::handleMediaStreamMessage, msg = "
        "MM_MEDIASTREAMING_MSSTATUS_VIDEOQUALITY_INDICATE, current vdQuality = NULL",
        kRouted5,
        "I docid = 42 Attendee receive vide info Width(40000), Height(360), this = 0xAPP ",
        kRouted5, kRouted5,
        "W MM_MEDIASTREAMING_MSSTATUS_VIDEO_INFORMATION, info = NULL, this = 0xAPP ",
        "I CMovaraApp::RouteMessage, type = 2, uMsg = 1, this = 0xAPP ",
        "I CMovaraApp::RouteMessage, type = 2, uMsg = 4, this = 0xAPP ",
        "W pChannelStatus is NULL, this = 0xAPP ",
        "I CMovaraApp::RouteMessage, type = 2, uMsg = 6, this = 0xAPP ",
        "W CMovaraApp::handleMediaStreamMessage, unkown message , msg = 6"}},
      {"volume and the client's size",
       [this] { createJoined(); },
       [&] {
         view()->delegate->volumeChange(nullptr, 200);
         const platform::Dictionary size{{"MSVideoRenderSourceID", 41}};
         postNotification("MSVideoRenderSizeChanged", size);
         const platform::Dictionary whole{{"MSVideoRenderSourceID", 42},
                                          {"MSVideoRenderWidth", 640},
                                          {"MSVideoRenderHeight", 360}};
         postNotification("MSVideoRenderSizeChanged", whole);
       },
       {"I Volume changed, tell mmp session current volume = 200, this = 0xAPP ",
        "I Update volume, current volumeLevel = 200",
        "I video size info = {MSVideoRenderSourceID = 41;}",
        "I docid , or width, or height invalid, this = 0xAPP ",
        "I video size info = {MSVideoRenderHeight = 360; MSVideoRenderSourceID = 42; "
        "MSVideoRenderWidth = 640;}"}},
  });
}

CONTRACT_CASE(AttendeeTexts, OnAThreadThatAnObjectIsNotMeantFor, inside,
              "a call on a wrong thread is logged as one") {
  const auto elsewhere = [](std::function<void()> work) {
    return [work = std::move(work)] { std::async(std::launch::async, work).get(); };
  };
  const auto warning = [](const std::string& operation) {
    return "W SVSMgr::" + operation + ", should in mainThread";
  };
  tagMSVIDEOFORMATEX format{};
  const std::vector<Story> stories = {
      {"creation",
       [] {},
       elsewhere([this] { createListener(); }),
       {warning("SetMsgRouter"), warning("SetSVSState")}},
      {"session",
       [this] { listen(); },
       elsewhere([this] { session(SESSION_MSG_JOIN_CONFIRM); }),
       {warning("SetSVSState"), warning("ExecuteMSCommand")}},
      {"media info",
       [this] { listen(); },
       elsewhere([this] { mediaInfo({}); }),
       {warning("RegisterStreamingVideoSharing"), warning("UpdatePlayerStatus"),
        warning("SetRender")}},
      {"channel",
       [this] { listen(); },
       elsewhere([this] { channelStatus(MM_MEDIA_STREAMING_CHANNEL_STATUS_JOIN_SUCCESS); }),
       {warning("SetSVSState"), warning("ExecuteAllMsCommand"),
        warning("UpdateRenderMsg") + ",, this = 0xMANAGER "}},
      {"user",
       [this] { createJoined(); },
       elsewhere([] {
         view()->delegate->volumeChange(nullptr, 200);
         view()->delegate->allow2Play();
       }),
       {warning("UpdateVolume(unsigned short volumeLevel)"), warning("QueryState")}},
      {"end",
       [this] { createListener(); },
       elsewhere([this] { release(); }),
       {warning("UpdatePlayerStatus"), warning("SetRender"),
        warning("UnRegisterStreamingVideoSharing")}},
      {"a source's format",
       [this] {
         host.runtimeMode = 0;
         createActive();
       },
       elsewhere([&] { notify(6, reinterpret_cast<unsigned long>(&format)); }),
       {warning("SetSourceMediaFormat")}},
  };
  expectTexts(stories, "should in mainThread");
}

}  // namespace
}  // namespace contract
