// Media files that are damaged in any way: opened, decoded and sought in a player view. There is
// always an answer to the opening, an end of the playing and of each seek; what is delivered is as
// long as it says; nothing is delivered once the view has died.
#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <limits>

#include "avcapture/Keys.h"
#include "fuzz/Target.h"
#include "tests/avcapture/Support.h"

namespace avcapture::test {
namespace {

// Delivered pictures and blocks of sound after which a file is not played further.
constexpr int kEnough = 200;

class Reader final : public platform::Object, public AVStreamDataListener {
 public:
  void newImageArrive(void* pixels, std::uint32_t width, std::uint32_t height,
                      std::uint32_t /*timestamp*/) override {
    EXPECT_TRUE(width > 0 && height > 0);
    EXPECT_LE(std::uint64_t{width} * height, std::uint64_t{8192} * 8192);
    if (isDelivery(pixels)) read(pixels, (std::size_t{width} * 3 + 3) / 4 * 4 * height);
  }
  void newAudioFramesArrive(platform::Object* /*sender*/, AudioBufferList* list,
                            std::uint64_t frames, AudioStreamBasicDescription* description,
                            std::uint32_t /*timestamp*/) override {
    EXPECT_GT(description->mSampleRate, 0.0);
    if (!isDelivery(list)) return;
    EXPECT_EQ(list->mNumberBuffers, 1U);
    EXPECT_EQ(frames * description->mBytesPerFrame, list->mBuffers[0].mDataByteSize);
    EXPECT_GT(frames, 0U);
    read(list->mBuffers[0].mData, list->mBuffers[0].mDataByteSize);
  }
  int count() const { return count_; }
  void expectNoMore() { closed_ = true; }

 private:
  // Or only the announcement of one.
  bool isDelivery(const void* what) const {
    EXPECT_FALSE(closed_) << "called after the end";
    return what != nullptr;
  }
  void read(const void* data, std::size_t length) {
    ++count_;
    const auto* bytes = static_cast<const std::uint8_t*>(data);
    // One byte of each page and the last one: where there is one there are all.
    for (std::size_t i = 0; i < length; i += 4096) sum_ ^= bytes[i];
    if (length > 0) sum_ ^= bytes[length - 1];
  }

  std::atomic<int> count_{0};
  std::atomic<std::uint8_t> sum_{0};
  std::atomic<bool> closed_{false};
};

std::string fileOf(const std::vector<std::uint8_t>& bytes) {
  static const int file = ::memfd_create("media", MFD_CLOEXEC);
  EXPECT_EQ(::ftruncate(file, 0), 0);
  EXPECT_EQ(::pwrite(file, bytes.data(), bytes.size(), 0), static_cast<ssize_t>(bytes.size()));
  return "/proc/self/fd/" + std::to_string(file);
}

struct Viewing {
  explicit Viewing(const std::string& path) {
    setPlaybackOptions({.paced = false, .decoderThreads = 1, .localSound = false});
    view->setPlayerType(kPlayerTypeSource);
    view->setDelegate(&delegate);
    accepted = view->setMovie(AVURLAsset::assetWithFilePath(path));
    EXPECT_EQ(delegate.calls, std::vector<std::string>{accepted ? "rendered" : "refused"});
    session = LUMAVCaptureSession::initWithParams({{kAVStreamListenerKey, reader},
                                                   {kAVCaptureSessionTypeKey, 1},
                                                   {kQuickTimeQTVideoPlayerKey, view}});
  }
  ~Viewing() {
    view->willDie();
    reader->expectNoMore();
    session.reset();
    view->setDelegate(nullptr);
    view.reset();
    platform::RunLoop::main().runReady();
  }

  bool enough() const { return reader->count() >= kEnough; }
  void playSome() {
    const int wanted = reader->count() + 5;
    const int stops = delegate.count("stop");
    if (!view->isPlaying()) view->onStart(nullptr);
    pump([&] { return reader->count() >= wanted || delegate.count("stop") > stops; });
  }
  void playOut() {
    if (enough()) return;
    const int stops = delegate.count("stop");
    if (!view->isPlaying()) view->onStart(nullptr);
    pump([&] { return enough() || delegate.count("stop") > stops; });
  }
  void seek(float seconds) {
    const int skips = delegate.count("skip");
    view->seek(seconds);
    pump([&] { return delegate.count("skip") > skips; });
  }
  void pump(const std::function<bool()>& done) {
    EXPECT_TRUE(pumpUntil(done)) << "no end, and no word of it";
  }

  Delegate delegate;
  std::shared_ptr<Reader> reader = std::make_shared<Reader>();
  std::shared_ptr<KTVideoPlayer> view = KTVideoPlayer::newInstance();
  std::shared_ptr<LUMAVCaptureSession> session;
  bool accepted = false;
};

struct Step {
  int kind;
  std::uint16_t value;
};

void perform(Viewing& viewing, const Step& step) {
  constexpr float kBeyond[] = {-1.0F, 1e30F, std::numeric_limits<float>::quiet_NaN(),
                               std::numeric_limits<float>::infinity()};
  const float part = static_cast<float>(step.value) / 65'535.0F;
  const auto length = static_cast<float>(viewing.view->duration() + 1);
  switch (step.kind) {
    case 0:
      return viewing.playSome();
    case 1:
      return viewing.seek(part * length);
    case 2:
      return viewing.seek(kBeyond[step.value % std::size(kBeyond)]);
    case 3:  // not waited for: the next step overtakes it
      return viewing.view->seek(part * length);
    case 4:
      return viewing.view->onStart(nullptr);
    case 5:
      return viewing.view->onStop(nullptr);
    case 6:
      return viewing.view->deliverLatestImageAgain();
    default:
      platform::RunLoop::main().runReady();
  }
}

}  // namespace
}  // namespace avcapture::test

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace avcapture::test;
  // The script comes from the end, so that a media file is an input as it is.
  fuzz::Input in(data, size);
  std::vector<Step> script(in.ConsumeIntegralInRange<std::size_t>(0, 6));
  for (Step& step : script) {
    step = {in.ConsumeIntegralInRange(0, 7), in.ConsumeIntegral<std::uint16_t>()};
  }
  Viewing viewing(fileOf(in.ConsumeRemainingBytes<std::uint8_t>()));
  if (!viewing.accepted) return 0;
  for (const Step& step : script) perform(viewing, step);
  viewing.playOut();
  return 0;
}
