// Movies that are whole, but claim or hold what few do.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <limits>

#include "tests/avcapture/Support.h"

namespace avcapture::test {

namespace {

using OddMovies = PlayerTest;

// An index of pictures leads nowhere near the first sound.
TEST_F(OddMovies, OneWhosePictureBeginsLateKeepsItsSound) {
  const std::string late =
      "-f lavfi -i sine=f=440:r=48000:d=8 -itsoffset 6 -f lavfi -i testsrc2=s=64x48:r=25:d=2 ";
  for (const char* container : {"mkv", "nut", "mov"}) {
    SCOPED_TRACE(container);
    const std::string path =
        clip(std::string("late.") + container, late + "-fps_mode vfr -c:a pcm_s16le -c:v mpeg4");
    recorder = std::make_shared<Recorder>();
    delegate.calls.clear();
    open(path);
    playToTheEnd();
    EXPECT_EQ(recorder->frames().size(), 50U);
    const std::string whole = recorder->pcm();
    EXPECT_EQ(whole.size(), 8U * 96'000);

    recorder->clear();
    delegate.calls.clear();
    playToTheEnd();
    EXPECT_TRUE(recorder->pcm() == whole) << "from the beginning again: " << recorder->pcm().size();
    EXPECT_EQ(recorder->frames().size(), 50U);

    player->onStop(nullptr);
    player->seek(2.0F);
    recorder->clear();
    delegate.calls.clear();
    playToTheEnd();
    EXPECT_EQ(recorder->soundTimes().front(), 2000U);
    EXPECT_TRUE(recorder->pcm() == whole.substr(2 * 96'000)) << recorder->pcm().size();
    EXPECT_EQ(recorder->frames().size(), 50U);
    TearDown();
  }
}

// Header and one second of silence, whatever rate it says that is.
std::string soundOf(std::uint32_t rate, const char* name) {
  const std::string path = clip(name, "-f lavfi -i anullsrc=r=8000:cl=mono -t 1 -c:a pcm_s16le");
  std::string bytes = contentsOf(path);
  for (std::size_t i = 0; i < 4; ++i) {
    bytes[24 + i] = static_cast<char>(rate >> (8 * i));
    bytes[28 + i] = static_cast<char>(rate * 2 >> (8 * i));  // bytes a second
  }
  writeFile(path, bytes);
  return path;
}

TEST_F(OddMovies, WhatCannotBeToldIsRefused) {
  const std::string wide = "-f lavfi -i color=s=70000x16:r=1:d=1 ";
  const std::string paths[] = {
      soundOf(std::numeric_limits<std::int32_t>::max(), "fast.wav"),
      clip("wide.mkv", wide + "-c:v png"),
      clip("high.mkv", wide + "-vf transpose -c:v png"),
      clip("channels.wav", "-f s16le -ar 8000 -ac 65 -i /dev/zero -t 0.1 -c copy"),
  };
  for (const std::string& path : paths) {
    SCOPED_TRACE(path);
    open(path);
    EXPECT_FALSE(accepted);
    EXPECT_EQ(player->failure(), "no picture or sound that can be played");
    TearDown();
  }
}

TEST_F(OddMovies, PictureThatCannotBeToldLeavesTheSound) {
  open(clip("wideWithSound.mkv",
            "-f lavfi -i color=s=70000x16:r=1:d=1 -f lavfi -i sine -t 1 -c:v png -c:a pcm_s16le"));
  ASSERT_TRUE(accepted);
  EXPECT_EQ(player->mediaType(), kMediaTypeAudio);
}

TEST_F(OddMovies, LengthFitsMillisecondsOf32Bits) {
  const std::string path = soundOf(1, "slow.wav");
  std::string bytes = contentsOf(path);
  for (const std::size_t size : {std::size_t{4}, bytes.find("data") + 4}) {
    bytes.replace(size, 4, "\xff\xff\xff\x7f");
  }
  writeFile(path, bytes);
  std::filesystem::resize_file(path, std::size_t{1} << 31);  // a hole
  open(path);
  ASSERT_TRUE(accepted);
  EXPECT_EQ(player->duration(), std::numeric_limits<std::int32_t>::max() / 1000);
  std::filesystem::remove(path);
}

// Neither a movie that a list names, nor one that somebody would send.
TEST_F(OddMovies, NothingButTheFileIsOpened) {
  const std::filesystem::path before = std::filesystem::current_path();
  const std::filesystem::path movie = clip("named.mp4", "-f lavfi -i testsrc2=s=64x48:d=1");
  std::filesystem::current_path(movie.parent_path());  // lists name their files from here
  const char* const contents[] = {
      "ffconcat version 1.0\nfile named.mp4\n",
      "v=0\no=- 0 0 IN IP4 127.0.0.1\ns=x\nc=IN IP4 127.0.0.1\nt=0 0\nm=video 45004 RTP/AVP 96\n"
      "a=rtpmap:96 H264/90000\n",
  };
  for (const char* const text : contents) {
    const std::string path = movie.parent_path() / "list.mp4";
    writeFile(path, text);
    open(path);
    EXPECT_FALSE(accepted) << text;
    EXPECT_EQ(player->failure(), "damaged, or of an unknown format") << text;
  }
  std::filesystem::current_path(before);
}

// The index is whole, of what it leads to nothing.
std::string hollow(const std::string& path) {
  std::string bytes = contentsOf(path);
  const std::size_t data = bytes.find("mdat") + 4, index = bytes.find("moov", data) - 4;
  bytes.replace(data, index - data, index - data, '\0');
  writeFile(path, bytes);
  return path;
}

TEST_F(OddMovies, OneOfWhichNothingDecodesSaysSo) {
  const std::pair<const char*, std::string> cases[] = {
      {"no picture could be decoded",
       hollow(clip("noPicture.mp4", "-f lavfi -i testsrc2=s=64x48:d=1 -c:v libx264"))},
      {"no picture could be converted",
       clip("strange.nut",
            "-f rawvideo -pix_fmt uyyvyy411 -s 64x48 -r 25 -i /dev/zero -frames:v 5 -c copy")},
      {"no sound could be decoded",
       hollow(clip("noSound.mp4", "-f lavfi -i sine=d=1:r=48000 -c:a alac"))},
  };
  for (const auto& [reason, path] : cases) {
    delegate.calls.clear();
    open(path);
    ASSERT_TRUE(accepted) << reason;
    player->seek(0);  // done once all has been read ahead
    ASSERT_TRUE(pumpUntil([&] { return delegate.count("skip") == 1; }));
    EXPECT_EQ(player->failure(), "") << "before it is played";
    playToTheEnd();
    EXPECT_EQ(player->failure(), reason);
    TearDown();
  }
}

}  // namespace

}  // namespace avcapture::test
