#include "tests/faults/Scene.h"

#include <dlfcn.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <iterator>
#include <memory>
#include <optional>
#include <thread>

#include "avcapture/KTVideoPlayer.h"
#include "mmp/ParticipantRecords.h"
#include "mmp/StatusRecords.h"
#include "platform/RunLoop.h"
#include "tests/faults/FaultyHost.h"
#include "ucf/Exports.h"
#include "ucf/IUCFObjectRuntime.h"
#include "ucf/SessionMessages.h"

namespace faults {

namespace {

using std::chrono_literals::operator""s;
using std::chrono_literals::operator""ms;
using std::chrono_literals::operator""us;

// Far more than anything here takes: what has not happened by then never will.
constexpr auto kHangLimit = 10s;

// One object of the plug-in in a host, on a stepped clock. Keeps the first thing that is wrong.
class Stage {
 public:
  explicit Stage(std::uint32_t mode) {
    host_.runtimeMode = mode;
    host_.role = mode == UCF_RUNTIME_MODE_LISTENER ? UCF_ROLE_ATTENDEE : UCF_ROLE_PRESENTER;
    host_.ownDocument = true;
    host_.properties[UCF_PROPERTY_FILE_PATH] = FAULTS_CLIP;
    parent_ = std::make_shared<platform::View>();
    clock_ = std::make_shared<platform::ManualClock>();
    platform::RunLoop::main().setClock(clock_);
  }
  ~Stage() {
    platform::RunLoop::main().setClock(nullptr);
    parent_.reset();
  }
  Stage(const Stage&) = delete;
  Stage& operator=(const Stage&) = delete;

  // Makes a call from the host, out of which nothing may be thrown.
  template <class Call>
  void call(const char* name, const Call& what) {
    try {
      what();
    } catch (const std::exception& thrown) {
      const Exempt ours;
      complain((std::string(name) + " throws " + thrown.what()).c_str());
    }
  }
  void complain(const char* what) {
    const Exempt ours;
    if (wrong_.empty()) wrong_ = what;
  }
  const std::string& wrong() const { return wrong_; }

  // False when the plug-in can't be had; the loader's or its own answer is the reason.
  bool load() {
    void* code = nullptr;
    call("loading", [&] { code = dlopen(FAULTS_BUNDLE, RTLD_NOW | RTLD_LOCAL); });
    if (code == nullptr) return false;
    create_ = reinterpret_cast<UCFCreateInstanceFn>(dlsym(code, "UCFCreateInstance"));
    cleanup_ = reinterpret_cast<UCFCleanupFn>(dlsym(code, "UCFCleanup"));
    const auto initialize = reinterpret_cast<UCFInitializeFn>(dlsym(code, "UCFInitialize"));
    if (create_ == nullptr || cleanup_ == nullptr || initialize == nullptr) return false;
    call("UCFInitialize", [&] { initialize(); });
    code_ = code;
    return true;
  }
  bool create() {
    char name[] = "clip";
    UCFResult result = UCF_OK;
    call("UCFCreateInstance",
         [&] { result = create_(&host_, nullptr, 0, name, nullptr, 0, &object_); });
    if (result != UCF_OK) return false;
    void* out = nullptr;
    object_->GetUCFInterface(UCF_IID_OBJECT_MSG_ROUTER, &out);
    router_ = static_cast<IUCFMsgRouter*>(out);
    object_->GetUCFInterface(UCF_IID_OBJECT_RUNTIME, &out);
    runtime_ = static_cast<IUCFObjectRuntime*>(out);
    return true;
  }
  bool activate() {
    tagUCFRect rect{0, 0, 320, 240};
    UCFResult result = UCF_OK;
    call("CreateActiveUI", [&] { result = object_->CreateActiveUI(parent_.get(), &rect); });
    return result == UCF_OK;
  }
  void session(unsigned long message) {
    call("RouteMessage", [&] {
      router_->RouteMessage(MODULE_TYPE_CONF, MODULE_TYPE_SVS, ROUTE_TYPE_SESSION, message, nullptr,
                            nullptr);
    });
  }
  template <class Record>
  void status(unsigned long message, Record record) {
    record.head = {0, contract::RecordingHost::kSourceID};
    call("RouteMessage", [&] {
      router_->RouteMessage(MODULE_TYPE_MMP, MODULE_TYPE_SVS, ROUTE_TYPE_MEDIASTREAMING, message,
                            &record, nullptr);
    });
  }
  void channel(std::uint32_t value) {
    tagMSChannelStatus record{};
    record.dwStatus = value;
    status(MM_MEDIASTREAMING_MSSTATUS_CHANNEL_STATUS, record);
  }
  void joinChannel() {
    channel(MM_MEDIA_STREAMING_CHANNEL_STATUS_CREATE_CONFIRM);
    channel(MM_MEDIA_STREAMING_CHANNEL_STATUS_JOIN_SUCCESS);
  }
  void playStatus(std::uint32_t value) {
    tagMSPlayStatus record{};
    record.dwPlayStatus = value;
    status(MM_MEDIASTREAMING_MSSTATUS_CURRENT_PLAY_STATUS, record);
  }
  void mediaInfo() {
    tagStmMediaInfo info{4000, MM_MEDIASTREAMING_MEDIACONTENT_AUDIO_VIDEO,
                         MM_MEDIASTREAMING_MEDIACONTENT_AUDIO_VIDEO};
    call("OnParameterData", [&] {
      runtime_->OnParameterData(STM_PARAMETER_MEDIA_INFO, reinterpret_cast<unsigned char*>(&info),
                                sizeof(info));
    });
  }

