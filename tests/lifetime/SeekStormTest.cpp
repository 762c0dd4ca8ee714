// A thousand seeks as fast as they can be asked for: the last one wins, with one still picture, and
// the movie does not end by it.
#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <mutex>

#include "platform/RunLoop.h"
#include "tests/lifetime/Life.h"
#include "tests/meeting/ClipTest.h"

namespace lifetime {
namespace {

constexpr int kSeeks = 1000;
constexpr int kSeeksATurn = 10;
constexpr float kBeyond[] = {-5.0F, 0.3F, 1e9F, 0.0F, NAN, std::numeric_limits<float>::infinity()};

class SeekStormTest : public meeting::ClipTest {
 protected:
  SeekStormTest() {
    life->onSample = [this](const tagMSDataStructure& sample) {
      if (sample.nMediaType != MM_MEDIASTREAMING_MEDIATYPE_VIDEO) return;
      const std::lock_guard guard(lock_);
      pictures_.push_back(sample.dwTimestamp);
    };
    life->live(life->start());
  }
  void TearDown() override { life->end(); }

  void play() {
    const int before = life->host.samples;
    life->view()->onStart(nullptr);
    ASSERT_TRUE(Life::turnUntil([&] { return life->host.samples > before + 4; }));
  }
  // Never two turns with a target at the end, where a movie that plays rightly ends.
  void storm(float last) {
    std::ignore = life->said("");
    life->lines().clear();
    const auto view = life->view();
    for (int i = 1; i < kSeeks; ++i) {
      view->seek(kBeyond[static_cast<std::size_t>(i) % std::size(kBeyond)]);
      if (i % kSeeksATurn != 0) continue;
      view->seek(0.5F);
      Life::turn();
    }
    const std::lock_guard guard(lock_);
    pictures_.clear();
    view->seek(last);
  }
  // Waits for the picture, and for the report of the seek.
  void arrive(int milliseconds, const char* status) {
    const std::string line = status + std::to_string(milliseconds) + " seek";
    ASSERT_TRUE(Life::turnUntil([&] { return shown(milliseconds) > 0 && life->said(line); }))
        << line << " among " << testing::PrintToString(life->lines());
  }
  // How often the picture of that time has come since the last seek was asked for.
  std::ptrdiff_t shown(int milliseconds) {
    const std::lock_guard guard(lock_);
    return std::ranges::count(pictures_, static_cast<std::uint64_t>(milliseconds));
  }
  bool ended() {
    std::ignore = life->said("");
    return std::ranges::any_of(life->lines(), [](const std::string& line) {
      return line.starts_with("status 1") && !line.ends_with("seek");
    });
  }

  const contract::Module module;
  const std::shared_ptr<Life> life =
      std::make_shared<Life>(module, Kind{.name = "source", .source = true, .paced = true},
                             clipOf("storm.mkv", "testsrc2=rate=25:size=64x36", 10));

  std::mutex lock_;
  std::vector<std::uint64_t> pictures_;
};

// What a report of a seek begins with: the state that the movie is in.
constexpr const char* kStopped = "status 1 ";
constexpr const char* kPaused = "status 2 ";

TEST_F(SeekStormTest, LastOneWinsWithOneStill) {
  struct Row {
    const char* name;
    std::function<void()> before;
    const char* status;
  };
  const Row rows[] = {
      {"never played", [] {}, kStopped},
      {"paused", [this] { play(), life->view()->onStart(nullptr); }, kPaused},
      {"at the end",
       [this] {
         life->view()->seek(9.8F);
         life->view()->onStart(nullptr);
         ASSERT_TRUE(Life::turnUntil([&] { return ended(); }));
       },
       kPaused},
      {"stopped", [this] { life->view()->onStop(nullptr); }, kStopped},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    row.before();
    storm(2.0F);
    arrive(2000, row.status);
    EXPECT_FLOAT_EQ(life->view()->currentTime(), 2.0F);
    EXPECT_FALSE(ended());
    EXPECT_FALSE(life->view()->isPlaying());
    // What was still on its way would have come by the time that another seek is done.
    life->view()->seek(3.0F);
    arrive(3000, row.status);
    EXPECT_EQ(shown(2000), 1);
    EXPECT_EQ(shown(3000), 1);
    // One that was overtaken in the listener's hands may come first; none comes afterwards.
    EXPECT_LE(shown(0) + shown(300) + shown(500), 1);
    const std::lock_guard guard(lock_);
    EXPECT_THAT(std::vector(pictures_.end() - 2, pictures_.end()),
                testing::ElementsAre(2000, 3000));
  }
}

TEST_F(SeekStormTest, PlayingGoesOnFromTheLastOne) {
  play();
  storm(2.0F);
  ASSERT_TRUE(Life::turnUntil([&] { return shown(2000) + shown(2040) + shown(2080) > 1; }));
  EXPECT_EQ(shown(2000), 1);
  EXPECT_FALSE(ended());
  EXPECT_TRUE(life->view()->isPlaying());
  EXPECT_LT(life->view()->currentTime(), 9.0F);
}

}  // namespace
}  // namespace lifetime
