// What a presenter's object logs: every text, in its place, with the arguments it names.
#include "platform/Exception.h"
#include "platform/NotificationCenter.h"
#include "validator/cases/TextsFixture.h"

namespace contract {
namespace {

constexpr const char* kRouted = "I CMovaraApp::RouteMessage, type = 2, uMsg = 4, this = 0xAPP ";

class PresenterTexts : public TextsTest {
 protected:
  static void picture(std::uint32_t milliseconds) {
    frame(milliseconds);
    runMainThread();
  }
  static void sound() {
    std::array<std::uint8_t, 8> bytes{};
    avcapture::AudioBufferList list{1, {{2, bytes.size(), bytes.data()}}};
    avcapture::AudioStreamBasicDescription format{44'100.0, 0, 0, 4, 1, 4, 2, 16, 0};
    streamListener()->newAudioFramesArrive(nullptr, &list, 2, &format, 0);
  }
  // Joined, stream running; the first format has been accepted.
  void play() {
    present();
    view()->playing = true;
    picture(0);
  }
  void still(std::uint32_t milliseconds) {
    view()->playing = false;
    view()->position = 1.5F;
    picture(milliseconds);
  }
};

CONTRACT_CASE(PresenterTexts, FromCreationToAJoinedChannel, inside,
              "the log from creation to a joined channel") {
  const Lines kTick = {"I CMovaraApp::RouteMessage, type = 0, uMsg = 0, this = 0xAPP ",
                       "I CMovaraApp::RenderFileName, file = /m/talk.mov, this = 0xAPP ",
                       "I UI already exist"};
  const Lines kActivated = {"I Tell mmp my active status, MM_MEDIASTREAMING_PD_ACTIVE",
                            "I UpdatePlayerStatus, status = 3 to buffer, this = 0xMANAGER "};
  const Lines kOpened =
      joined({{"I tell other participants , current media duration = 90000, mediaContent = 3, this "
               "= 0xAPP ",
               "I Source register info sended, this = 0xMANAGER, sourceID = 42, sessionID = "
               "72623859790382856, duration = 90000, mediaContent = 3 "},
              kActivated});
  expectTexts({
      {"creation",
       [] {},
       [this] { create(); },
       {"I UCFCreateInstance(...)", "I Chanel type is source, just presenter, this = 0xAPP "}},
      {"first activation",
       [this] { create(); },
       [this] { activate(); },
       {"I CMovaraApp::CreateActiveUI, this = 0xAPP ", "I CAVPlayer::CeateUI",
        "I CAVPlayer::CeateUI,m_pVideoPlayer created, m_pVideoPlayer = 0xVIEW",
        "I player type = SOURCE", "I Tell mmp my active status, MM_MEDIASTREAMING_PD_ACTIVE",
        "I UpdatePlayerStatus, status = 3 to buffer, this = 0xMANAGER ",
        "I Active UI, My role now is presenter"}},
      {"opening", [this] { openAtTheNextTick(); }, [] { ticks(1); },
       joined({kTick,
               {"I CAVPlayer::CeateUI",
                "I CAVPlayer::CeateUI,m_pVideoPlayer != NULL, m_pVideoPlayer = 0xVIEW",
                "I after CreateUI", "I after OpemMovieFile", "I before parentViewChanged",
                "I after parentViewChanged"},
               kOpened})},
      {"what the session's probe forbids",
       [this] {
         openAtTheNextTick();
         host.answerQuery = [](tagQuery& query) {
           query.dwResult = 5;
           return UCFResult{1};
         };
       },
       [this] {
         ticks(2);
         host.answerQuery = [](tagQuery&) { return UCF_OK; };
       },
       {"W The session probe does not let the file be opened, answer = 1, dwResult = 5, this = "
        "0xAPP "}},
      {"opening what the view refuses",
       [this] {
         openAtTheNextTick();
         view()->accepts = false;
       },
       [] { ticks(1); },
       joined({kTick,
               {"I CAVPlayer::CeateUI",
                "I CAVPlayer::CeateUI,m_pVideoPlayer != NULL, m_pVideoPlayer = 0xVIEW",
                "I after CreateUI", "W setMovie failed, movie = <AVURLAsset file:///m/talk.mov>",
                "I Source register info into buffer, this = 0xMANAGER, sourceID = 42, sessionID = "
                "72623859790382856, duration = 90, mediaContent = 3 "},
               kActivated})},
      {"the movie is open already",
       [this] {
         openAtTheNextTick();
         view()->whileOpening = [this] {
           object->CreateActiveUI(parent.get(), &rect);
           view()->delegate->renderMovie(true);
         };
         ticks(4);
       },
       [] { ticks(1); },
       joined({kTick,
               {"I CMovaraApp::RenderFileName, it seems failover , movie is opened, dont need open "
                "it again"},
               kOpened})},
      {"channel",
       [this] { open(); },
       [this] {
         for (const std::uint32_t status : {3U, 0U, 2U, 1U}) {
           channelStatus(status);
         }
       },
       {kRouted, "I Curent chanel status is = 3, this = 0xAPP ",
        "I CMovaraApp::handleMediaStreamMessage,SVS_REGISTERCHANNEL_FAILED back, this = 0xAPP ",
        kRouted, "I Curent chanel status is = 0, this = 0xAPP ",
        "I CMovaraApp::handleMediaStreamMessage,MM_MEDIA_STREAMING_CHANNEL_STATUS_CREATE_CONFIRM "
        "back, this = 0xAPP ",
        "I CMovaraApp::handleMediaStreamMessage,MM_MEDIA_STREAMING_CHANNEL_STATUS_CREATE_CONFIRM "
        "back, it is a reconnect action, this = 0xAPP ",
        kRouted, "I Curent chanel status is = 2, this = 0xAPP ",
        "I CMovaraApp::handleMediaStreamMessage,MM_MEDIA_STREAMING_CHANNEL_STATUS_JOIN_SUCCESS "
        "back, this = 0xAPP ",
        "I Send all mmp command + data out, this = 0xMANAGER ", kRouted,
        "I Curent chanel status is = 1, this = 0xAPP "}},
  });
}

CONTRACT_CASE(PresenterTexts, OfTheExportsAndOfIdleControls, inside,
              "the log of the exports, and of controls that change nothing") {
  const Module& module = Module::loaded();
  constexpr const char* kPaused = "W Current movie is in paused, dont need to pause";
  expectTexts({
      {"exports",
       [] {},
       [&] {
         module.initialize();
         module.deleteInstance(nullptr);
         module.cleanup();
       },
       {"I UCFDeleteInstance", "I UCFDeleteInstance"}},
      {"a container without router and runtime",
       [this] { host.hasRouter = host.hasRuntime = false; },
       [this] {
         create();
         host.hasRouter = host.hasRuntime = true;
       },
       {"I UCFCreateInstance(...)",
        "W CMovaraApp::CMovaraApp, get UCF_IID_OBJECT_MSG_ROUTER failed, returned value is NULL",
        "W CMovaraApp::CMovaraApp get UCF_IID_CONTAINER_RUNTIME failed, returned value is NULL"}},
      {"controls",
       [this] { createActive(); },
       [this] {
         const std::shared_ptr<avcapture::AVURLAsset> none;
         callSlot<bool>(player(), 38, &none);
         view()->length = 0;
         callSlot<bool>(player(), 5, 30U);
         view()->length = 90;
         callSlot<bool>(player(), 4);
         callSlot<bool>(player(), 3);
         callSlot<bool>(player(), 2);
         callSlot<bool>(player(), 2);
         callSlot<bool>(player(), 3);
         callSlot<bool>(player(), 3);
       },
       {"I CAVPlayer::CeateUI",
        "I CAVPlayer::CeateUI,m_pVideoPlayer != NULL, m_pVideoPlayer = 0xVIEW", "I after CreateUI",
        "W Movie  is NULL or empty", "W Current movie is invalid, duration is zero",
        "W Current movie is in stoped, dont need to start", kPaused,
        "W Current movie is in playing, dont need to start", kPaused}},
      {"messages that nobody knows",
       [this] { createActive(); },
       [this] { route(2, 77, nullptr); },
       {"I CMovaraApp::RouteMessage, type = 2, uMsg = 77, this = 0xAPP ",
        "W CMovaraApp::handleMediaStreamMessage, unkown message , msg = 77"}},
      {"messages of an agenda document",
       [this] {
         host.ownDocument = false;
         createActive();
       },
       [this] { route(2, 77, nullptr); },
       {"I CMovaraApp::RouteMessage, type = 2, uMsg = 77, this = 0xAPP "}},
  });
}

CONTRACT_CASE(PresenterTexts, OfTheRunningStream, inside, "the log of a running stream") {
  constexpr const char* kFormatSent = "I SetSourceMediaFormat sended, this = 0xMANAGER ";
  constexpr const char* kFormatTold =
      "I tell mmp session the video format, height = 2, width = 8, this = 0xAPP ";
  expectTexts({
      {"format before the channel",
       [this] {
         open();
         view()->playing = true;
       },
       [] { picture(0); },
       {"I Total send 1 video current video is palying",
        "I SetSourceMediaFormat to buffer, this = 0xMANAGER ", kFormatTold}},
      {"first frame and sound",
       [this] {
         present();
         view()->playing = true;
       },
       [] {
         picture(0);
         sound();
         sound();
       },
       {"I Total send 1 video current video is palying", kFormatSent, kFormatTold,
        "W deliverAudioFormatOnMainThreadDirectly when audio format changed.", kFormatSent,
        "I tell mmp session the audio format, chanelNumber = 2, samplePerSec = 44100, nBlockAlign "
        "= 4, nAvgBytesPerSec = 176400, wBitsPerSample = 16, this = 0xAPP "}},
      {"no frame rate",
       [this] { play(); },
       [] {
         view()->frameRate = 0.0;
         picture(40);
       },
       {"W fps = 0, reset myVideoFormat.wFrameRate = 25",
        "W deliverVideoFormatOnMainThread already send out video format"}},
      {"still frame",
       [this] {
         play();
         for (std::uint32_t time = 1; time < 200; ++time) {
           picture(time);
         }
       },
       [this] {
         still(300);
         still(300);
         advance(0.101);
       },
       {"I timestampNow = 1500, mediaData.dwTimestamp = 300",
        "I timestampNow = 1500, mediaData.dwTimestamp = 300",
        "I same data[mediaData.dwTimestamp = 300], ingore this!",
        "I _deliverLatestImage, mediaData.dwTimestamp = 300",
        "I Total send 201 video current video is paused"}},
      {"actions",
       [this] { play(); },
       [] {
         const auto bridge = view()->delegate;
         view()->position = 12.5F;
         bridge->onPlay(nullptr);
         bridge->onSkip(nullptr);
         bridge->volumeChange(nullptr, 7);
         bridge->allow2Play();
       },
       {"I UpdatePlayerStatus, status = 0, sended, this = 0xMANAGER ",
        "I SourceID(42) StopAdvancePage", "I Seek complete current status = 0, this = 0xAPP ",
        "I UpdatePlayerStatus, status = 0, sended, this = 0xMANAGER ",
        "I Volume changed, tell mmp session current volume = 40, this = 0xAPP ",
        "I Query Allow to play, result is[1]!"}},
  });
}

CONTRACT_CASE(PresenterTexts, OfTheSessionAndTheClient, inside,
              "the log of session messages and of what the client reports") {
  constexpr const char* kHol = "HOLStatusNotification";
  const auto post = [](const char* name, const platform::Dictionary* info) {
    platform::NotificationCenter::defaultCenter().post(name, nullptr, info);
  };
  expectTexts({
      {"session",
       [this] { createActive(); },
       [this] {
         std::int32_t limit = SESSION_ERR_MAX_LIMIT;
         session(SESSION_MSG_MAX_ATTENDEE_REACHED);
         session(SESSION_MSG_STOP_FOR_BANDWIDTH);
         route(1, 7, nullptr);
         route(0, 2, nullptr);  // no message 2 is logged on arrival
         host.throwsOnSend = true;
         session(SESSION_MSG_JOIN_FAILED, &limit);
         host.throwsOnSend = false;
         route(2, 4, nullptr);
         session(SESSION_MSG_LEFT);
       },
       {"I CMovaraApp::RouteMessage, type = 0, uMsg = 100, this = 0xAPP ",
        "I Reive max attendee reach request. just stop current media stream!",
        "I CMovaraApp::RouteMessage, type = 0, uMsg = 101, this = 0xAPP ",
        "I svc request stop svs for network bandwidth. just stop current media stream!",
        "I CMovaraApp::RouteMessage, type = 1, uMsg = 7, this = 0xAPP ",
        "I CMovaraApp::RouteMessage, current type is NB, this = 0xAPP ",
        "I CMovaraApp::RouteMessage, type = 0, uMsg = 1, this = 0xAPP ",
        "W CMainWnd::Send(int 3, ...) exceptional", "W reach max limit!",
        "I CMovaraApp::RouteMessage, m_bIgoreAllMessage = TRUE, just ignore all message",
        "I CMovaraApp::RouteMessage, m_bIgoreAllMessage = TRUE, just ignore all message",
        "I CMovaraApp::RouteMessage, type = 0, uMsg = 3, this = 0xAPP ",
        "W Current movie is in paused, dont need to pause"}},
      {"host",
       [this] { createActive(); },
       [this] {
         object->OnKillActive();
         object->OnParentWindowChanged(parent.get());
         runtime->OnUserRoleChanged(2);
         runtime->OnUserRoleChanged(1);
       },
       {"I CMovaraApp::OnKillActive, this = APP",
        "I CMovaraApp::OnParentWindowChanged, this = 0xAPP ", "I My role now is attendee",
        "I My role now is presenter"}},
      {"client",
       [this] { createActive(); },
       [&] {
         const platform::Dictionary status{{"Status", true}};
         const platform::Dictionary other{{"Other", true}};
         post("PDDidChangeSharingViewModeNotification", nullptr);
         post("PDWillChangeFitModeNotification", nullptr);
         post(kHol, nullptr);
         post(kHol, &other);
         post(kHol, &status);
       },
       {"I sharingViewModeDidChange called", "I willChangeFitMode",
        "W Invalid notication, noticiation is null or userinfo is null",
        "W Invalid notication, noticiation is not null but allow is null",
        "I CAVPlayer::setAllowEnterFit,bAllowEnterFit = 0"}},
      {"an exception in the tick",
       [this] { openAtTheNextTick(); },
       [this] {
         host.within = [](const std::string&) { throw platform::Exception("Name", "reason"); };
         ticks(1);
         host.within = nullptr;
       },
       {"W Catch a exception onTimer"}},
      {"commands and parameter data",
       [this] { createActive(); },
       [this] {
         unsigned char question[16] = {16, 0, 0, 0, 2};
         unsigned char news[8] = {8, 0, 0, 0, 3};
         runtime->OnCommandData(question, 16, 0, 0);
         host.role = UCF_ROLE_ATTENDEE;
         runtime->OnCommandData(news, 8, 0, 0);
         host.role = UCF_ROLE_PRESENTER;
         mediaInfo({});
       },
       {"I Receive OnCommandData(SVS_QUERY_JOINSEESION_FAILED_CMD)",
        "I Receive SVS_JOINSESSION_FAILED_CMD cmd",
        "I CMovaraApp::RouteMessage, type = 0, uMsg = 1, this = 0xAPP ",
        "W Listener should not receive this message"}},
      {"end",
       [this] { present(); },
       [this] { release(); },
       {"I CMovaraApp::Release(), this = 0xAPP ", "I CMovaraApp::DestroyActiveUI, this = 0xAPP ",
        "I UpdatePlayerStatus, status = 4, sended, this = 0xMANAGER ",
        "I UnRegisterStreamingVideoSharing, this = 0xMANAGER ",
        "I CMovaraApp are going to die, this = APP"}},
  });
}

}  // namespace
}  // namespace contract
