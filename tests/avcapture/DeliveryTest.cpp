// What arrives at the stream listener, against what the ffmpeg program makes of the same file.
#include <gmock/gmock.h>

#include <fstream>
#include <numeric>

#include "tests/avcapture/Support.h"

namespace avcapture::test {

namespace {

using ::testing::ElementsAreArray;

// A clip: how it is made, and what comes out of it.
struct Clip {
  const char* name;
  const char* arguments;
  const char* size;  // "WIDTHxHEIGHT" of the pictures, empty without
  MediaType type;
  double fps = 25;
};
// NOLINTNEXTLINE(misc-use-internal-linkage): found by name
void PrintTo(const Clip& clip, std::ostream* out) { *out << clip.name; }

#define PICTURE "-f lavfi -i testsrc2=s=320x240:r=25 "
#define SOUND "-f lavfi -i sine=f=440:r=44100 "

const Clip kClips[] = {
    {"h264.mp4", PICTURE SOUND "-t 1 -ac 2 -c:v libx264 -bf 2 -pix_fmt yuv420p -c:a aac", "320x240",
     kMediaTypeAudioVideo},
    {"bt709.mp4",
     PICTURE "-t 1 -c:v libx264 -pix_fmt yuv420p -colorspace bt709 -color_primaries bt709 "
             "-color_trc bt709 -color_range tv",
     "320x240", kMediaTypeVideo},
    {"full.mp4", PICTURE "-t 1 -c:v libx264 -pix_fmt yuvj420p", "320x240", kMediaTypeVideo},
    {"ten_bit.mkv", PICTURE "-t 1 -c:v libx265 -x265-params log-level=none -pix_fmt yuv420p10le",
     "320x240", kMediaTypeVideo},
    {"vp9.webm", PICTURE SOUND "-t 1 -c:v libvpx-vp9 -cpu-used 8 -deadline realtime -c:a libopus",
     "320x240", kMediaTypeAudioVideo},
    {"theora.ogv", PICTURE SOUND "-t 1 -c:v libtheora -c:a libvorbis", "320x240",
     kMediaTypeAudioVideo},
    {"mpeg4.avi", PICTURE SOUND "-t 1 -c:v mpeg4 -bf 2 -c:a libmp3lame", "320x240",
     kMediaTypeAudioVideo},
    {"odd.mp4", "-f lavfi -i testsrc2=s=317x239:r=25 -t 1 -c:v libx264 -pix_fmt yuv444p", "317x239",
     kMediaTypeVideo},
    {"odd_height.avi", "-f lavfi -i testsrc2=s=317x239:r=25 -t 1 -c:v mpeg4", "317x239",
     kMediaTypeVideo},
    {"variable.mkv",
     PICTURE "-t 2 -vf select='not(mod(n,3))+eq(mod(n,7),1)' -fps_mode vfr -c:v libx264 -bf 2 "
             "-pix_fmt yuv420p",
     "320x240", kMediaTypeVideo},
    {"late_start.mkv", PICTURE SOUND "-t 1 -output_ts_offset 5 -c:v libx264 -pix_fmt yuv420p",
     "320x240", kMediaTypeAudioVideo},
    {"sound.mp3", SOUND "-t 1 -c:a libmp3lame", "", kMediaTypeAudio, 0},
    {"sound.wav", "-f lavfi -i sine=f=440:r=8000 -t 1 -ac 1", "", kMediaTypeAudio, 0},
    {"sound.flac", "-f lavfi -i sine=f=440:r=96000 -t 1 -ac 6 -sample_fmt s32", "", kMediaTypeAudio,
     0},
    {"no_sound.webm", PICTURE "-t 1 -c:v libvpx-vp9 -cpu-used 8 -deadline realtime", "320x240",
     kMediaTypeVideo},
};

std::string expectedPcm(const std::string& path) {
  return output({"ffmpeg", "-v", "error", "-i", path, "-vn", "-f", "s16le", "-"});
}

class EveryClip : public PlayerTest, public ::testing::WithParamInterface<Clip> {};

TEST_P(EveryClip, ComesOutBitForBit) {
  const Clip& wanted = GetParam();
  const std::string path = clip(wanted.name, wanted.arguments);
  open(path);
  ASSERT_TRUE(accepted);
  EXPECT_EQ(player->mediaType(), wanted.type);
  playToTheEnd();
  if ((wanted.type & kMediaTypeVideo) != 0) {
    EXPECT_THAT(recorder->frames(), ElementsAreArray(expectedFrames(path, wanted.size)));
  } else {
    EXPECT_TRUE(recorder->frames().empty());
    EXPECT_EQ(player->fps(), wanted.fps);
  }
  if ((wanted.type & kMediaTypeAudio) != 0) {
    EXPECT_TRUE(recorder->pcm() == expectedPcm(path)) << recorder->pcm().size();
  }
  EXPECT_EQ(player->statistics().framesDropped, 0U);
}

INSTANTIATE_TEST_SUITE_P(Media, EveryClip, ::testing::ValuesIn(kClips), [](const auto& each) {
  std::string name = each.param.name;
  std::replace(name.begin(), name.end(), '.', '_');
  return name;
});

}  // namespace

}  // namespace avcapture::test
