#include "fuzz/PluginSession.h"

#include <atomic>
#include <ctime>
#include <limits>

#include "validator/cases/Listener.h"

// Time is the run loop's here: what sleeps to let another thread go first loses nothing.
extern "C" __attribute__((visibility("default"))) int nanosleep(const timespec* /*wanted*/,
                                                                timespec* /*left*/) {
  return 0;
}

const char* contract::pluginCode() { return MOVARA_BUNDLE_CODE; }

namespace fuzz {

namespace {

// Reads all that a sample points to, as a platform does.
void readSample(const tagMSDataStructure& sample) {
  static std::atomic<std::uint8_t> sum{0};
  const auto read = [](const void* data, std::uint64_t length) {
    const auto* const bytes = static_cast<const std::uint8_t*>(data);
    for (std::uint64_t i = 0; i < length; ++i) sum ^= bytes[i];
  };
  read(sample.pData, sample.dwDataLength);
  read(sample.pFormat, sample.dwFormatLength);
}

platform::Value anyValue(Input& in) {
  switch (in.ConsumeIntegralInRange(0, 5)) {
    case 0:
      return {};
    case 1:
      return in.ConsumeBool();
    case 2:
      return in.ConsumeFloatingPoint<double>();
    case 3:
      return std::numeric_limits<double>::quiet_NaN();
    case 4:
      return in.ConsumeRandomLengthString(12);
    default:
      return extreme<std::int64_t>(in);
  }
}

}  // namespace

PluginSession::PluginSession(Input& input) : in(input) {
  listenToHost();
  begin();
}

PluginSession::~PluginSession() {
  end();
  host.within = nullptr;
  EXPECT_LE(FakeFramework::session.use_count(), 1);
  FakeFramework::session.reset();  // which holds the view
  EXPECT_LE(FakeFramework::view.use_count(), 1);
  // Outside of the document area the player's view stands in the parent itself.
  EXPECT_TRUE(!embedded_ || parent->subviews().empty());
  EXPECT_TRUE(!embedded_ || otherParent_->subviews().empty());
}

void PluginSession::listenToHost() {
  host.staysTheSame = false;
  host.within = [this](const std::string& /*line*/) {
    EXPECT_FALSE(released_) << "called after it was released";
    if (callsUntilRelease_ > 0 && --callsUntilRelease_ == 0) releaseNow();
  };
  host.onSample = [this](const tagMSDataStructure& sample) {
    EXPECT_FALSE(released_) << "a sample after it was released";
    readSample(sample);
  };
}

void PluginSession::begin() {
  released_ = false;
  const UCFCtx context = in.ConsumeBool() ? contract::kEmbedded : in.ConsumeIntegral<UCFCtx>();
  embedded_ = embedded_ && context == contract::kEmbedded;
  switch (in.ConsumeIntegralInRange(0, 4)) {
    case 0:
      return create(context);
    case 1:
      return createListener(context);
    case 2:
      return listen();
    case 3:
      return createActive();
    default:
      return present();
  }
}

std::uint64_t PluginSession::sourceID() {
  return in.ConsumeIntegralInRange(0, 7) != 0 ? contract::RecordingHost::kSourceID
                                              : extreme<std::uint64_t>(in);
}

void PluginSession::anything() {
  using Act = void (PluginSession::*)();
  constexpr Act kActs[] = {
      &PluginSession::tick,    &PluginSession::activate,   &PluginSession::deactivate,
      &PluginSession::place,   &PluginSession::changeRole, &PluginSession::answer,
      &PluginSession::useView, &PluginSession::changeView, &PluginSession::notifyAll,
      &PluginSession::tick,    &PluginSession::useView,    &PluginSession::endOrBegin};
  (this->*in.PickValueInArray(kActs))();
  host.take();
  if (view() != nullptr) view()->takeCalls();
}

void PluginSession::tick() { advance(0.1 * in.ConsumeIntegralInRange(0, 15)); }

void PluginSession::activate() {
  if (!alive()) return;
  platform::View* const parents[] = {parent.get(), parent.get(), otherParent_.get(), nullptr};
  tagUCFRect where = {extreme<std::int32_t>(in), 20, 650, extreme<std::int32_t>(in)};
  object->CreateActiveUI(in.PickValueInArray(parents), in.ConsumeBool() ? &where : &rect);
}

void PluginSession::deactivate() {
  if (!alive()) return;
  object->IsReleaseOnKillActive(static_cast<UCFUsageMode>(in.ConsumeIntegralInRange(9, 12)));
  object->OnKillActive();
  if (alive() && in.ConsumeBool()) object->DestroyActiveUI();
  if (alive() && in.ConsumeBool()) object->OnSetActive(in.ConsumeIntegral<unsigned char>());
}

void PluginSession::place() {
  if (!alive()) return;
  tagUCFRect where = {extreme<std::int32_t>(in), extreme<std::int32_t>(in),
                      extreme<std::int32_t>(in), extreme<std::int32_t>(in)};
  object->OnPositionChanged(&where);
  if (!alive() || in.ConsumeBool()) return;
  object->OnParentWindowChanged(in.ConsumeBool() ? otherParent_.get() : parent.get());
}

void PluginSession::changeRole() {
  host.role = in.ConsumeIntegralInRange<std::uint32_t>(0, 7);
  if (alive()) runtime->OnUserRoleChanged(in.ConsumeBool() ? host.role : extreme<unsigned>(in));
}

// What the host says from now on.
void PluginSession::answer() {
  host.ownDocument = in.ConsumeIntegralInRange(0, 7) != 0;
  host.liveMeeting = in.ConsumeIntegralInRange(0, 7) != 0;
  host.canSend = in.ConsumeBool();
  host.throwsOnSend = in.ConsumeBool();
  const auto status = extreme<std::uint64_t>(in);
  const auto result = extreme<std::uint64_t>(in);
  const auto channel = in.ConsumeIntegralInRange<std::uint32_t>(0, 5);
  const UCFResult answer = in.ConsumeBool() ? UCF_OK : extreme<UCFResult>(in);
  host.answerQuery = [=](tagQuery& query) {
    query.dwStatus = status;
    query.dwResult = result;
    query.dwChannelStatus = channel;
    return answer;
  };
  for (const std::uint32_t key : {0x420U, 0x421U, 0x422U, 0x426U, 0x427U}) {
    tagUCFVariant value{};
    value.vt = in.ConsumeIntegralInRange<std::uint32_t>(0, 13);
    value.ullVal = extreme<std::uint64_t>(in);
    if (in.ConsumeBool()) host.shared[key] = value;
  }
  callsUntilRelease_ = in.ConsumeIntegralInRange(0, 15) == 0 ? in.ConsumeIntegralInRange(1, 6) : 0;
}

// What a user does on the view.
void PluginSession::useView() {
  if (view() == nullptr || view()->delegate == nullptr) return;
  avcapture::KTVideoPlayerDelegate& delegate = *view()->delegate;
  const std::shared_ptr<platform::Object> sender = FakeFramework::view;
  switch (in.ConsumeIntegralInRange(0, 13)) {
    case 0:
      return delegate.onPlay(sender.get());
    case 1:
      return delegate.onPause(sender.get());
    case 2:
      return delegate.onStop(sender.get());
    case 3:
      return delegate.onSkip(sender.get());
    case 4:
      return delegate.volumeChange(sender.get(), anyValue(in));
    case 5:
      return delegate.toggleFullscreen(sender.get());
    case 6:
      return delegate.renderMovie(in.ConsumeBool());
    case 7:
      return delegate.prepareDeliverLastestImageAgain();
    case 8:
      return delegate.hideOtherEmbedCtrlbarWindow();
    case 9:
      return delegate.active();
    case 10:
      return delegate.deactive();
    case 11:
      return delegate.pauseEmbedPlayer();
    case 12:
      delegate.allow2Play();
      return;
    default:
      delegate.mediaSize();
      return;
  }
}

// What the view answers from now on.
void PluginSession::changeView() {
  if (view() == nullptr) return;
  constexpr float kPositions[] = {0.0F,
                                  1.5F,
                                  -1.0F,
                                  1e30F,
                                  std::numeric_limits<float>::quiet_NaN(),
                                  std::numeric_limits<float>::infinity()};
  constexpr double kRates[] = {0.0, 25.0, -1.0, 1e300, std::numeric_limits<double>::quiet_NaN()};
  view()->playing = in.ConsumeBool();
  view()->paused = in.ConsumeBool();
  view()->position = in.PickValueInArray(kPositions);
  view()->frameRate = in.PickValueInArray(kRates);
  view()->invalidBuffers = in.ConsumeIntegralInRange(0, 2);
  view()->length = in.ConsumeBool() ? 90 : extreme<std::int64_t>(in);
  view()->volumeNow = in.ConsumeBool() ? 40 : extreme<int>(in);
  view()->type = in.ConsumeIntegralInRange(-1, 5);
  view()->accepts = in.ConsumeBool();
  view()->refusedToPlay = in.ConsumeBool();
}

// The client's notifications.
void PluginSession::notifyAll() {
  struct Kind {
    const char* name;
    std::initializer_list<const char*> keys;
  };
  static const Kind kKinds[] = {
      {"PDDidChangeSharingViewModeNotification", {"PDSharingViewMode"}},
      {"PDWillChangeFitModeNotification", {}},
      {"LUMNBRSetVloumeNotification", {"LUMNBRSetVloumeNotificationValueKey"}},
      {"LUMNBRSetMutedNotification", {"LUMNBRSetMutedNotificationValueKey"}},
      {"MSVideoRenderSizeChanged",
       {"MSVideoRenderSourceID", "MSVideoRenderWidth", "MSVideoRenderHeight"}},
      {"MSPauseEmbedPlayer", {}},
      {"MSHideOtherEmbedCtrlbar", {}},
      {"HOLStatusNotification", {"Status"}},
  };
  const Kind& kind = kKinds[in.ConsumeIntegralInRange<std::size_t>(0, std::size(kKinds) - 1)];
  platform::Dictionary info;
  for (const char* key : kind.keys) {
    const bool own = std::string_view(key) == "MSVideoRenderSourceID" && in.ConsumeBool();
    info.set(key, own ? platform::Value(std::int64_t{contract::RecordingHost::kSourceID})
                      : anyValue(in));
  }
  postNotification(kind.name, info);
}

void PluginSession::releaseNow() {
  callsUntilRelease_ = 0;
  if (!alive()) return;
  release();
  released_ = true;
}

void PluginSession::endOrBegin() {
  if (alive()) return releaseNow();
  end();                   // what the last one has put off
  callsUntilRelease_ = 0;  // it is not to end while it is set up, which has to succeed
  begin();
}

}  // namespace fuzz
