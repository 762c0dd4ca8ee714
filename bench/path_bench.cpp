// What the module itself adds to a decoded picture or block of sound: from the capture framework's
// call to the router's RouteMessage and back, through bridge, player, application object and
// manager. The player view and the router answer at once.
//
// Measured on a delivery thread while the main thread serves its run loop, as in a meeting. With
// "--calls N" it makes N calls with a picture and nothing else, to be counted by callgrind.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <thread>
#include <vector>

#include "avcapture/Keys.h"
#include "mmp/StatusRecords.h"
#include "movara/CMovaraApp.h"
#include "platform/RunLoop.h"
#include "validator/cases/FakeVideoPlayer.h"

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

// Pictures of one size, one after the other.
class Pictures {
 public:
  explicit Pictures(std::uint32_t height) : width_(height * 16 / 9), height_(height) {
    deliver();  // the first of a size waits for its format to be announced
  }
  void deliver() {
    static std::uint32_t timestamp = 0;
    listener_.newImageArrive(pixels_.data(), width_, height_, timestamp += 40);
  }
  const std::vector<std::uint8_t>& pixels() const { return pixels_; }

 private:
  const std::uint32_t width_, height_;
  std::vector<std::uint8_t> pixels_ =
      std::vector<std::uint8_t>(std::size_t{4} * height_ * ((24 * width_ + 31) / 32));
  avcapture::AVStreamDataListener& listener_ = presenter->listener();
};

void liveFrame(benchmark::State& state) {
  Pictures pictures(static_cast<std::uint32_t>(state.range(0)));
  const auto before = presenter->samples();
  for (auto _ : state) pictures.deliver();
  finish(state, before);
}

// What a copy of the picture would cost, for comparison.
void frameCopy(benchmark::State& state) {
  const Pictures pictures(static_cast<std::uint32_t>(state.range(0)));
  std::vector<std::uint8_t> copy(pictures.pixels().size());
  for (auto _ : state) {
    std::memcpy(copy.data(), pictures.pixels().data(), copy.size());
    benchmark::ClobberMemory();
  }
}

[[gnu::noinline]] void countedCalls(Pictures& pictures, long calls) {
  for (long call = 0; call < calls; ++call) pictures.deliver();
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
BENCHMARK(frameCopy)->ArgName("height")->Arg(720)->Repetitions(9);
BENCHMARK(audioBlock)->ArgName("samples")->Arg(1024)->Repetitions(9);

}  // namespace

int main(int argc, char** argv) {
  const bool counting = argc == 3 && std::strcmp(argv[1], "--calls") == 0;
  const long calls = counting ? std::strtol(argv[2], nullptr, 10) : 0;
  if (counting) argc = 1;
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  presenter = new Presenter;
  std::thread delivery([counting, calls] {
    if (counting) {
      Pictures pictures(720);
      countedCalls(pictures, calls);
    } else {
      benchmark::RunSpecifiedBenchmarks();
    }
    platform::dispatchOnMainThread([] { platform::RunLoop::main().stop(); });
  });
  platform::RunLoop::main().run();
  delivery.join();
  delete presenter;
  platform::RunLoop::main().runUntil(platform::RunLoop::main().now() + platform::seconds(0.5));
  return 0;
}
