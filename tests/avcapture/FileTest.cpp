// What goes wrong with files: while a movie is opened, and while it plays.
#include <gmock/gmock.h>
#include <sys/resource.h>

#include <cerrno>
#include <filesystem>
#include <semaphore>
#include <system_error>
#include <thread>

#include "avcapture/StatusText.h"
#include "tests/avcapture/FaultyDisk.h"
#include "tests/avcapture/LeapingClock.h"
#include "tests/avcapture/Support.h"

namespace avcapture::test {

namespace {

constexpr std::size_t kPictures = 100;

// More than is read ahead, in reads of a block each.
std::string longClip() {
  return clip("long.mkv",
              "-f lavfi -i testsrc2=s=160x120:r=25 -frames:v 100 -c:v rawvideo -pix_fmt yuv420p "
              "-allow_raw_vfw 1");
}

class File : public PlayerTest {
 public:
  void SetUp() override {
    path = scratchPath("file.mkv");
    std::filesystem::copy_file(longClip(), path, std::filesystem::copy_options::overwrite_existing);
    open(path);  // makes what the process keeps
    PlayerTest::TearDown();
    before = Footprint();
    setFaults({.path = path});
  }
  void TearDown() override {
    setHanging(false);
    setFaults({});
    PlayerTest::TearDown();
    resetClocks();
    EXPECT_TRUE(returnsTo(before));
  }
  // Plays; does something with the file after the first picture.
  template <class Act>
  void playAnd(Act&& act) {
    recorder->onImage = [this] {
      if (!first.exchange(false)) return;
      arrived.release();
      go.acquire();
    };
    open(path);
    ASSERT_TRUE(accepted);
    player->onStart(nullptr);
    arrived.acquire();
    act();
    go.release();
  }
  bool ends() {
    return pumpUntil([this] { return delegate.count("stop") > 0; });
  }

  std::string path;
  Footprint before;
  // Used by the delivery thread as long as the movie plays.
  std::binary_semaphore arrived{0}, go{0};
  std::atomic<bool> first{true};
};

struct Change {
  const char* what;
  void (*change)(const std::string& path);
  std::size_t least, most;  // pictures that arrive
  const char* failure;
};
class ChangedFile : public File, public ::testing::WithParamInterface<Change> {};

TEST_P(ChangedFile, EndsWithAReason) {
  const Change& change = GetParam();
  playAnd([&] { change.change(path); });
  ASSERT_TRUE(ends());
  EXPECT_GE(recorder->frames().size(), change.least);
  EXPECT_LE(recorder->frames().size(), change.most);
  EXPECT_EQ(player->failure(), change.failure);
}

// What is open stays what it was, whatever becomes of its name.
const Change kChanges[] = {
    {"removed", [](const std::string& path) { std::filesystem::remove(path); }, kPictures,
     kPictures, ""},
    {"replaced",
     [](const std::string& path) {
       writeFile(path + ".new", "something else");
       std::filesystem::rename(path + ".new", path);
     },
     kPictures, kPictures, ""},
    {"shortened", [](const std::string& path) { std::filesystem::resize_file(path, 1000); }, 1,
     kPictures - 1, "the file has become shorter"},
};
INSTANTIATE_TEST_SUITE_P(While, ChangedFile, ::testing::ValuesIn(kChanges),
                         [](const auto& each) { return std::string(each.param.what); });

// Overwritten in place: nobody can know.
TEST_F(File, EndsWhenItIsOverwritten) {
  playAnd([this] { writeFile(path, std::string(std::filesystem::file_size(path), 'x')); });
  EXPECT_TRUE(ends());
}

TEST_F(File, IsRefusedWithAReasonWhenItDoesNotOpen) {
  for (const int error : {EACCES, ENFILE, EIO, ENOENT}) {
    setFaults({.path = path, .error = error, .opens = Fault::kForEver});
    open(path);
    EXPECT_FALSE(accepted);
    EXPECT_EQ(player->failure(), std::generic_category().message(error));
  }
}

TEST_F(File, IsRefusedWithAReasonWhenNoDescriptorIsLeft) {
  rlimit limit{};
  getrlimit(RLIMIT_NOFILE, &limit);
  const rlimit none{.rlim_cur = 0, .rlim_max = limit.rlim_max};
  setrlimit(RLIMIT_NOFILE, &none);
  open(path);
  setrlimit(RLIMIT_NOFILE, &limit);
  EXPECT_FALSE(accepted);
  EXPECT_EQ(player->failure(), std::generic_category().message(EMFILE));
}

class HangingDisk : public File {};

TEST_F(HangingDisk, IsWaitedForNoLongerThanItTakesToNoticeWhileOpening) {
  for (const Access at : {Access::kOpen, Access::kStat, Access::kRead}) {
    SCOPED_TRACE(static_cast<int>(at));
    setHanging(true, at);
    timed("refusing_ms", [this] { open(path); });
    EXPECT_FALSE(accepted);
    EXPECT_EQ(player->failure(), "the disk does not answer");
    EXPECT_EQ(hanging(), 1);
    timed("stopping_ms", [this] { PlayerTest::TearDown(); });
    setHanging(false);
    ASSERT_TRUE(pumpUntil([] { return hanging() == 0; }));
  }
}

// Each answer comes just before the disk would be given up; what is asked for needs more of them
// than anybody waits for. Nobody's time passes: the clock leaps while the disk is asked.
class SlowDisk : public File {
 protected:
  // Of reads that are as late as can be; machines that are busy may let some of them seem shorter.
  static constexpr int kMostReads = 12;

