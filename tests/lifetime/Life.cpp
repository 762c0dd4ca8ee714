#include "tests/lifetime/Life.h"

#include <algorithm>
#include <thread>
#include <utility>

#include "mmp/ParticipantRecords.h"
#include "mmp/StatusRecords.h"
#include "platform/RunLoop.h"
#include "ucf/SessionMessages.h"

const char* contract::pluginCode() { return MOVARA_BUNDLE_CODE; }

namespace lifetime {

namespace {

using std::chrono::steady_clock;
using std::chrono_literals::operator""s;
using std::chrono_literals::operator""us;

constexpr auto kTurnTakes = 200us;
constexpr auto kHangs = 30s;
// Of each step: how many more it waits for is a matter of the machine.
constexpr int kTurnsThatCount = 3;

std::shared_ptr<platform::ManualClock> loopClock() {
  static const auto clock = [] {
    auto manual = std::make_shared<platform::ManualClock>();
    platform::RunLoop::main().setClock(manual);
    return manual;
  }();
  return clock;
}

}  // namespace

UCFResult Host::RouteMessage(enumMODULE_TYPE from, enumMODULE_TYPE to, unsigned long type,
                             unsigned long uMsg, void* wParam, void* lParam) {
  const bool sample = to == MODULE_TYPE_MMP && type == SVS_MSG_MS_COMMAND &&
                      uMsg == MM_MEDIASTREAMING_CMD_MEDIA_DATA;
  if (sample) onSample(*static_cast<const tagMSDataStructure*>(wParam));
  return RecordingHost::RouteMessage(from, to, type, uMsg, wParam, lParam);
}

// Hears what the client hears, before the object does where the client itself has posted it.
class Life::Ear : public platform::Object {
 public:
  explicit Ear(Life& life) : life_(life) {}
  void hear() { life_.at(true); }

