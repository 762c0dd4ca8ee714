// The small parts of the engine: block cutting and the media clock.
#include <gmock/gmock.h>
#include <sys/resource.h>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <limits>
#include <vector>

extern "C" {
#include <libavutil/pixdesc.h>
}

#include "avcapture/AudioDecoder.h"
#include "avcapture/BufferPool.h"
#include "avcapture/Font.h"
#include "avcapture/MediaClock.h"
#include "avcapture/SeekFilter.h"
#include "avcapture/SideThread.h"
#include "avcapture/Upright.h"
#include "avcapture/VideoConverter.h"

namespace avcapture {

namespace {

using ::testing::ElementsAre;
using ::testing::Pair;

// Piece: when it begins, how many frames. Block: the same, as it comes out.
using Piece = std::pair<std::int64_t, std::size_t>;

std::vector<Piece> cut(SoundFormat format, const std::vector<Piece>& pieces) {
  BlockCutter cutter;
  std::vector<Piece> blocks;
  const auto takeAll = [&](bool rest) {
    while (auto block = cutter.take(rest)) {
      blocks.emplace_back(block->microseconds, block->frames());
    }
  };
  std::uint8_t value = 0;
  for (const auto& [time, frames] : pieces) {
    std::vector<std::uint8_t> samples(frames * format.bytesPerFrame(), ++value);
    const SoundBlock piece{time, format, samples};
    if (!cutter.accepts(piece)) takeAll(true);
    cutter.add(piece);
    takeAll(false);
  }
  takeAll(true);
  return blocks;
}

TEST(Font, IsOpenedOnceThereIsADescriptorForIt) {
  rlimit limit{};
  getrlimit(RLIMIT_NOFILE, &limit);
  const rlimit none{.rlim_cur = 0, .rlim_max = limit.rlim_max};
  setrlimit(RLIMIT_NOFILE, &none);
  const auto* const before = textFont();
  setrlimit(RLIMIT_NOFILE, &limit);
  EXPECT_EQ(before, nullptr);
  EXPECT_NE(textFont(), nullptr);
}

// As many as `held` at a time, in `rounds`; the last ones are given back, too.
void use(BufferPool& pool, std::size_t bytes, std::size_t held, int rounds) {
  std::vector<BufferPool::Buffer> buffers;
  for (int round = 0; round < rounds; ++round) {
    for (std::size_t i = 0; i < held; ++i) {
      buffers.push_back(pool.take(bytes));
      std::memset(buffers.back().get(), 1, bytes);
    }
    while (!buffers.empty()) {
      pool.giveBack(std::move(buffers.back()), bytes);
      buffers.pop_back();
    }
  }
}

TEST(BufferPool, HoldsWhatTheLatestPicturesNeeded) {
  constexpr std::size_t kBytes = 1000;
  BufferPool pool;
  use(pool, kBytes, 10, 1);
  EXPECT_EQ(pool.idle(), 10U);
  use(pool, kBytes, 2, 32);
  EXPECT_EQ(pool.idle(), 2U);
  use(pool, kBytes, 5, 100);
  EXPECT_EQ(pool.idle(), 5U) << "what is needed again and again stays";
  use(pool, kBytes + 1, 1, 1);
  EXPECT_EQ(pool.idle(), 1U) << "of the latest size";
  pool.giveBack(BufferPool().take(kBytes), kBytes);
  EXPECT_EQ(pool.idle(), 1U) << "of no other";
}

TEST(BufferPool, ShowsNothingOfWhatMemoryHeldBefore) {
  constexpr std::size_t kBytes = 100'000;
  { const std::vector<std::uint8_t> before(kBytes, 7); }
  const BufferPool::Buffer buffer = BufferPool().take(kBytes);
  EXPECT_EQ(std::count(buffer.get(), buffer.get() + kBytes, 0), std::ptrdiff_t{kBytes});
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(buffer.get()) % BufferPool::kAlignment, 0U);
}

// The scaler writes many pixels at a time, and none where as many have no room.
TEST(VideoConverter, DrawsPicturesOfAnyWidthToTheirEdges) {
  const AVStream stream{};
  const AVPixelFormat formats[] = {AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUVJ420P, AV_PIX_FMT_YUV422P,
                                   AV_PIX_FMT_YUVA420P, AV_PIX_FMT_NV12};
  std::vector<int> widths{270, 406, 854, 1366};
  for (int width = 2; width <= 70; ++width) widths.push_back(width);
  for (const AVPixelFormat format : formats) {
    VideoConverter converter(stream);
    for (const int width : widths) {
      for (const int height : {2, 3, 4}) {
        const FramePtr frame = makeFrame();
        frame->format = format;
        frame->width = width;
        frame->height = height;
        ASSERT_EQ(av_frame_get_buffer(frame.get(), 0), 0);
        for (std::size_t i = 0; i < 4 && frame->buf[i]; ++i)
          std::memset(frame->buf[i]->data, 180, frame->buf[i]->size);
        const auto picture = converter.convert(*frame);
        ASSERT_NE(picture, nullptr);
        const platform::Image& image = picture->image;
        for (std::uint32_t y = 0; y < image.height; ++y)
          for (std::uint32_t x = 0; x < image.width; ++x)
            ASSERT_EQ(std::memcmp(image.pixels + y * image.bytesPerRow + 3 * x, image.pixels, 3), 0)
                << av_get_pix_fmt_name(format) << ' ' << width << 'x' << height << ": " << x << ' '
                << y;
      }
    }
  }
}

TEST(BlockCutter, CutsToTwentyMilliseconds) {
  const SoundFormat narrow{8000, 1};
  const SoundFormat wide{44100, 2};
  EXPECT_THAT(cut(narrow, {{0, 400}}),
              ElementsAre(Pair(0, 160), Pair(20'000, 160), Pair(40'000, 80)));
  EXPECT_THAT(cut(narrow, {{0, 100}, {12'500, 100}}), ElementsAre(Pair(0, 160), Pair(20'000, 40)));
  // Timestamps rounded by their container leave no mark.
  EXPECT_THAT(cut(wide, {{0, 1024}, {23'000, 1024}, {46'000, 598}}),
              ElementsAre(Pair(0, 882), Pair(20'000, 882), Pair(40'000, 882)));
  // A gap does.
  EXPECT_THAT(cut(narrow, {{0, 160}, {500'000, 160}}),
              ElementsAre(Pair(0, 160), Pair(500'000, 160)));
  // What comes before it does not wait for what comes after.
  EXPECT_THAT(cut(narrow, {{0, 100}, {500'000, 160}, {100'000, 60}}),
              ElementsAre(Pair(0, 100), Pair(500'000, 160), Pair(100'000, 60)));
  EXPECT_THAT(cut(narrow, {{0, 100}, {500'000, 100}, {512'500, 100}}),
              ElementsAre(Pair(0, 100), Pair(500'000, 160), Pair(520'000, 40)));
  EXPECT_THAT(cut({3, 1}, {{0, 2}}), ElementsAre(Pair(0, 1), Pair(333'333, 1)));
}

TEST(BlockCutter, KeepsFormatsApart) {
  BlockCutter cutter;
  std::vector<std::uint8_t> samples(64);
  cutter.add({0, {8000, 1}, samples});
  EXPECT_TRUE(cutter.accepts({4'000, {8000, 1}, samples}));
  EXPECT_FALSE(cutter.accepts({4'000, {8000, 2}, samples}));
  EXPECT_FALSE(cutter.take(false));
  ASSERT_TRUE(cutter.take(true));
  EXPECT_TRUE(cutter.accepts({4'000, {8000, 2}, samples}));
  cutter.add({4'000, {8000, 2}, samples});
  const auto block = cutter.take(true);
  ASSERT_TRUE(block);
  EXPECT_EQ(block->microseconds, 4'000);
  EXPECT_EQ(block->frames(), 16U);
}

TEST(Timeline, StaysWithinWhatClocksCanCount) {
  constexpr auto kLeast = std::numeric_limits<std::int64_t>::min();
  constexpr auto kMost = std::numeric_limits<std::int64_t>::max();
  const Timeline seconds{{1, 1}, 0};
  EXPECT_EQ(seconds.microseconds(3), 3'000'000);
  const platform::ManualClock wall;
  MediaClock clock(wall);
  clock.start();
  for (const std::int64_t start : {kLeast, std::int64_t{0}, kMost}) {
    const Timeline timeline{{1, 1}, start};
    EXPECT_EQ(timeline.microseconds(start), 0);
    EXPECT_GE(timeline.microseconds(kMost), 0);
    EXPECT_LE(timeline.microseconds(kLeast), 0);
    EXPECT_EQ(clock.reached(timeline.microseconds(kMost)), start == kMost);
    EXPECT_TRUE(clock.reached(timeline.microseconds(kLeast)));
    EXPECT_EQ(timeline.milliseconds(kLeast), 0U);
  }
  EXPECT_EQ(seconds.milliseconds(kMost), seconds.microseconds(kMost) / 1000);
}

// Whole degrees: a fraction would be written, and read, by the locale.
TEST(Upright, AnglesAreWholeNumbers) {
  constexpr std::int32_t kCosine = 56756, kSine = 32768;  // of 30 degrees
  EXPECT_EQ(uprightFilters({kCosine, kSine, 0, -kSine, kCosine, 0, 0, 0, 1 << 30}),
            "rotate=30*PI/180");
}

TEST(MediaClock, RunsOnlyWhilePlayingAndDoesNotDrift) {
  platform::ManualClock wall;
  MediaClock clock(wall);
  clock.set(2'000'000);
  wall.advance(std::chrono::seconds(5));
  EXPECT_EQ(clock.now(), 2'000'000);
  clock.start();
  wall.advance(std::chrono::milliseconds(250));
  EXPECT_EQ(clock.now(), 2'250'000);
  EXPECT_EQ(clock.nextLook(2'500'000) - wall.now(), std::chrono::milliseconds(250));
  clock.start();  // runs already
  EXPECT_EQ(clock.now(), 2'250'000);
  wall.advance(std::chrono::hours(1));  // asleep
  EXPECT_FALSE(clock.reached(2'250'001));
  EXPECT_EQ(clock.now(), 2'250'000);
  EXPECT_LT(clock.nextLook(9'000'000) - wall.now(), std::chrono::seconds(1));
  clock.stop();
  wall.advance(std::chrono::seconds(1));
  EXPECT_EQ(clock.now(), 2'250'000);
  clock.start();
  EXPECT_TRUE(clock.reached(2'250'000));
  clock.set(0);
  EXPECT_FALSE(clock.running());
  EXPECT_EQ(clock.now(), 0);
}

// A seek into a group of pictures, shown at 0, 40, 80 and 120 ms and decoded in another order. Each
// picture comes out of the decoder when one more packet has been put in.
std::int64_t firstShown(std::int64_t target, std::int64_t decodedLate) {
  const std::int64_t shown[] = {0, 120'000, 40'000, 80'000, 160'000, 200'000, 240'000};
  SeekFilter filter;
  filter.restart(target);
  std::vector<std::int64_t> decoded;
  std::int64_t first = -1;
  const auto out = [&](const DecodedFrame& frame) {
    if (first < 0) first = frame.microseconds;
    return true;
  };
  std::int64_t time = -40'000 + decodedLate;
  for (const std::int64_t picture : shown) {
    if (!filter.passesOver(picture, time)) decoded.push_back(picture);
    time += 40'000;
    std::sort(decoded.begin(), decoded.end());
    for (; decoded.size() > 1; decoded.erase(decoded.begin()))
      filter.push({makeFrame(), decoded.front()}, out);
  }
  return first;
}

TEST(SeekFilter, IsExactWhateverAFileSaysOfTheTimeOfDecoding) {
  for (const std::int64_t late : {0, 40'000, 80'000, 400'000})
    for (const std::int64_t target : {40'000, 60'000, 80'000, 100'000, 120'000})
      EXPECT_EQ(firstShown(target, late), target / 40'000 * 40'000)
          << target << ", decoded late by " << late;
}

// Signals are for the host's threads, but a thread's own faults are not silenced: the host may keep
// a record of crashes.
TEST(SideThread, TakesItsOwnFaultsOnly) {
  sigset_t blocked;
  SideThread thread("av-test");
  ASSERT_EQ(thread.run([&] { return pthread_sigmask(SIG_SETMASK, nullptr, &blocked); }), 0);
  for (const int signal : {SIGTERM, SIGINT, SIGCHLD, SIGALRM, SIGUSR1})
    EXPECT_TRUE(sigismember(&blocked, signal)) << strsignal(signal);
  for (const int fault : {SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGSEGV, SIGSYS, SIGTRAP})
    EXPECT_FALSE(sigismember(&blocked, fault)) << strsignal(fault);
}

}  // namespace

}  // namespace avcapture