  // The run loop's turns, `seconds` of its time all together.
  void turn(double seconds) {
    for (double passed = 0; passed < seconds; passed += 0.1) {
      clock_->advance(100ms);
      call("the run loop", [] { platform::RunLoop::main().runReady(); });
    }
  }
  // Serves the run loop until `done`; false when that never comes.
  template <class Condition>
  bool until(const Condition& done) {
    const auto limit = std::chrono::steady_clock::now() + kHangLimit;
    while (!done()) {
      if (std::chrono::steady_clock::now() > limit) return false;
      turn(0.1);
      std::this_thread::sleep_for(500us);
    }
    return true;
  }
  bool heard(const char* line) {
    const Exempt ours;
    const auto lines = host_.take();
    heard_.insert(heard_.end(), lines.begin(), lines.end());
    return std::any_of(heard_.begin(), heard_.end(),
                       [&](const std::string& l) { return l.starts_with(line); });
  }
  void forget() {
    const Exempt ours;
    host_.take();
    heard_.clear();
  }
  std::shared_ptr<avcapture::KTVideoPlayer> view() {
    return avcapture::KTVideoPlayer::inView(*parent_);
  }
  int shown() {
    const auto player = view();
    return player ? player->statusViewType() : 0;
  }
  int samples() const { return host_.samples; }

  // Ends what there is; afterwards nothing may be left of it.
  void end() {
    if (object_ != nullptr) call("Release", [&] { std::exchange(object_, nullptr)->Release(); });
    turn(1);
    if (cleanup_ != nullptr) call("UCFCleanup", [&] { cleanup_(); });
    if (code_ != nullptr) dlclose(code_);
  }

