// How much memory a shared movie holds: all that the process has allocated, against the bounds that
// are promised.
#include <malloc.h>

#include <algorithm>
#include <filesystem>

#include "tests/avcapture/Support.h"
#include "tests/support/Sanitizers.h"

namespace avcapture::test {

namespace {

constexpr std::size_t kKiB = 1024;
constexpr std::size_t kMiB = 1024 * kKiB;

// What the table of promises says.
constexpr std::size_t kPacketsAhead = 512 * kKiB;
constexpr std::size_t kPacketsInSearch = 64 * kMiB;
constexpr std::size_t kBlocks = 160 * kKiB;
constexpr std::size_t kPicturesDecoded = 2;
constexpr std::size_t kPicturesConverted = 4;
// What FFmpeg and the player take beside it, whatever the movie.
constexpr std::size_t kAnyMovie = 2 * kMiB;

std::size_t allocated() {
  const struct mallinfo2 heap = ::mallinfo2();
  return heap.uordblks + heap.hblkhd;
}

// What FFmpeg keeps in a transport stream for a packet of 28,676 bytes, the size of this sound's.
constexpr std::size_t kRoundedUp = 32 * kKiB + 64;

// With packets as large as pictures of 12 bits a pixel.
struct Movie {
  const char* file;
  std::size_t width, height;
  const char* arguments;
  std::size_t packets;  // that wait, but for one of each stream
  float seekTo;
};
#define RAW " -c:v rawvideo -pix_fmt yuv420p -allow_raw_vfw 1 -c:a pcm_s16le"
const Movie kMovies[] = {
    {"large.mkv", 1280, 720, "-f lavfi -i testsrc2=s=1280x720:r=25 -frames:v 30" RAW, kPacketsAhead,
     0},
    {"sound_behind.mkv", 640, 480,
     "-f lavfi -i testsrc2=s=640x480:r=25 -itsoffset 7.9 -f lavfi -i sine -t 8" RAW,
     kPacketsInSearch, 0},
    {"picture_behind.ts", 64, 36,
     "-f lavfi -i anoisesrc=r=48000,aformat=channel_layouts=7.1 -itsoffset 79.9 "
     "-f lavfi -i testsrc2=s=64x36:r=25 -t 80 -c:v mpeg2video -c:a s302m -strict -2",
     kPacketsInSearch / 28'676 * kRoundedUp, 70},
};
void PrintTo(const Movie& movie, std::ostream* out) { *out << movie.file; }

class Memory : public PlayerTest, public ::testing::WithParamInterface<Movie> {};

TEST_P(Memory, StaysWithinItsBounds) {
  if (kAddressSanitizer || kThreadSanitizer) GTEST_SKIP() << "their allocators don't tell";
  const Movie& movie = GetParam();
  const std::string path = clip(movie.file, movie.arguments);
  const std::size_t pixels = movie.width * movie.height;
  const std::size_t bound = movie.packets + 2 * (pixels * 3 / 2) + kBlocks +
                            kPicturesDecoded * (pixels * 3 / 2) + kPicturesConverted * pixels * 3 +
                            kAnyMovie;
  open(standardClip());  // makes what the process keeps
  TearDown();
  const std::size_t before = allocated();
  std::size_t most = 0;
  const auto ends = [&](const char* call) {
    return pumpUntil([&] {
      most = std::max(most, allocated());
      return delegate.count(call) > 0;
    });
  };
  recorder->onSound = [this] { recorder->clear(); };  // what it has written down is not the movie's
  open(path);
  ASSERT_TRUE(accepted);
  if (movie.seekTo > 0) {
    player->seek(movie.seekTo);
    ASSERT_TRUE(ends("skip"));
  }
  player->onStart(nullptr);
  ASSERT_TRUE(ends("stop"));
  EXPECT_LE(most - before, bound);
  // The bound is one of the player's, not of the file's.
  EXPECT_GT(std::filesystem::file_size(path), bound + bound / 8);
}
INSTANTIATE_TEST_SUITE_P(Of, Memory, ::testing::ValuesIn(kMovies), [](const auto& each) {
  const std::string file = each.param.file;
  return file.substr(0, file.find('.'));
});

}  // namespace

}  // namespace avcapture::test
