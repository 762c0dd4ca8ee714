// Checks of the files that are named on the command line, each a test by itself:
//
//   Straight  every picture and all sound, against what the ffmpeg program makes of the file
//   Seeks     fifty seeks while standing: the still is what straight playback shows at that time
//   Faults    every read fails in turn, once or from then on: it is refused or ends, with a
//             reason; once the disk is well again, so is the movie
//   Damage    the file cut short, and with bytes flipped: it is refused, with a reason, or ends
//
// usage: corpus_check [--seeds=N] [--patience=SECONDS] [--threads=N] [GoogleTest's options]
//                     FILE_OR_FOLDER...
#include <gmock/gmock.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <random>
#include <string_view>

#include "tests/avcapture/FaultyDisk.h"
#include "tests/avcapture/Support.h"
#include "tests/avcapture/Watchdog.h"
#include "tests/support/Process.h"

namespace avcapture::test {

namespace {

unsigned seeds = 1;  // of damage, for each rate
int patience = 30;   // seconds without progress that are taken for a hang
int threads = 1;     // of the decoder of pictures
constexpr int kSeeks = 50;

// What can be known of a file without decoding it.
bool has(const std::string& path, const char* streams) {
  return !support::run({"ffprobe", "-v", "quiet", "-select_streams", streams, "-show_entries",
                        "stream=index", "-of", "default=nk=1:nw=1", path})
              .out.empty();
}

class FileTest : public PlayerTest {
 public:
  explicit FileTest(std::string file) : path(std::move(file)) {}
  void open(const std::string& what) {
    PlayerTest::open(what, {.paced = false, .decoderThreads = threads, .localSound = false});
  }
  void play(const std::string& what) {
    open(what);
    if (accepted) playToTheEnd();
  }
  const std::string path;
};

class Straight : public FileTest {
 public:
  using FileTest::FileTest;
  void TestBody() override {
    const Watchdog watchdog(path, patience);
    play(path);
    const bool picture = has(path, "V"), sound = has(path, "a");
    const auto frames = picture ? expectedFrames(path, "") : std::vector<Frame>();
    const auto pcm = sound ? expectedPcm(path) : std::string();
    EXPECT_EQ(accepted, picture || sound);
    EXPECT_EQ(player->failure().empty(), accepted);
    EXPECT_EQ(player->mediaType(), (picture ? kMediaTypeVideo : 0) | (sound ? kMediaTypeAudio : 0));
    EXPECT_EQ(player->statistics().framesDropped, 0U);
    std::vector<Frame> got = recorder->frames();
    for (Frame& frame : got) frame.width = frame.height = 0;
    EXPECT_THAT(got, ::testing::ElementsAreArray(frames));
    EXPECT_TRUE(recorder->pcm() == pcm) << recorder->pcm().size() << " instead of " << pcm.size();
  }
};

// Where no seek can find what straight playback shows.
const std::map<std::string, const char*> kNotSeekable = {
    {"leap.ts", "the same timestamps come twice"},
    {"other_size.ts", "the same timestamps come twice"},
    {"negative.mkv", "its first packets have no timestamps, and so no place that can be sought"},
};

class Seeks : public FileTest {
 public:
  using FileTest::FileTest;
  void TestBody() override {
    const std::string name = std::filesystem::path(path).filename();
    if (const auto found = kNotSeekable.find(name); found != kNotSeekable.end()) {
      GTEST_SKIP() << found->second;
    }
    const Watchdog watchdog(path, patience);
    play(path);
    const std::vector<Frame> frames = recorder->frames();
    if (frames.empty()) GTEST_SKIP() << "no picture";
    recorder = std::make_shared<Recorder>();
    TearDown();
    open(path);
    std::mt19937 random(1);  // NOLINT(cert-msc51-cpp): the same seeks each time
    for (int i = 0; i < kSeeks; ++i) {
      watchdog.step("seek " + std::to_string(i));
      seekTo(frames, random() % frames.size());
      if (HasFatalFailure()) return;
    }
  }

 private:
  void seekTo(const std::vector<Frame>& frames, std::size_t index) {
    const double begin = frames[index].timestamp;
    const double end = index + 1 < frames.size() ? frames[index + 1].timestamp : begin + 2;
    if (end - begin < 2) return;  // within the rounding of a timestamp
    const std::size_t before = recorder->frames().size();
    const int skips = delegate.count("skip");
    player->seek(static_cast<float>((begin + end) / 2000));
    ASSERT_TRUE(pumpUntil(
        [&] { return delegate.count("skip") > skips && recorder->frames().size() > before; }));
    EXPECT_EQ(recorder->frames().back(), frames[index]) << "at " << (begin + end) / 2 << " ms";
  }
};

class Faults : public FileTest {
 public:
  using FileTest::FileTest;
  void TestBody() override {
    const Watchdog watchdog(path, patience);
    play(path);
    const std::size_t pictures = recorder->frames().size();
    TearDown();
    const Footprint before;
    for (const Fault fault : {Fault::kOnce, Fault::kForEver}) {
      bool met = true;
      for (int read = 0; met; ++read) {
        SCOPED_TRACE("read " + std::to_string(read));
        watchdog.step("fault at read " + std::to_string(read));
        setFaults({.path = path, .error = EIO, .reads = fault, .firstRead = read});
        recorder->clear();
        delegate.calls.clear();
        play(path);
        met = faultsMet() > 0;
        EXPECT_EQ(player->failure().empty(), accepted && !met);
        if (met) {
          EXPECT_EQ(player->failure(), "Input/output error");
        }
        setFaults({});
        if (accepted) recovers(pictures);
        TearDown();
      }
    }
    EXPECT_TRUE(returnsTo(before));
  }

