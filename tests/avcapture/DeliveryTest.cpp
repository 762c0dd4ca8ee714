// What arrives at the stream listener, against what the ffmpeg program makes of the same file.
#include <gmock/gmock.h>

#include <chrono>
#include <cmath>

#include "tests/avcapture/Support.h"

namespace avcapture::test {

namespace {

using ::testing::ElementsAreArray;

#define PICTURE "-f lavfi -i testsrc2=s=320x240:r=25 "
#define SOUND "-f lavfi -i sine=f=440:r=44100 "

// How a camera was held: the first two columns of the display matrix, in units of 1.
struct Held {
  const char* how;
  double a, b, c, d;
  const char* size;
};

class EveryAttitude : public PlayerTest, public ::testing::WithParamInterface<Held> {};

void putBigEndian(std::string& bytes, std::size_t at, double units) {
  const auto value = static_cast<std::uint32_t>(std::lround(units * 65536));
  for (unsigned i = 0; i < 4; ++i) bytes[at + i] = static_cast<char>(value >> (24 - 8 * i));
}

TEST_P(EveryAttitude, StandsUpright) {
  const Held& held = GetParam();
  std::string bytes = contentsOf(clip("level.mp4", PICTURE "-t 0.4 -c:v libx264 -pix_fmt yuv420p"));
  const std::size_t matrix = bytes.find("tkhd") + 44;
  putBigEndian(bytes, matrix, held.a);
  putBigEndian(bytes, matrix + 4, held.b);
  putBigEndian(bytes, matrix + 12, held.c);
  putBigEndian(bytes, matrix + 16, held.d);
  const std::string path = scratchPath(std::string(held.how) + ".mp4");
  writeFile(path, bytes);
  open(path);
  playToTheEnd();
  EXPECT_THAT(recorder->frames(), ElementsAreArray(expectedFrames(path, held.size)));
}

const Held kAttitudes[] = {
    {"level", 1, 0, 0, 1, "320x240"},
    {"clockwise", 0, 1, -1, 0, "240x320"},
    {"upside_down", -1, 0, 0, -1, "320x240"},
    {"counterclockwise", 0, -1, 1, 0, "240x320"},
    {"mirrored", -1, 0, 0, 1, "320x240"},
    {"flipped", 1, 0, 0, -1, "320x240"},
    {"transposed", 0, 1, 1, 0, "240x320"},
    {"transposed_twice", 0, -1, -1, 0, "240x320"},
    {"askew", 0.866, 0.5, -0.5, 0.866, "320x240"},
};
INSTANTIATE_TEST_SUITE_P(Camera, EveryAttitude, ::testing::ValuesIn(kAttitudes),
                         [](const auto& each) { return std::string(each.param.how); });

using Delivery = PlayerTest;

TEST_F(Delivery, FollowsAChangeOfSizeInTheMiddle) {
  const std::string large = clip("large.ts", PICTURE "-t 1 -c:v mpeg2video");
  const std::string small =
      clip("small.ts", "-f lavfi -i testsrc2=s=160x120:r=25 -t 1 -c:v mpeg2video");
  const std::string both = clip("both.ts", "-i concat:" + large + "|" + small + " -c copy");
  open(both);
  playToTheEnd();
  const std::vector<Frame> frames = recorder->frames();
  ASSERT_GE(frames.size(), 48U);
  EXPECT_EQ(frames.front().width, 320U);
  EXPECT_EQ(frames.back().width, 160U);
  EXPECT_EQ(frames.back().height, 120U);
}

// Recordings that were put together: their timestamps begin anew, or leap ahead.
TEST_F(Delivery, LeapsOfTimestampsAreFolded) {
  const auto part = [](const char* offset) {
    return clip(
        std::string("part") + offset + ".ts",
        std::string(PICTURE SOUND "-t 1 -c:v mpeg2video -bf 2 -c:a mp2 -output_ts_offset ") +
            offset);
  };
  const std::pair<const char*, const char*> leaps[] = {{"0", "300"}, {"300", "0"}, {"0", "0"}};
  for (const auto& [first, second] : leaps) {
    SCOPED_TRACE(std::string(first) + " to " + second);
    const std::string path = scratchPath(std::string("leap") + first + second + ".ts");
    writeFile(path, contentsOf(part(first)) + contentsOf(part(second)));
    recorder = std::make_shared<Recorder>();
    delegate.calls.clear();
    open(path);
    playToTheEnd();
    std::uint32_t last = 0;
    EXPECT_GE(recorder->frames().size(), 48U);
    for (const Frame& frame : recorder->frames()) {
      EXPECT_GE(frame.timestamp, last);
      EXPECT_LE(frame.timestamp, last + 200);
      last = frame.timestamp;
    }
    EXPECT_NEAR(last, 2000, 200);
    EXPECT_NEAR(recorder->soundTimes().back(), 2000, 200);
    EXPECT_NEAR(player->currentTime(), 2.0, 0.2);
    TearDown();
  }
}

TEST_F(Delivery, LastPictureStaysForAsLongAsItLasts) {
  const std::string even = clip("even.mp4", PICTURE "-frames:v 3 -c:v libx264 -bf 0");
  openPaced(clip("long_last.mp4", "-i " + even + " -c copy -bsf:v setts=duration=1/TB"));
  EXPECT_EQ(player->duration(), 1);
  const auto begin = std::chrono::steady_clock::now();
  playToTheEnd();
  EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(1000));
}

TEST_F(Delivery, DescribesSoundAndCutsItToEvenBlocks) {
  open(standardClip());
  playToTheEnd();
  const AudioStreamBasicDescription description = recorder->description();
  EXPECT_EQ(description.mSampleRate, 44100.0);
  EXPECT_EQ(description.mFormatID, kAudioFormatLinearPCM);
  EXPECT_EQ(description.mBytesPerPacket, 4U);
  EXPECT_EQ(description.mChannelsPerFrame, 2U);
  EXPECT_EQ(description.mBitsPerChannel, 16U);
  const std::vector<std::uint32_t> times = recorder->soundTimes();
  ASSERT_GE(times.size(), 50U);
  for (std::uint32_t i = 0; i < 50; ++i) EXPECT_EQ(times[i], i * 20);
}

// The clock waits for whoever prepares for what was announced, so that nothing comes late then.
TEST_F(Delivery, BeginsWhenBothListenersHavePrepared) {
  openPaced(standardClip());
  std::atomic<int> preparing{0};
  std::atomic<bool> held{true};
  recorder->onAnnounced = [&] {
    ++preparing;
    held.wait(true);
  };
  player->onStart(nullptr);
  ASSERT_TRUE(pumpUntil([&] { return preparing == 2; }));
  pumpUntil([end = std::chrono::steady_clock::now() + std::chrono::milliseconds(100)] {
    return std::chrono::steady_clock::now() > end;
  });
  EXPECT_TRUE(recorder->frames().empty());
  EXPECT_TRUE(recorder->soundTimes().empty());
  held = false;
  held.notify_all();
  ASSERT_TRUE(pumpUntil([&] { return delegate.count("stop") > 0; }));
  EXPECT_EQ(preparing, 2);
  EXPECT_EQ(recorder->frames().size(), 25U - player->statistics().framesDropped);
}

// While the picture's listener does not return, sound goes on; when it does, pictures whose time
// has passed are left out, and the rest come in order.
TEST_F(Delivery, DropsLatePicturesWhenPaced) {
  openPaced(standardClip());
  std::atomic<bool> held{true};
  recorder->onImage = [&] { held.wait(true); };
  player->onStart(nullptr);
  ASSERT_TRUE(pumpUntil([&] {
    const std::vector<std::uint32_t> times = recorder->soundTimes();
    return !times.empty() && times.back() >= 500;
  }));
  held = false;
  held.notify_all();
  ASSERT_TRUE(pumpUntil([&] { return delegate.count("stop") > 0; }));
  const PlaybackStatistics statistics = player->statistics();
  EXPECT_GE(statistics.framesDropped, 1U);
  EXPECT_EQ(statistics.framesDropped + statistics.framesDelivered, 25U);
  const std::vector<Frame> frames = recorder->frames();
  EXPECT_TRUE(std::is_sorted(frames.begin(), frames.end(), [](const Frame& a, const Frame& b) {
    return a.timestamp < b.timestamp;
  }));
}

}  // namespace

}  // namespace avcapture::test
