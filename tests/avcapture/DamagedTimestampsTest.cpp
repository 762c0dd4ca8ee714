// Movies whose timestamps are damaged ahead: no picture stands for as long as they claim.
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

}  // namespace

}  // namespace avcapture::test
