// The bundle's code between a recording host and, if it uses the framework's player view, one that
// plays nothing, on a stepped clock. Everything goes through the host contract.
#pragma once

#include <array>

#include "avcapture/Keys.h"
#include "mmp/ParticipantRecords.h"
#include "mmp/StatusRecords.h"
#include "ucf/IUCFObjectRuntime.h"
#include "ucf/SessionMessages.h"
#include "validator/cases/Case.h"
#include "validator/cases/FrameworkTest.h"
#include "validator/cases/Module.h"
#include "validator/cases/RecordingHost.h"

namespace contract {

// A function by its position in the table of the face at `object`.
template <class Result, class... Arguments>
Result callSlot(void* object, std::size_t slot, Arguments... arguments) {
  using Function = Result (*)(void*, Arguments...);
  return reinterpret_cast<Function>((*static_cast<void***>(object))[slot])(object, arguments...);
}

constexpr UCFCtx kEmbedded = 0;
constexpr UCFCtx kOutside = 1;

// An object, whatever player view it has: looked at through its slots, and the host's.
class ObjectTest : public FrameworkTest {
 protected:
  void SetUp() override {
    const std::string why = Module::loaded().unusable();
    if (!why.empty()) GTEST_SKIP() << why;
  }
  ObjectTest() { host.isView = FakeFramework::mayBeRenderView; }
  ~ObjectTest() override {
    end();
    EXPECT_EQ(host.variantsHeld, 0) << "variants that were not given back";
  }

  void create(UCFCtx context = kEmbedded, const char* file = "talk.mov") {
    host.released = false;
    std::string name = file ? file : "";
    EXPECT_EQ(Module::loaded().createInstance(&host, nullptr, context, file ? name.data() : nullptr,
                                              nullptr, 0, &object),
              UCF_OK);
    need(object != nullptr);
    runtime = face<IUCFObjectRuntime>(UCF_IID_OBJECT_RUNTIME);
    router = face<IUCFMsgRouter>(UCF_IID_OBJECT_MSG_ROUTER);
  }
  void createListener(UCFCtx context = kEmbedded) {
    host.role = UCF_ROLE_ATTENDEE;
    host.runtimeMode = UCF_RUNTIME_MODE_LISTENER;
    create(context);
  }
  void activate() {
    ASSERT_EQ(object->CreateActiveUI(parent.get(), &rect), UCF_OK);
    if (!view()) return;
    // As the framework does while it opens a movie.
    view()->whileOpening = [] { view()->delegate->renderMovie(view()->accepts); };
  }
  void release() {
    if (!object) return;
    std::exchange(object, nullptr)->Release();
    host.released = true;
  }
  // And what the player has put off.
  void end() {
    release();
    host.released = true;  // whoever did it
    advance(1.0);
    EXPECT_THAT(std::exchange(host.afterTheEnd, {}), testing::IsEmpty()) << "nothing follows";
  }
  void createActive() {
    create();
    activate();
  }
  void listen() {
    createListener();
    activate();
  }
  // A source with an open file.
  void open() {
    createActive();
    startSource();
  }
  void openAtTheNextTick() {
    createActive();
    session(SESSION_MSG_JOIN_CONFIRM);
    ticks(4);
  }
  // From creation to a joined channel with an open file.
  void present() {
    open();
    joinChannel();
    forget();
  }
  void startSource() {
    session(SESSION_MSG_JOIN_CONFIRM);
    ticks(5);
  }
  // Forgets what has been recorded so far.
  void forget() {
    host.take();
    takeTraceLines();
    if (view()) {
      view()->takeCalls();
    }
  }