 private:
  FaultyHost host_;
  std::shared_ptr<platform::View> parent_;
  std::shared_ptr<platform::ManualClock> clock_;
  std::string wrong_;
  contract::Lines heard_;
  void* code_ = nullptr;
  UCFCreateInstanceFn create_ = nullptr;
  UCFCleanupFn cleanup_ = nullptr;
  IUCFObjectBase* object_ = nullptr;
  IUCFMsgRouter* router_ = nullptr;
  IUCFObjectRuntime* runtime_ = nullptr;
};

// A clip is opened, played, sought in, paused and played on to its end. What runs out on the way
// may end any of it, but then somebody has been told.
void present(Stage& stage, bool whole) {
  const auto must = [&](bool condition, const char* what) {
    if (!condition && whole) stage.complain(what);
    return condition;
  };
  if (!must(stage.load(), "not loaded") || !must(stage.create(), "not created") ||
      !must(stage.activate(), "not activated"))
    return;
  stage.session(SESSION_MSG_JOIN_CONFIRM);
  stage.turn(1);
  const bool registered = stage.heard("register");
  if (!must(registered, "not registered")) {
    // 101: the file can't be opened. Or the host is asked for nothing more, and shows the waiting.
    if (stage.shown() == 0) stage.complain("neither registered nor shown why");
    return;
  }
  stage.joinChannel();
  const auto view = stage.view();
  if (!must(view != nullptr, "has no view")) return;
  // The host is told of it by a record, where there is memory for one.
  const auto over = [&] { return stage.heard("status 1") || !view->isPlaying(); };
  // Who presses play and sees nothing happen does it again.
  const auto play = [&] {
    for (int i = 0; i < 2 && !view->isPlaying(); ++i)
      stage.call("play", [&] { view->onStart(nullptr); });
    return must(view->isPlaying(), "does not play");
  };
  if (!play()) return;
  if (!stage.until([&] { return stage.samples() > 2 || over(); }))
    return stage.complain("plays nothing, and nobody is told");
  stage.call("pause", [&] {
    if (view->isPlaying()) view->onStart(nullptr);
  });
  stage.call("seek", [&] { view->seek(0.2F); });
  stage.turn(1);
  stage.forget();
  if (play() && !stage.until(over)) stage.complain("plays on for ever");
}

// On a stage of its own, whose building and taking down are not what is tested.
template <class Play>
std::string onStage(std::uint32_t mode, const Play& play) {
  std::optional<const Exempt> ours(std::in_place);
  Stage stage(mode);
  ours.reset();
  play(stage);
  stage.end();
  ours.emplace();
  return stage.wrong();
}

std::string presenter(avcapture::PlaybackOptions options, bool whole) {
  avcapture::setPlaybackOptions(options);
  return onStage(0, [&](Stage& stage) { present(stage, whole); });
}

std::string presenterUnpaced(bool whole) {
  return presenter({.paced = false, .decoderThreads = 2, .localSound = false}, whole);
}

std::string presenterWithSound(bool whole) {
  return presenter({.paced = true, .decoderThreads = 1, .localSound = true}, whole);
}

void attend(Stage& stage, bool whole) {
  if (!stage.load() || !stage.create() || !stage.activate()) {
    if (whole) stage.complain("not there");
    return;
  }
  stage.mediaInfo();
  stage.joinChannel();
  for (const std::uint32_t status :
       {MM_MEDIA_STREAMING_PLYASTATUS_PLAYING, MM_MEDIA_STREAMING_PLYASTATUS_REBUFFER,
        MM_MEDIA_STREAMING_PLYASTATUS_PAUSE, MM_MEDIA_STREAMING_PLYASTATUS_STOP}) {
    stage.playStatus(status);
    stage.turn(0.5);
  }
  stage.session(SESSION_MSG_MAX_ATTENDEE_REACHED);
  stage.turn(0.5);
  if (whole && stage.shown() != 7) stage.complain("does not show that there are too many");
}

std::string attendee(bool whole) {
  return onStage(UCF_RUNTIME_MODE_LISTENER, [&](Stage& stage) { attend(stage, whole); });
}

// The file is given to a player view alone: when that does not take it, it says why.
std::string view(bool whole) {
  std::optional<const Exempt> ours(std::in_place);
  avcapture::setPlaybackOptions({.paced = false, .decoderThreads = 1, .localSound = false});
  const auto asset = avcapture::AVURLAsset::assetWithFilePath(FAULTS_CLIP);
  const auto player = avcapture::KTVideoPlayer::newInstance();
  ours.reset();
  bool accepted = false;
  try {
    accepted = player->setMovie(asset);
  } catch (const std::exception&) {
  }
  ours.emplace();
  if (!accepted && (whole || player->failure().empty())) return "not opened, and does not say why";
  return {};
}

constexpr Scene kScenes[] = {
    {"view", view},
    {"presenter", presenterUnpaced},
    {"sound", presenterWithSound},
    {"attendee", attendee},
    {"self", self},
    {"stranger", stranger},
};

}  // namespace

const Scene* findScene(const std::string& name) {
  for (const Scene& scene : kScenes)
    if (name == scene.name) return &scene;
  return nullptr;
}

}  // namespace faults