 private:
  Life& life_;
};

Life::Life(const contract::Module& module, const Kind& kind, std::string file, int point)
    : module_(module), kind_(kind), file_(std::move(file)), point_(point) {
  loopClock();
  lives.insert(this);
  host.properties = {{UCF_PROPERTY_FILE_PATH, file_}};
  host.role = kind.source ? UCF_ROLE_PRESENTER : UCF_ROLE_ATTENDEE;
  host.runtimeMode = kind.source ? 0 : UCF_RUNTIME_MODE_LISTENER;
  host.liveMeeting = !kind.recording;
  host.within = [this](const std::string& line) {
    EXPECT_FALSE(ended_) << "the host was called after the end: " << line;
    at(true);
  };
  host.onSample = [this](const tagMSDataStructure& sample) {
    EXPECT_FALSE(ended_) << "a sample after the end";
    if (onSample) onSample(sample);
    at(platform::isMainThread());
  };
  ear_ = std::make_shared<Ear>(*this);
  for (const char* const name :
       {"PDSyncSharingViewModeNotification", "PDQueryHOLStatusNotification", "MSPauseEmbedPlayer",
        "MSHideOtherEmbedCtrlbar", "PDDidChangeSharingViewModeNotification",
        "LUMNBRSetVloumeNotification", "LUMNBRSetMutedNotification"})
    platform::NotificationCenter::defaultCenter().addObserver(ear_, &Ear::hear, name);
  avcapture::setPlaybackOptions({.paced = kind.paced, .decoderThreads = 1, .localSound = false});
}

Life::~Life() {
  end();
  lives.erase(this);
}

void Life::at(bool onMainThread) {
  if (!born_ || points_++ != point_) return;
  reached_ = true;
  if (onMainThread && !kind_.posted) {
    release();
    return;
  }
  platform::dispatchOnMainThread([weak = weak_from_this()] {
    if (const auto life = weak.lock()) life->release();
  });
}

void Life::release() {
  if (object_ == nullptr) return;
  IUCFObjectBase* const object = std::exchange(object_, nullptr);
  timed([object] { object->Release(); });
  ended_ = true;
}

void Life::timed(const std::function<void()>& call) {
  const auto began = steady_clock::now();
  call();
  longestCall = std::max<std::chrono::duration<double>>(longestCall, steady_clock::now() - began);
}

void Life::end() {
  release();
  parent_ = nullptr;
  // A quarter of a second, for what the player's end puts off.
  for (int i = 0; i < 4; ++i) turn();
}

void Life::turn() {
  for (Life* const life : std::set(lives)) {
    if (life->turns_++ < kTurnsThatCount) life->at(true);
  }
  loopClock()->advance(platform::seconds(0.1));
  platform::RunLoop::main().runReady();
}

bool Life::turnUntil(const std::function<bool()>& done) {
  const auto limit = steady_clock::now() + kHangs;
  while (!done()) {
    if (steady_clock::now() > limit) return false;
    turn();
    std::this_thread::sleep_for(kTurnTakes);
  }
  return true;
}

bool Life::live(const std::vector<Step>& steps) {
  for (const Step& step : steps) {
    if (object_ == nullptr && born_) break;
    lines_.clear();
    host.take();
    turns_ = 0;
    step.act();
    const bool passed = turnUntil([&] { return (object_ == nullptr && born_) || step.until(); });
    EXPECT_TRUE(passed) << kind_.name << " never got past: " << step.name;
    if (!passed) break;
  }
  return reached_;
}

bool Life::said(const std::string& start) {
  std::ranges::move(host.take(), std::back_inserter(lines_));
  return std::ranges::any_of(lines_, [&](const auto& kept) { return kept.starts_with(start); });
}

std::shared_ptr<avcapture::KTVideoPlayer> Life::view() const {
  return avcapture::KTVideoPlayer::inView(*parent_);
}

void Life::session(unsigned long message) {
  router_->RouteMessage(MODULE_TYPE_CONF, MODULE_TYPE_SVS, ROUTE_TYPE_SESSION, message, nullptr,
                        nullptr);
}

template <class Record>
void Life::status(unsigned long message, Record record) {
  record.head = {Host::kSessionID, Host::kSourceID};
  router_->RouteMessage(MODULE_TYPE_MMP, MODULE_TYPE_SVS, ROUTE_TYPE_MEDIASTREAMING, message,
                        &record, nullptr);
}

void Life::channelStatus(std::uint32_t value) {
  tagMSChannelStatus record{};
  record.dwStatus = value;
  status(MM_MEDIASTREAMING_MSSTATUS_CHANNEL_STATUS, record);
}

void Life::mediaInfo() {
  tagStmMediaInfo info{90'000, MM_MEDIASTREAMING_MEDIACONTENT_AUDIO_VIDEO, 3};
  runtime_->OnParameterData(STM_PARAMETER_MEDIA_INFO, reinterpret_cast<unsigned char*>(&info),
                            sizeof(info));
}

void Life::post(const char* name, const platform::Dictionary& info) {
  platform::NotificationCenter::defaultCenter().post(name, nullptr, &info);
}

std::vector<Step> Life::start() {
  const auto show = [this] { object_->CreateActiveUI(parent_.get(), &rect_); };
  std::vector<Step> steps{
      {"creation",
       [this] {
         std::string name = file_;
         ASSERT_EQ(module_.createInstance(&host, nullptr, kind_.context, name.data(), nullptr, 0,
                                          &object_),
                   UCF_OK);
         void* face = nullptr;
         object_->GetUCFInterface(UCF_IID_OBJECT_RUNTIME, &face);
         runtime_ = static_cast<IUCFObjectRuntime*>(face);
         object_->GetUCFInterface(UCF_IID_OBJECT_MSG_ROUTER, &face);
         router_ = static_cast<IUCFMsgRouter*>(face);
         born_ = true;
       }},
      {"activation", show},
      {"join", [this] { session(SESSION_MSG_JOIN_CONFIRM); },
       [this] { return !kind_.source || kind_.recording || said("register"); }},
  };
  if (!kind_.source) steps.push_back({"media info", [this] { mediaInfo(); }});
  steps.push_back({"channel created",
                   [this] { channelStatus(MM_MEDIA_STREAMING_CHANNEL_STATUS_CREATE_CONFIRM); }});
  steps.push_back({"channel joined",
                   [this] { channelStatus(MM_MEDIA_STREAMING_CHANNEL_STATUS_JOIN_SUCCESS); }});
  return steps;
}

std::vector<Step> Life::everything() {
  std::vector<Step> steps = start();
  std::ranges::move(kind_.source ? sourceSteps() : listenerSteps(), std::back_inserter(steps));
  return steps;
}

std::vector<Step> Life::sourceSteps() {
  // The movie may have ended by itself meanwhile: it plays as fast as it can.
  const auto toggle = [this](bool playing) {
    const auto player = view();
    if (player && player->isPlaying() != playing) player->onStart(nullptr);
  };
  const auto start = [toggle] { toggle(true); };
  const auto seek = [this](float seconds) {
    if (const auto player = view()) player->seek(seconds);
  };
  return {
      {"play", start, [this] { return host.samples > 3; }},
      {"pause", [toggle] { toggle(false); }, [this] { return !view() || !view()->isPlaying(); }},
      {"seek", [seek] { seek(0.3F); }, [this] { return said("status"); }},
      {"view mode",
       [this] {
         post("PDDidChangeSharingViewModeNotification", {{"PDSharingViewMode", 2}});
       }},
      {"to the end", start, [this] { return said("status 1"); }},
      {"hide", [this] { timed([this] { object_->DestroyActiveUI(); }); }},
      {"show", [this] { object_->CreateActiveUI(parent_.get(), &rect_); }},
      {"again", start, [this] { return said("status 0"); }},
      {"stop",
       [this] {
         if (const auto player = view()) timed([&] { player->onStop(nullptr); });
       },
       [this] { return said("status 1"); }},
      {"once more", start, [this] { return said("status 0"); }},
      {"left", [this] { session(SESSION_MSG_LEFT); }},
  };
}

std::vector<Step> Life::listenerSteps() {
  std::vector<Step> steps;
  for (std::uint32_t value = 0; value < 6; ++value)
    steps.push_back(
        {"play status", [this, value] {
           status(MM_MEDIASTREAMING_MSSTATUS_CURRENT_PLAY_STATUS, tagMSPlayStatus{{}, value, 0});
         }});
  std::ranges::move(
      std::vector<Step>{
          {"position",
           [this] {
             status(MM_MEDIASTREAMING_MSSTATUS_CURRENT_PLAY_POSITION, tagMSPlayPosition{{}, 1000});
           }},
          {"size",
           [this] {
             status(MM_MEDIASTREAMING_MSSTATUS_VIDEO_INFORMATION,
                    tagMSVideoInfo{{}, MM_MEDIASTREAMING_VIDEO_INFO_SIZE, 320, 180});
           }},
          {"volume",
           [this] {
             post("LUMNBRSetVloumeNotification", {{"LUMNBRSetVloumeNotificationValueKey", 0.5F}});
           }},
          {"mute",
           [this] {
             post("LUMNBRSetMutedNotification", {{"LUMNBRSetMutedNotificationValueKey", 1}});
           }},
          {"crash",
           [this] { runtime_->OnParameterData(STM_PARAMETER_PROVIDER_CRASHED, nullptr, 0); }},
          {"reconnect",
           [this] { channelStatus(MM_MEDIA_STREAMING_CHANNEL_STATUS_CREATE_CONFIRM); }},
          {"media info again", [this] { mediaInfo(); }},
          {"joined again",
           [this] { channelStatus(MM_MEDIA_STREAMING_CHANNEL_STATUS_JOIN_SUCCESS); }},
          {"hide", [this] { timed([this] { object_->DestroyActiveUI(); }); }},
          {"show", [this] { object_->CreateActiveUI(parent_.get(), &rect_); }},
          {"left", [this] { session(SESSION_MSG_LEFT); }}},
      std::back_inserter(steps));
  return steps;
}

}  // namespace lifetime
