// Movies whose timestamps are damaged ahead: no picture stands for as long as they claim. And
// movies that do stand still: what the sound beside it confirms is no damage.
#include <gtest/gtest.h>

#include <algorithm>
#include <string_view>

#include "tests/avcapture/Support.h"

namespace avcapture::test {

namespace {

using std::literals::operator""sv;

// How a container writes down that it lasts a second, and where: so far behind those bytes.
struct Length {
  const char* extension;
  std::string_view before;
  std::size_t behind;
  std::string_view second;
};
constexpr Length kMatroska{"mkv", "\x44\x89\x88"sv, 0, "\x40\x8f\x40\0\0\0\0\0"sv};
constexpr Length kMatroskaThatDoesNotSay{"mkv", "\x44\x89\x88"sv, 0, "\0\0\0\0\0\0\0\0"sv};
constexpr Length kFlash{"flv", "duration\0"sv, 0, "\x3f\xf0\0\0\0\0\0\0"sv};
constexpr Length kMp4{"mp4", "mvhd"sv, 16, "\0\0\x03\xe8"sv};

constexpr const char* kPicture = "-f lavfi -i testsrc2=s=320x240:r=25 -t 1 -c:v libx264 -bf 2 ";
constexpr const char* kInOrder = "-f lavfi -i testsrc2=s=320x240:r=25 -t 1 -c:v libx264 -bf 0 ";
constexpr const char* kSmallPicture = "-f lavfi -i testsrc2=s=320x240:r=25 -t 1 -c:v flv1 ";
constexpr const char* kBoth =
    "-f lavfi -i testsrc2=s=320x240:r=25 -f lavfi -i sine=f=440:r=44100 -t 1 -c:v libx264 -bf 2 "
    "-c:a aac ";

// Minutes at least, in the units of any of the containers.
#define HOURS "*9000000"
#define FROM_THE_MIDDLE_ON "setts=ts=TS+gte(N\\,12)" HOURS
#define ONE_ONLY "setts=pts=PTS+eq(N\\,12)" HOURS

struct Damage {
  const char* name;
  const Length& length;
  const char* movie;
  const char* damage;
};
const Damage kDamages[] = {
    {"FromTheMiddleOn", kMatroska, kPicture, "-bsf:v " FROM_THE_MIDDLE_ON},
    {"PictureAndSound", kMatroska, kBoth,
     "-bsf:v " FROM_THE_MIDDLE_ON " -bsf:a " FROM_THE_MIDDLE_ON},
    {"PictureBesideSound", kMatroska, kBoth, "-bsf:v " FROM_THE_MIDDLE_ON},
    {"SoundBesidePicture", kMatroska, kBoth, "-bsf:a " FROM_THE_MIDDLE_ON},
    {"OnePicture", kMatroska, kPicture, "-bsf:v " ONE_ONLY},
    {"OfUnknownLength", kMatroskaThatDoesNotSay, kPicture, "-bsf:v " FROM_THE_MIDDLE_ON},
    {"Flash", kFlash, kSmallPicture, "-bsf:v " FROM_THE_MIDDLE_ON},
    {"Mp4", kMp4, kInOrder, "-bsf:v " FROM_THE_MIDDLE_ON},
    {"Mp4OnePicture", kMp4, kPicture, "-bsf:v " ONE_ONLY},
};
void PrintTo(const Damage& damage, std::ostream* out) { *out << damage.name; }

class DamagedTimestamps : public PlayerTest, public ::testing::WithParamInterface<Damage> {};

TEST_P(DamagedTimestamps, AreNotWaitedFor) {
  const auto& [name, length, movie, damage] = GetParam();
  const std::string file = std::string("damaged") + name + "." + length.extension;
  std::string bytes = contentsOf(clip(file, std::string(movie) + damage));
  const std::size_t found = bytes.find(length.before);
  ASSERT_NE(found, std::string::npos);
  bytes.replace(found + length.before.size() + length.behind, length.second.size(), length.second);
  const std::string path = scratchPath(file + ".second");
  writeFile(path, bytes);
  open(path);
  playToTheEnd();
  EXPECT_EQ(recorder->frames().size(), 25U);
  std::uint32_t last = 0;
  for (const Frame& frame : recorder->frames()) {
    EXPECT_LE(frame.timestamp, last + 200);
    last = std::max(last, frame.timestamp);
  }
  EXPECT_NEAR(last, 960, 100);
  EXPECT_NEAR(player->currentTime(), 1.0, 0.2);
}
INSTANTIATE_TEST_SUITE_P(Of, DamagedTimestamps, ::testing::ValuesIn(kDamages),
                         [](const auto& each) { return std::string(each.param.name); });

// A second, nothing for 19 seconds, and a second more; what does not stand still goes on
// throughout.
#define MOVIE(secondsOfPicture, encoder, secondsOfSound)  \
  "-f lavfi -i testsrc2=s=64x48:r=10:d=" secondsOfPicture \
  " -f lavfi -i sine=r=44100:d=" secondsOfSound " -c:v " encoder " -c:a mp2 "
#define STILL_PICTURE(encoder) MOVIE("2", encoder, "21") "-bsf:v setts=ts=TS+gte(N\\,10)*19*"
#define STILL_SOUND MOVIE("21", "mpeg2video", "2") "-bsf:a setts=ts=TS+gte(N\\,38)*19*"
#define STILL_BOTH(units)          \
  MOVIE("2", "libx264 -bf 0", "2") \
  "-bsf:v setts=ts=TS+gte(N\\,10)*19*" units " -bsf:a setts=ts=TS+gte(N\\,38)*19*" units
struct Still {
  const char* name;
  const char* extension;
  const char* movie;
  std::uint32_t goesOn;  // when pictures do, in milliseconds
};
const Still kStills[] = {
    {"PictureOfUnknownLength", "mkv", STILL_PICTURE("mpeg2video") "1000 -live 1", 20'000},
    {"WebPictureOfUnknownLength", "mkv", STILL_PICTURE("libvpx") "1000 -live 1", 20'000},
    {"BroadcastPicture", "ts", STILL_PICTURE("mpeg2video") "90000", 20'000},
    {"SoundOfUnknownLength", "mkv", STILL_SOUND "1000 -live 1", 20'000},
    {"BroadcastSound", "ts", STILL_SOUND "90000", 20'000},
    {"BroadcastOfNeither", "ts", STILL_BOTH("90000"), 1'000},
};
void PrintTo(const Still& still, std::ostream* out) { *out << still.name; }

class StandingStill : public PlayerTest, public ::testing::WithParamInterface<Still> {};

TEST_P(StandingStill, KeepsPictureAndSoundTogether) {
  const auto& [name, extension, movie, goesOn] = GetParam();
  open(clip(std::string("still") + name + "." + extension, movie));
  playToTheEnd();
  const std::vector<Frame> frames = recorder->frames();
  const std::vector<std::uint32_t> sounds = recorder->soundTimes();
  ASSERT_GE(frames.size(), 20U);
  ASSERT_FALSE(sounds.empty());
  for (std::uint32_t i = 0; i < 10; ++i) {
    EXPECT_NEAR(frames[i].timestamp, 100 * i, 100);
    EXPECT_NEAR(frames[frames.size() - 10 + i].timestamp, goesOn + 100 * i, 100);
  }
  EXPECT_NEAR(sounds.back(), goesOn + 1'000, 500);
  EXPECT_NEAR(player->currentTime(), goesOn / 1000.0 + 1.0, 0.5);
}
INSTANTIATE_TEST_SUITE_P(Of, StandingStill, ::testing::ValuesIn(kStills),
                         [](const auto& each) { return std::string(each.param.name); });

}  // namespace

}  // namespace avcapture::test
