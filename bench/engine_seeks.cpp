// Seeks in a standing movie, from the player view's seek to the stream listener, which is where the
// capture framework ends. (The plug-in itself holds a still picture back for a tenth of a second,
// to see whether it changes again.)
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <memory>

#include "avcapture/KTVideoPlayer.h"
#include "avcapture/Keys.h"
#include "avcapture/LUMAVCaptureSession.h"
#include "avcapture/Protocols.h"
#include "bench/Options.h"
#include "bench/Record.h"
#include "platform/RunLoop.h"

namespace {

// Between two seeks: the decoder has run ahead by then and rests.
constexpr double kRestSeconds = 0.05;

class Seeker : public platform::Object, public avcapture::AVStreamDataListener {
 public:
  Seeker(const bench::Options& options, bench::Record& record,
         std::shared_ptr<avcapture::KTVideoPlayer> player)
      : options_(options), record_(record), player_(std::move(player)) {}

  // [main-thread]
  void seekNext() {
    if (next_ == options_.seeks.size()) return platform::RunLoop::main().stop();
    const auto seconds = static_cast<float>(options_.seeks[next_++]);
    asked_ = bench::Record::Clock::now();
    player_->seek(seconds);
  }

  void newImageArrive(void* /*pixels*/, std::uint32_t /*width*/, std::uint32_t /*height*/,
                      std::uint32_t timestamp) override {
    record_.sought(asked_, std::int64_t{timestamp} * 1000);
    platform::dispatchOnMainThread([this] {
      platform::RunLoop& loop = platform::RunLoop::main();
      loop.runUntil(loop.now() + platform::seconds(kRestSeconds));
      seekNext();
    });
  }
  void newAudioFramesArrive(platform::Object* /*sender*/, avcapture::AudioBufferList* /*list*/,
                            std::uint64_t /*frames*/,
                            avcapture::AudioStreamBasicDescription* /*description*/,
                            std::uint32_t /*timestamp*/) override {}

 private:
  const bench::Options& options_;
  bench::Record& record_;
  const std::shared_ptr<avcapture::KTVideoPlayer> player_;
  std::size_t next_ = 0;
  bench::Record::Clock::time_point asked_;  // handed to the delivery thread by the seek itself
};

}  // namespace

int main(int argc, char** argv) {
  const bench::Options options =
      bench::parseOptions(argc, argv, "Seeks with the capture framework.");
  avcapture::setPlaybackOptions(
      {.paced = true, .decoderThreads = options.threads, .localSound = false});
  bench::Record record;
  const auto player = avcapture::KTVideoPlayer::newInstance();
  if (!player->setMovie(avcapture::AVURLAsset::assetWithFilePath(options.file))) {
    std::fprintf(stderr, "engine_seeks: %s: not a media file\n", options.file.c_str());
    return 4;
  }
  const auto seeker = std::make_shared<Seeker>(options, record, player);
  const auto session = avcapture::LUMAVCaptureSession::initWithParams(
      {{avcapture::kAVStreamListenerKey, seeker},
       {avcapture::kAVCaptureSessionTypeKey, 1},
       {avcapture::kQuickTimeQTVideoPlayerKey, player}});
  seeker->seekNext();
  platform::RunLoop::main().run();
  record.end();
  player->willDie();
  record.print();
  return 0;
}
