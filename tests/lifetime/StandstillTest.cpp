// Objects that end while something that their movie needs stands still.
#include <algorithm>
#include <atomic>
#include <string>
#include <string_view>
#include <thread>

#include "tests/avcapture/FaultyDisk.h"
#include "tests/avcapture/Loudspeaker.h"
#include "tests/avcapture/SlowParts.h"
#include "tests/lifetime/Left.h"
#include "tests/lifetime/Life.h"
#include "tests/meeting/ClipTest.h"

namespace lifetime {
namespace {

using avcapture::test::Part;

// What stands still beside the loudspeaker.
struct Standstill {
  const char* name;
  unsigned parts = 0;  // of FFmpeg, bits of Part
  int threads = 0;     // that these hold up
  bool disk = false;
};

const Standstill kNoneBeside = {.name = "Loudspeaker"};
const Standstill kStandstills[] = {
    kNoneBeside,
    {.name = "Disk", .disk = true},
    {.name = "PictureDecoder", .parts = unsigned(Part::kPictureDecoder), .threads = 1},
    {.name = "SoundDecoder", .parts = unsigned(Part::kSoundDecoder), .threads = 1},
    {.name = "Converter", .parts = unsigned(Part::kConverter), .threads = 1},
    {.name = "Everything", .parts = ~0U, .threads = 3, .disk = true},
};

class StandstillTest : public meeting::ClipTest, public testing::WithParamInterface<Standstill> {
 protected:
  void TearDown() override {
    avcapture::test::setSlow(0);
    avcapture::test::setHanging(false);
    avcapture::test::setFaults({});
    ::setenv("SDL_AUDIODRIVER", "dummy", 1);  // NOLINT(concurrency-mt-unsafe)
  }

  // A life that plays until all of that stands still, and ends before it goes on.
  void live(const Standstill& what) {
    const std::string file = clipOf("still.mkv", "testsrc2=rate=25:size=320x180", 10);
    avcapture::test::setFaults({.path = file});
    const contract::Module module;
    const avcapture::test::Loudspeaker loudspeaker(in("loudspeaker"));
    const auto life =
        std::make_shared<Life>(module, Kind{.name = "source", .source = true, .paced = true}, file);
    avcapture::setPlaybackOptions({.paced = true, .decoderThreads = 1, .localSound = true});
    life->live(life->start());
    const std::vector<Step> more = life->everything();
    const auto act = [&more](std::string_view name) {
      std::ranges::find(more, name, &Step::name)->act();
    };
    act("play");
    ASSERT_TRUE(Life::turnUntil([&] { return loudspeaker.standsStill(); }));
    avcapture::test::setSlow(what.parts);
    const auto slow = [&] { return avcapture::test::waitingForParts() == what.threads; };
    ASSERT_TRUE(Life::turnUntil(slow));
    avcapture::test::setHanging(what.disk);
    if (what.disk) act("seek");
    const auto hangs = [&] { return avcapture::test::hanging() == (what.disk ? 1 : 0); };
    ASSERT_TRUE(Life::turnUntil(hangs));
    act("stop");
    act("hide");
    life->end();
    EXPECT_TRUE(slow());
    EXPECT_TRUE(hangs());
    EXPECT_TRUE(loudspeaker.standsStill());
    TearDown();
  }
};

TEST_P(StandstillTest, HoldsUpNoEnd) {
  std::thread([] {}).join();  // with the first, a sanitizer begins one of its own
  const std::ptrdiff_t threads = Left().threads;
  live(kNoneBeside);  // makes what the process keeps
  ASSERT_TRUE(Life::turnUntil([&] { return Left().threads == threads; }));
  const Left held;
  live(GetParam());
  EXPECT_TRUE(Life::turnUntil([&] { return Left() == held; })) << held << '\n' << Left();
  RecordProperty("longest_call_ms", std::to_string(Life::longestCall.count() * 1000));
}

INSTANTIATE_TEST_SUITE_P(Each, StandstillTest, testing::ValuesIn(kStandstills),
                         [](const auto& test) { return std::string(test.param.name); });

}  // namespace
}  // namespace lifetime
