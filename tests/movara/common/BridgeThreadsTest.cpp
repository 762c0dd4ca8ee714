// Detaching while delivery threads are at work.
#include <atomic>
#include <latch>
#include <thread>

#include "tests/movara/common/PlayerFixture.h"

namespace {

class BridgeThreads : public PlayerFixture {
 protected:
  BridgeThreads() {
    makeSource();
    view->playing = true;
    listener = std::static_pointer_cast<AVUIProxy>(bridge->shared_from_this());
  }
  void videoFrame(std::uint32_t timestamp) {
    std::uint8_t pixels[4 * 12]{};
    listener->newImageArrive(pixels, 4, 4, timestamp);
  }
  void audioBlock(double rate) {
    std::uint8_t bytes[8]{};
    avcapture::AudioBufferList list{1, {{2, sizeof(bytes), bytes}}};
    avcapture::AudioStreamBasicDescription format{rate, 0, 0, 4, 1, 4, 2, 16, 0};
    listener->newAudioFramesArrive(nullptr, &list, 2, &format, 0);
  }

  std::shared_ptr<AVUIProxy> listener;  // as a session holds it during its calls
};

TEST_F(BridgeThreads, DetachingWaitsForTheThreadInsideTheSink) {
  std::latch inside(1);
  std::atomic<bool> detaching{false};
  std::atomic<bool> left{false};
  sink.inside = [&](PLAYER_NOTIFY_CODE code) {
    if (code != PLAYER_NOTIFY_MEDIA_SAMPLE) return;
    inside.count_down();
    while (!detaching) std::this_thread::yield();
    left = true;
  };
  std::thread video([this] { videoFrame(0); });
  inside.wait();
  // Only a detaching main thread serves this message.
  platform::dispatchOnMainThread([&] { detaching = true; });
  player->setSink(nullptr);
  EXPECT_TRUE(left);
  sink.inside = [](PLAYER_NOTIFY_CODE) { ADD_FAILURE() << "entered after detaching"; };
  videoFrame(40);
  video.join();
}

TEST_F(BridgeThreads, DetachingServesTheAudioThreadThatWaitsForTheMainThread) {
  std::atomic<bool> atWork{false};
  std::thread audio([&] {
    atWork = true;
    audioBlock(44'100.0);  // a format: waits for the main thread
  });
  while (!atWork) std::this_thread::yield();
  player->setSink(nullptr);
  audio.join();
  EXPECT_LE(sink.samples.size(), 1U);
}

TEST_F(BridgeThreads, DetachingFromInsideTheFormatLetsTheAudioThreadGo) {
  sink.inside = [this](PLAYER_NOTIFY_CODE code) {
    if (code == PLAYER_NOTIFY_AUDIO_FORMAT) player->setSink(nullptr);
  };
  std::atomic<bool> ended{false};
  std::thread audio([&] {
    audioBlock(44'100.0);
    ended = true;
    platform::RunLoop::main().wake();
  });
  platform::RunLoop::main().waitServingMessages([&] { return ended.load(); });
  audio.join();
  EXPECT_TRUE(sink.samples.empty()) << "a sample after detaching";
}

TEST_F(BridgeThreads, DetachingFromInsideTheSinkDoesNotWaitForItself) {
  sink.inside = [this](PLAYER_NOTIFY_CODE code) {
    if (code == PLAYER_NOTIFY_MEDIA_SAMPLE) releasePlayer();
  };
  videoFrame(0);  // on the main thread, as a view's redraw may be
  sink.inside = nullptr;
  EXPECT_EQ(sink.samples.size(), 1U);
}

TEST_F(BridgeThreads, PlayerEndsAtAnyMomentOfARunningStream) {
  for (int round = 0; round < 30; ++round) {
    std::atomic<bool> stop{false};
    std::thread video([&] {
      for (std::uint32_t i = 0; !stop; ++i) {
        view->playing = i % 3 != 0;  // live frames, stills and cleared copies
        videoFrame(i);
      }
    });
    std::thread audio([&] {
      for (int i = 0; !stop; ++i) audioBlock(i % 2 == 0 ? 44'100.0 : 48'000.0);
    });
    for (int turn = 0; turn < round; ++turn) advance(0.05);
    // As the application does; the framework's threads end in willDie, served meanwhile.
    sink.player = nullptr;
    player->setSink(nullptr);
    const auto sent = sink.samples.size();
    stop = true;
    std::atomic<int> ended{0};
    std::thread joiner([&] {
      video.join();
      audio.join();
      ended = 1;
      platform::RunLoop::main().wake();
    });
    platform::RunLoop::main().waitServingMessages([&] { return ended == 1; });
    joiner.join();
    EXPECT_EQ(sink.samples.size(), sent) << "a sample after detaching";
    releasePlayer();
    listener = nullptr;
    advance(1.0);
    makeSource();
    listener = std::static_pointer_cast<AVUIProxy>(bridge->shared_from_this());
  }
}

}  // namespace
