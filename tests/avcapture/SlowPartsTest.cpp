// A part of FFmpeg that takes very long over a picture or a block of sound, as some do over huge
// ones.
#include <dlfcn.h>
#include <gmock/gmock.h>

#include <atomic>
#include <condition_variable>
#include <mutex>

#include "tests/avcapture/Support.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libswscale/swscale.h>
}

namespace avcapture::test {

namespace {

enum class Part { kNone, kPictureDecoder, kSoundDecoder, kConverter };

struct Gate {
  std::mutex mutex;
  std::condition_variable changed;
  Part shut = Part::kNone;
  int waiting = 0;
};
Gate& gate() {
  static Gate& instance = *new Gate;  // for threads that outlive the program's statics
  return instance;
}

void shut(Part part) {
  const std::lock_guard lock(gate().mutex);
  gate().shut = part;
  gate().changed.notify_all();
}

int waiting() {
  const std::lock_guard lock(gate().mutex);
  return gate().waiting;
}

// What that part goes through.
void pass(Part part) {
  std::unique_lock lock(gate().mutex);
  if (gate().shut != part) return;
  ++gate().waiting;
  gate().changed.wait(lock, [part] { return gate().shut != part; });
  --gate().waiting;
}

class SlowParts : public PlayerTest, public ::testing::WithParamInterface<Part> {
 public:
  void SetUp() override {
    open(movie);  // makes what the process keeps
    PlayerTest::TearDown();
    before = Footprint();
  }
  void TearDown() override {
    shut(Part::kNone);
    PlayerTest::TearDown();
    EXPECT_TRUE(returnsTo(before));
  }
  const std::string movie =
      clip("slow.avi", "-f lavfi -i testsrc2=s=160x120:r=25 -f lavfi -i sine -t 4 -c:v mjpeg");
  Footprint before;
};

// The part is still at it when the player has gone, and nobody has heard of it since.
TEST_P(SlowParts, HoldUpNobodyWhoStops) {
  openPaced(movie);
  player->onStart(nullptr);
  ASSERT_TRUE(
      pumpUntil([this] { return !recorder->frames().empty() && !recorder->soundTimes().empty(); }));
  shut(GetParam());
  ASSERT_TRUE(pumpUntil([] { return waiting() == 1; }));
  timed("stopping_ms", [this] {
    player->onStart(nullptr);  // pauses
    player->seek(1);
    player->onStop(nullptr);
    player->willDie();
    session.reset();
    player.reset();
  });
  EXPECT_EQ(waiting(), 1);
  recorder->clear();
  shut(Part::kNone);
  EXPECT_TRUE(returnsTo(before));
  EXPECT_TRUE(recorder->frames().empty());
  EXPECT_EQ(recorder->pcm(), "");
}
std::string nameOf(const ::testing::TestParamInfo<Part>& info) {
  constexpr const char* kNames[] = {"None", "PictureDecoder", "SoundDecoder", "Converter"};
  return kNames[static_cast<int>(info.param)];
}
INSTANTIATE_TEST_SUITE_P(Each, SlowParts,
                         ::testing::Values(Part::kPictureDecoder, Part::kSoundDecoder,
                                           Part::kConverter),
                         nameOf);

class SlowOpening : public SlowParts {};

// What is shown first is decoded to learn what it is; that is not waited for without end either.
TEST_F(SlowOpening, IsGivenUp) {
  shut(Part::kPictureDecoder);
  timed("refusing_ms", [this] { open(movie); });
  EXPECT_FALSE(accepted);
  EXPECT_EQ(player->failure(), "takes too long to open");
  EXPECT_EQ(waiting(), 1);
}

}  // namespace

}  // namespace avcapture::test

// In place of libavcodec's, which it calls.
extern "C" [[gnu::visibility("default")]] int avcodec_send_packet(AVCodecContext* codec,
                                                                  const AVPacket* packet) {
  static auto* const real =
      reinterpret_cast<decltype(&avcodec_send_packet)>(::dlsym(RTLD_NEXT, "avcodec_send_packet"));
  avcapture::test::pass(codec->codec_type == AVMEDIA_TYPE_VIDEO
                            ? avcapture::test::Part::kPictureDecoder
                            : avcapture::test::Part::kSoundDecoder);
  return real(codec, packet);
}
extern "C" [[gnu::visibility("default")]] int sws_scale(SwsContext* scaler,
                                                        const std::uint8_t* const* from,
                                                        const int* fromStrides, int firstRow,
                                                        int rows, std::uint8_t* const* to,
                                                        const int* toStrides) {
  static auto* const real = reinterpret_cast<decltype(&sws_scale)>(::dlsym(RTLD_NEXT, "sws_scale"));
  avcapture::test::pass(avcapture::test::Part::kConverter);
  return real(scaler, from, fromStrides, firstRow, rows, to, toStrides);
}