  void session(unsigned long message, void* payload = nullptr) { route(0, message, payload); }
  template <class Record>
  void status(unsigned long message, Record record) {
    record.head = {0, host.sourceID};
    route(2, message, &record);
  }
  void channelStatus(std::uint32_t value) {
    tagMSChannelStatus record{};
    record.dwStatus = value;
    status(MM_MEDIASTREAMING_MSSTATUS_CHANNEL_STATUS, record);
  }
  void joinChannel() {
    channelStatus(MM_MEDIA_STREAMING_CHANNEL_STATUS_CREATE_CONFIRM);
    channelStatus(MM_MEDIA_STREAMING_CHANNEL_STATUS_JOIN_SUCCESS);
  }
  void route(unsigned long type, unsigned long message, void* payload) {
    EXPECT_EQ(
        router->RouteMessage(MODULE_TYPE_MMP, MODULE_TYPE_SVS, type, message, payload, nullptr),
        UCF_OK);
  }
  void mediaInfo(tagStmMediaInfo info) {
    runtime->OnParameterData(0, reinterpret_cast<unsigned char*>(&info), sizeof(info));
  }

  static void ticks(int count) {
    for (int i = 0; i < count; ++i) {
      advance(0.1);
    }
  }
  static Needed<FakeVideoPlayer> view() { return FakeFramework::view.get(); }
  // The one view that the object has put into `place`.
  static platform::View* placedIn(const platform::View& place) {
    need(place.subviews().size() == 1, "one view is put into the parent view");
    return place.subviews()[0].get();
  }

  template <class Face>
  Face* face(UCFInterfaceID id) {
    void* out = nullptr;
    EXPECT_EQ(object->GetUCFInterface(id, &out), UCF_OK);
    need(out != nullptr);
    return static_cast<Face*>(out);
  }

  const Loading loading{Module::loaded()};  // ends behind the object
  RecordingHost host;
  IUCFObjectBase* object = nullptr;
  IUCFObjectRuntime* runtime = nullptr;
  IUCFMsgRouter* router = nullptr;
  std::shared_ptr<platform::View> parent = std::make_shared<platform::View>();
  tagUCFRect rect = {10, 20, 650, 380};
};

// An object whose player view is the one that plays nothing, which is looked at as well. How the
// code comes by its view is its own affair, so an object is shown to find out which one it has.
class ContractTest : public ObjectTest {
 protected:
  void SetUp() override {
    ObjectTest::SetUp();
    if (IsSkipped()) return;
    createActive();
    const bool isSeen = view() != nullptr;
    end();
    forget();
    host.elsewhere.clear();
    FakeFramework::install();
    if (!isSeen)
      GTEST_SKIP() << "needs the player view stand-in: the code does not make its view by "
                      "avcapture::KTVideoPlayer::newInstance";
  }

  static std::shared_ptr<avcapture::AVStreamDataListener> streamListener() {
    need(FakeFramework::session != nullptr, "no capture session was made for the movie");
    const auto listener = FakeFramework::session->params.get(avcapture::kAVStreamListenerKey)
                              .objectAs<avcapture::AVStreamDataListener>();
    need(listener != nullptr, "the capture session has got nobody to bring its stream to");
    return listener;
  }
  // A small picture, as a delivery thread brings it.
  static void frame(std::uint32_t milliseconds,
                    const std::shared_ptr<avcapture::AVStreamDataListener>& to = streamListener()) {
    std::array<std::uint8_t, std::size_t{8} * 2 * 3> pixels{};
    to->newImageArrive(pixels.data(), 8, 2, milliseconds);
  }
  static int shown() { return view()->statusViewType(); }
};

// A fixture whose object is looked into as well, behind what the contract says: its own table goes
// on with the operations of its other faces, the fourth of which is its player's.
template <class Fixture>
class Inside : public Fixture {
 protected:
  void SetUp() override {
    Fixture::SetUp();
    if (!Fixture::IsSkipped() && !Module::loaded().isMovaraInside())
      GTEST_SKIP() << "looks inside movara: the code is built otherwise";
  }

  // As the player's side does.
  std::int32_t notify(unsigned int code, unsigned long argument = 0) {
    return callSlot<std::int32_t>(this->object, 32, code, argument, 0UL);
  }
  void* player() {
    void* out = nullptr;
    notify(12, reinterpret_cast<unsigned long>(&out));
    return out;
  }
};
class InsideTest : public Inside<ContractTest> {};

}  // namespace contract
