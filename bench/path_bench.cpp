// What the module itself adds to a decoded picture or block of sound: from the capture framework's
// call to the router's RouteMessage and back, through bridge, player, application object and
// manager. The player view and the router answer at once.
//
// Measured on a delivery thread while the main thread serves its run loop, as in a meeting.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <memory>
#include <thread>
#include <vector>

#include "avcapture/Keys.h"
#include "mmp/StatusRecords.h"
#include "movara/CMovaraApp.h"
#include "platform/RunLoop.h"
#include "tests/movara/common/FakeVideoPlayer.h"

namespace {

class CountingRouter final : public IUCFMsgRouter {
 public:
  UCFResult RouteMessage(enumMODULE_TYPE, enumMODULE_TYPE, unsigned long, unsigned long uMsg,
                         void* wParam, void*) override {
    if (uMsg == MM_MEDIASTREAMING_CMD_MEDIA_DATA) {
      ++samples;
      benchmark::DoNotOptimize(static_cast<tagMSDataStructure*>(wParam)->pData);
    }
    return 1;
  }
  std::uint64_t samples = 0;
};

// Offers nothing but the router.
class RouterContainer final : public IUCFContainerBase {
 public:
  explicit RouterContainer(IUCFMsgRouter& router) : router_(router) {}
  UCFResult GetUCFInterface(UCFInterfaceID id, void** out) override {
    *out = id == UCF_IID_OBJECT_MSG_ROUTER ? &router_ : nullptr;
    return UCF_OK;
  }
  void FreeVariant(tagUCFVariant*) override {}
  UCFResult GetProperty(std::uint32_t, tagUCFVariant*) override { return UCF_E_NOINTERFACE; }
  UCFResult GetSharedProperty(std::uint32_t, tagUCFVariant*) override { return UCF_E_NOINTERFACE; }
  UCFResult SetSharedProperty(std::uint32_t, tagUCFVariant*) override { return UCF_E_NOINTERFACE; }

 private:
  IUCFMsgRouter& router_;
};

// A presenter's object with an open movie that plays into a joined channel. [main-thread]
class Presenter {
 public:
  Presenter() {
    FakeFramework::install();
    unsigned char ok = 1;
    app_ = new CMovaraApp(&container_, nullptr, 1, nullptr, nullptr, 0, ok);
    app_->RenderFileName("a movie");
    FakeFramework::view->playing = true;
    listener_ = FakeFramework::session->params.get(avcapture::kAVStreamListenerKey)
                    .objectAs<avcapture::AVStreamDataListener>();
    tagMSChannelStatus joined{};
    joined.dwStatus = MM_MEDIA_STREAMING_CHANNEL_STATUS_JOIN_SUCCESS;
    app_->RouteMessage(MODULE_TYPE_MMP, MODULE_TYPE_SVS, ROUTE_TYPE_MEDIASTREAMING,
                       MM_MEDIASTREAMING_MSSTATUS_CHANNEL_STATUS, &joined, nullptr);
  }
  ~Presenter() {
    listener_ = nullptr;
    FakeFramework::session->params = {};
    app_->Release();
    FakeFramework::uninstall();
  }
  Presenter(const Presenter&) = delete;
  Presenter& operator=(const Presenter&) = delete;

  avcapture::AVStreamDataListener& listener() { return *listener_; }
  std::uint64_t samples() const { return router_.samples; }

 private:
  CountingRouter router_;
  RouterContainer container_{router_};
  CMovaraApp* app_;  // deletes itself when released
  std::shared_ptr<avcapture::AVStreamDataListener> listener_;
};

Presenter* presenter = nullptr;

// Every call must have come through, or the figure says nothing.
void finish(benchmark::State& state, std::uint64_t samplesBefore) {
  const auto sent = presenter->samples() - samplesBefore;
  if (sent != static_cast<std::uint64_t>(state.iterations())) {
    state.SkipWithError("samples were dropped");
  }
  state.SetItemsProcessed(state.iterations());
}

void liveFrame(benchmark::State& state) {
  const auto height = static_cast<std::uint32_t>(state.range(0));
  const std::uint32_t width = height * 16 / 9;
  std::vector<std::uint8_t> pixels(std::size_t{4} * height * ((24 * width + 31) / 32));
  static std::uint32_t timestamp = 0;
  auto& listener = presenter->listener();
  // The first frame of a size waits for its format to be announced.
  listener.newImageArrive(pixels.data(), width, height, timestamp += 40);
  const auto before = presenter->samples();
  for (auto _ : state) {
    listener.newImageArrive(pixels.data(), width, height, timestamp += 40);
  }
  finish(state, before);
}

void audioBlock(benchmark::State& state) {
  std::vector<std::uint8_t> bytes(static_cast<std::size_t>(state.range(0)) * 4);
  avcapture::AudioBufferList list{1, {{2, static_cast<std::uint32_t>(bytes.size()), bytes.data()}}};
  avcapture::AudioStreamBasicDescription format{48'000.0, 0, 0, 4, 1, 4, 2, 16, 0};
  const auto frames = static_cast<std::uint64_t>(state.range(0));
  auto& listener = presenter->listener();
  listener.newAudioFramesArrive(nullptr, &list, frames, &format, 0);
  const auto before = presenter->samples();
  for (auto _ : state) listener.newAudioFramesArrive(nullptr, &list, frames, &format, 0);
  finish(state, before);
}

BENCHMARK(liveFrame)->ArgName("height")->Arg(360)->Arg(720)->Arg(1080)->Repetitions(9);
BENCHMARK(audioBlock)->ArgName("samples")->Arg(1024)->Repetitions(9);

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  presenter = new Presenter;
  std::thread delivery([] {
    benchmark::RunSpecifiedBenchmarks();
    platform::dispatchOnMainThread([] { platform::RunLoop::main().stop(); });
  });
  platform::RunLoop::main().run();
  delivery.join();
  delete presenter;
  platform::RunLoop::main().runUntil(platform::RunLoop::main().now() + platform::seconds(0.5));
  return 0;
}
