#include "meeting/AttendeeChannel.h"

#include <utility>

#include "meeting/QueryAnswers.h"
#include "meeting/RecordChecks.h"

namespace meeting {

namespace {

// A picture that keeps its pooled frame until nobody shows it any more.
std::shared_ptr<const platform::Image> imageOf(const FrameRef& frame) {
  auto image = std::make_shared<platform::Image>();
  image->width = frame->width;
  image->height = frame->height;
  image->bytesPerRow = frame->bytesPerRow;
  image->pixels = frame->pixels.data();
  image->storage = std::make_shared<const FrameRef>(frame);
  return image;
}

}  // namespace

AttendeeChannel::AttendeeChannel(std::shared_ptr<DocumentStream> stream,
                                 std::weak_ptr<PlatformPeer> peer)
    : stream_(std::move(stream)), peer_(std::move(peer)) {
  worker_ = std::thread([this] { work(); });
  stream_->add(*this);
}

AttendeeChannel::~AttendeeChannel() {
  stream_->remove(*this);
  {
    const std::lock_guard lock(mutex_);
    ending_ = true;
  }
  wake_.notify_one();
  worker_.join();
}

UCFResult AttendeeChannel::request(unsigned long type, unsigned long uMsg, void* record) {
  switch (type) {
    case SVS_MSG_MS_COMMAND:
      return record != nullptr ? command(uMsg, record) : 0;
    case SVS_MSG_START_SESSION:
    case SVS_MSG_STOP_SESSION:
      return 1;
    default:
      return 0;
  }
}

UCFResult AttendeeChannel::command(unsigned long uMsg, void* record) {
  switch (uMsg) {
    case MM_MEDIASTREAMING_CMD_QUERY:
      return answerQuery(*static_cast<tagQuery*>(record), *stream_);
    case MM_MEDIASTREAMING_CMD_REGISTER:
      return registerListener(*static_cast<const tagMSRegisterInfo*>(record));
    case MM_MEDIASTREAMING_CMD_SET_RENDER:
      return setRender(*static_cast<const tagMSRenderInfo*>(record));
    case MM_MEDIASTREAMING_CMD_UPDATE_RENDER:
      return updateRender(*static_cast<const tagMSRenderUpdate*>(record));
    case MM_MEDIASTREAMING_CMD_UNREGISTER:
    case MM_MEDIASTREAMING_CMD_SOURCE_STATUS:
    case MM_MEDIASTREAMING_CMD_VOLUME:
    case MM_MEDIASTREAMING_CMD_MUTE_STATUS:
      return isOurs(*static_cast<const tagMSHead*>(record)) ? 1 : 0;
    default:
      return 0;
  }
}

UCFResult AttendeeChannel::registerListener(const tagMSRegisterInfo& info) {
  if (!isOurs(info.head) || info.eChannelType != MM_MEDIASTREAMING_CHANNEL_LISTENER) return 0;
  stream_->join(*this);
  return 1;
}

UCFResult AttendeeChannel::setRender(const tagMSRenderInfo& info) {
  if (!isOurs(info.head)) return 0;
  switch (info.eRenderType) {
    case MM_MEDIASTREAMING_RENDER_ATTACH:
      showIn(info.hRender);
      return 1;
    case MM_MEDIASTREAMING_RENDER_DETACH:
      showIn(0);
      return 1;
    default:
      return 0;
  }
}

UCFResult AttendeeChannel::updateRender(const tagMSRenderUpdate& update) {
  if (!isOurs(update.head) || update.dwUpdateKind != MM_MEDIASTREAMING_UPDATE_VIEW ||
      update.pUpdateParam == nullptr)
    return 0;
  const auto& view = *static_cast<const tagMSRenderView*>(update.pUpdateParam);
  if (view.nViewKind != MM_MEDIASTREAMING_VIEW_KIND) return 0;
  showIn(view.hRenderView);
  return 1;
}

// The handle is the address of a view that the sender keeps alive until it detaches it; from here
// on it is retained as long as it is drawn into.
void AttendeeChannel::showIn(std::uint64_t handle) {
  std::shared_ptr<platform::View> view;
  if (handle != 0) {
    auto* address = reinterpret_cast<platform::View*>(handle);  // NOLINT(performance-no-int-to-ptr)
    view = std::static_pointer_cast<platform::View>(address->shared_from_this());
  }
  {
    const std::lock_guard lock(mutex_);
    std::swap(view_, view);
  }
  draw();
}

void AttendeeChannel::setWatched(bool watched) {
  {
    const std::lock_guard lock(mutex_);
    watched_ = watched;
  }
  draw();
}

float AttendeeChannel::framesPerSecond(double seconds) {
  const std::uint64_t frames = framesReceived_;
  const auto taken = static_cast<double>(frames - std::exchange(framesAtLastRate_, frames));
  return static_cast<float>(taken / seconds);
}

AttendeeStatistics AttendeeChannel::statistics() const {
  return {framesReceived_, framesLost_, audioBlocks_};
}

void AttendeeChannel::post(const StatusRecord& record) const {
  if (const auto peer = peer_.lock()) peer->postStatus(record);
}

void AttendeeChannel::offer(const FrameRef& frame) {
  if (!frame) {
    ++framesLost_;
    return;
  }
  FrameRef replaced = frame;
  {
    const std::lock_guard lock(mutex_);
    std::swap(slot_, replaced);
  }
  wake_.notify_one();
  if (replaced) ++framesLost_;
}

void AttendeeChannel::offer(const AudioSample& /*sample*/) { ++audioBlocks_; }

void AttendeeChannel::work() {
  while (true) {
    FrameRef previous;
    {
      std::unique_lock lock(mutex_);
      wake_.wait(lock, [this] { return ending_ || slot_; });
      if (ending_) return;
      previous = std::exchange(current_, std::exchange(slot_, FrameRef()));
    }
    draw();
    ++framesReceived_;
  }
}

void AttendeeChannel::draw() {
  const std::lock_guard drawing(drawMutex_);
  FrameRef frame;
  std::shared_ptr<platform::View> view;
  {
    const std::lock_guard lock(mutex_);
    if (!watched_ || !view_ || !current_) return;
    frame = current_;
    view = view_;
  }
  view->setContents(imageOf(frame));
}

}  // namespace meeting
