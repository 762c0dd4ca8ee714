// A decoder that takes very long over a picture, as some do over huge ones.
#include <dlfcn.h>
#include <gmock/gmock.h>

#include <atomic>
#include <condition_variable>
#include <mutex>

#include "tests/avcapture/Support.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace avcapture::test {

namespace {

struct Gate {
  std::mutex mutex;
  std::condition_variable changed;
  bool shut = false;
  int waiting = 0;
};
Gate& gate() {
  static Gate& instance = *new Gate;  // for threads that outlive the program's statics
  return instance;
}

void shut(bool shut) {
  const std::lock_guard lock(gate().mutex);
  gate().shut = shut;
  gate().changed.notify_all();
}

int waiting() {
  const std::lock_guard lock(gate().mutex);
  return gate().waiting;
}

// What video decoders go through.
void pass() {
  std::unique_lock lock(gate().mutex);
  ++gate().waiting;
  gate().changed.wait(lock, [] { return !gate().shut; });
  --gate().waiting;
}

class SlowDecoder : public PlayerTest {
 public:
  void SetUp() override {
    open(seekClip());  // makes what the process keeps
    PlayerTest::TearDown();
    before = Footprint();
  }
  void TearDown() override {
    shut(false);
    PlayerTest::TearDown();
    EXPECT_TRUE(returnsTo(before));
  }
  Footprint before;
};

// The picture is still being decoded when the player has gone, and nobody has heard of it since.
TEST_F(SlowDecoder, HoldsUpNobodyWhoStops) {
  openPaced(seekClip());
  player->onStart(nullptr);
  ASSERT_TRUE(pumpUntil([this] { return !recorder->frames().empty(); }));
  shut(true);
  ASSERT_TRUE(pumpUntil([] { return waiting() == 1; }));
  player->onStart(nullptr);  // pauses
  player->seek(1);
  player->onStop(nullptr);
  player->willDie();
  session.reset();
  player.reset();
  EXPECT_EQ(waiting(), 1);
  recorder->clear();
  shut(false);
  EXPECT_TRUE(returnsTo(before));
  EXPECT_TRUE(recorder->frames().empty());
}

}  // namespace

}  // namespace avcapture::test

// In place of libavcodec's, which it calls.
extern "C" [[gnu::visibility("default")]] int avcodec_send_packet(AVCodecContext* codec,
                                                                  const AVPacket* packet) {
  static auto* const real =
      reinterpret_cast<decltype(&avcodec_send_packet)>(::dlsym(RTLD_NEXT, "avcodec_send_packet"));
  if (codec->codec_type == AVMEDIA_TYPE_VIDEO) avcapture::test::pass();
  return real(codec, packet);
}
