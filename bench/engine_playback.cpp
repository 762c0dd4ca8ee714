// Plays a file unpaced, from the file to a listener that takes everything, and prints how long it
// took. To be set beside
//
//   ffmpeg -threads 1 -i FILE -pix_fmt rgb24 -f null -
//
// in turns, since the machine is never equally fast twice: scripts in need of a ratio run both.
#include <sys/resource.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "avcapture/KTVideoPlayer.h"
#include "avcapture/Keys.h"
#include "avcapture/LUMAVCaptureSession.h"
#include "avcapture/Protocols.h"
#include "platform/RunLoop.h"

namespace {

using Seconds = std::chrono::duration<double>;

class Sink : public platform::Object, public avcapture::AVStreamDataListener {
 public:
  void newImageArrive(void* /*pixels*/, std::uint32_t /*width*/, std::uint32_t /*height*/,
                      std::uint32_t /*timestamp*/) override {}
  void newAudioFramesArrive(platform::Object* /*sender*/, avcapture::AudioBufferList* /*list*/,
                            std::uint64_t /*frames*/,
                            avcapture::AudioStreamBasicDescription* /*description*/,
                            std::uint32_t /*timestamp*/) override {}
};

double cpuSeconds() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  const auto total = std::chrono::seconds(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
                     std::chrono::microseconds(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec);
  return Seconds(total).count();
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fputs("usage: engine_playback FILE [DECODER_THREADS]\n", stderr);
    return 2;
  }
  const int threads = argc > 2 ? static_cast<int>(std::strtol(argv[2], nullptr, 10)) : 1;
  avcapture::setPlaybackOptions({.paced = false, .decoderThreads = threads, .localSound = false});
  const auto begin = std::chrono::steady_clock::now();
  const auto player = avcapture::KTVideoPlayer::newInstance();
  if (!player->setMovie(avcapture::AVURLAsset::assetWithFilePath(argv[1]))) {
    std::fprintf(stderr, "engine_playback: %s: not a media file\n", argv[1]);
    return 4;
  }
  const auto sink = std::make_shared<Sink>();
  const auto session = avcapture::LUMAVCaptureSession::initWithParams(
      {{avcapture::kAVStreamListenerKey, sink},
       {avcapture::kAVCaptureSessionTypeKey, 1},
       {avcapture::kQuickTimeQTVideoPlayerKey, player}});
  player->onStart(nullptr);
  platform::RunLoop& loop = platform::RunLoop::main();
  while (player->isPlaying()) loop.runUntil(loop.now() + std::chrono::milliseconds(5));
  player->willDie();
  const avcapture::PlaybackStatistics statistics = player->statistics();
  std::printf("wall_s %.3f cpu_s %.3f frames %llu audio_blocks %llu dropped %llu\n",
              Seconds(std::chrono::steady_clock::now() - begin).count(), cpuSeconds(),
              static_cast<unsigned long long>(statistics.framesDelivered),
              static_cast<unsigned long long>(statistics.audioBlocksDelivered),
              static_cast<unsigned long long>(statistics.framesDropped));
  return 0;
}