 private:
  void recovers(std::size_t pictures) {
    const std::string name = std::filesystem::path(path).filename();
    // What the demuxer of the latter makes of a failed read stays.
    if (kNotSeekable.count(name) > 0 || name == "raw_rgb.nut") return;
    recorder->clear();
    delegate.calls.clear();
    playToTheEnd();
    EXPECT_EQ(player->failure(), "");
    EXPECT_EQ(recorder->frames().size(), pictures);
  }
};

class Damage : public FileTest {
 public:
  using FileTest::FileTest;
  void TestBody() override {
    const Watchdog watchdog(path, patience);
    const std::string whole = contentsOf(path);
    for (const double part : {0.02, 0.1, 0.35, 0.6, 0.9, 0.99}) {
      watchdog.step("cut to " + std::to_string(part));
      survives(whole.substr(0, static_cast<std::size_t>(static_cast<double>(whole.size()) * part)),
               watchdog);
    }
    for (const double rate : {1e-5, 1e-3, 1e-2}) {
      for (unsigned seed = 0; seed < seeds; ++seed) {
        watchdog.step("flips at " + std::to_string(rate) + ", seed " + std::to_string(seed));
        survives(flipped(whole, rate, seed), watchdog);
      }
    }
  }

 private:
  static std::string flipped(std::string bytes, double rate, unsigned seed) {
    if (bytes.empty()) return bytes;
    std::mt19937 random(seed);
    const auto flips = 1 + static_cast<std::size_t>(static_cast<double>(bytes.size()) * rate);
    for (std::size_t i = 0; i < flips; ++i) {
      char& byte = bytes[random() % bytes.size()];
      byte = static_cast<char>(byte ^ (1 << random() % 8));
    }
    return bytes;
  }

  void survives(const std::string& bytes, const Watchdog& watchdog) {
    const std::string file =
        scratchPath("damaged" + std::filesystem::path(path).extension().string());
    writeFile(file, bytes);
    delegate.calls.clear();
    recorder = std::make_shared<Recorder>();
    recorder->onImage = recorder->onSound = [&] { watchdog.progress(); };
    open(file);
    if (accepted) {
      playToTheEnd();
      for (const float seconds : {0.5F, 0.0F, 0.9F}) {
        const int skips = delegate.count("skip");
        player->seek(seconds);
        ASSERT_TRUE(pumpUntil([&] { return delegate.count("skip") > skips; }));
        watchdog.progress();
      }
    } else {
      EXPECT_NE(player->failure(), "");
    }
    TearDown();
  }
};

template <class Check>
void registerCheck(const char* name, const std::string& file) {
  ::testing::RegisterTest(name, std::filesystem::path(file).filename().c_str(), nullptr, nullptr,
                          __FILE__, __LINE__, [file]() -> FileTest* { return new Check(file); });
}

// A file, or each one in a folder of the corpus.
void registerAll(const std::filesystem::path& path) {
  if (std::filesystem::is_directory(path)) {
    for (const auto& entry : std::filesystem::directory_iterator(path)) {
      const bool part = entry.path().filename().string().starts_with("part_");
      if (entry.is_regular_file() && !part) registerAll(entry.path());
    }
    return;
  }
  registerCheck<Straight>("Straight", path);
  registerCheck<Seeks>("Seeks", path);
  registerCheck<Faults>("Faults", path);
  registerCheck<Damage>("Damage", path);
}

}  // namespace

}  // namespace avcapture::test

int main(int argc, char** argv) {
  using namespace avcapture::test;
  ::testing::InitGoogleMock(&argc, argv);
  for (int i = 1; i < argc; ++i) {
    const std::string_view argument(argv[i]);
    if (argument.starts_with("--seeds=")) {
      seeds = static_cast<unsigned>(std::strtoul(argv[i] + 8, nullptr, 10));
    } else if (argument.starts_with("--patience=")) {
      patience = static_cast<int>(std::strtol(argv[i] + 11, nullptr, 10));
    } else if (argument.starts_with("--threads=")) {
      threads = static_cast<int>(std::strtol(argv[i] + 10, nullptr, 10));
    } else {
      registerAll(argument);
    }
  }
  const int failed = RUN_ALL_TESTS();
  return ::testing::UnitTest::GetInstance()->test_to_run_count() > 0 ? failed : 2;
}