  // Opens it while the disk still answers at once.
  void openThenSlow(const std::string& movie) {
    setFaults({.path = movie});
    open(movie);
    ASSERT_TRUE(accepted);
    ASSERT_TRUE(pumpUntil([this] { return player->renderView()->contents() != nullptr; }));
    setFaults({.path = movie, .late = [this] {
                 ++reads_;
                 ++underWay_;
                 for (int i = 0; i < 7; ++i) {
                   leap(CLOCK_MONOTONIC, 1);
                   std::this_thread::sleep_for(std::chrono::milliseconds(20));
                 }
                 --underWay_;
               }});
  }

  void expectGivenUp(const std::string& news) {
    const auto told = [this, &news] { return delegate.count(news) > 0; };
    while (!told() && reads_ < kMostReads) pumpUntil(told);  // which goes by the leaping clock
    EXPECT_LT(reads_, kMostReads);
    EXPECT_TRUE(told());
    EXPECT_EQ(player->failure(), "the disk does not answer");
    EXPECT_EQ(player->statusViewType(), 104);
  }

  void TearDown() override {
    setFaults({});  // the clock leaps no more, not while we stop
    while (underWay_ > 0) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    File::TearDown();
  }

 private:
  std::atomic<int> reads_{0}, underWay_{0};
};

TEST_F(SlowDisk, HoldsUpASeekNoLonger) {
  openThenSlow(
      clip("one_key.ts",
           "-f lavfi -i testsrc2=s=320x240:r=25,noise=alls=100 -frames:v 100 -c:v mpeg2video "
           "-q:v 2 -g 1000 -sc_threshold 1000000000"));
  player->seek(3.5F);
  expectGivenUp("skip");
}

TEST_F(SlowDisk, HoldsUpAPictureNoLonger) {
  openThenSlow(
      clip("large.nut", "-f lavfi -i testsrc2=s=1280x720:r=25 -frames:v 16 -c:v rawvideo"));
  player->onStart(nullptr);
  expectGivenUp("stop");
}

TEST_F(HangingDisk, EndsTheMovieWithAReasonAndPlaysOnOnceItAnswers) {
  playAnd([] { setHanging(true); });
  ASSERT_TRUE(pumpUntil([] { return hanging() == 1; }));
  bool ended = false;
  timed("refusing_ms", [&] { ended = ends(); });
  ASSERT_TRUE(ended);
  EXPECT_EQ(player->failure(), "the disk does not answer");
  EXPECT_EQ(statusText(player->statusViewType()), "The movie cannot be played any further");
  EXPECT_EQ(hanging(), 1);
  EXPECT_LT(recorder->frames().size(), kPictures);
  setHanging(false);
  ASSERT_TRUE(pumpUntil([] { return hanging() == 0; }));
  recorder->clear();
  delegate.calls.clear();
  playToTheEnd();
  EXPECT_EQ(player->failure(), "");
  EXPECT_EQ(player->statusViewType(), 0);
  EXPECT_EQ(recorder->frames().size(), kPictures);
}

// A disk is given its time again when the machine has slept meanwhile.
TEST_F(HangingDisk, IsNotBlamedForTheTimeThatTheMachineSlept) {
  playAnd([] { setHanging(true); });
  ASSERT_TRUE(pumpUntil([] { return hanging() == 1; }));
  leap(CLOCK_MONOTONIC, 3600);
  pumpUntil([this, end = std::chrono::steady_clock::now() + std::chrono::milliseconds(200)] {
    return std::chrono::steady_clock::now() > end || delegate.count("stop") > 0;
  });
  setHanging(false);
  ASSERT_TRUE(ends());
  EXPECT_EQ(player->failure(), "");
}

// The read is still under way when each of these has returned.
TEST_F(HangingDisk, HoldsUpNobodyWhoStops) {
  playAnd([] { setHanging(true); });
  ASSERT_TRUE(pumpUntil([] { return hanging() == 1; }));
  timed("stopping_ms", [this] { player->onStart(nullptr); });  // pauses
  timed("stopping_ms", [this] { player->seek(1); });
  timed("stopping_ms", [this] { player->onStop(nullptr); });
  PlayerTest::TearDown();
  EXPECT_EQ(hanging(), 1);
}

}  // namespace

}  // namespace avcapture::test
