// Objects that end at every point of their lives, in every way, and leave nothing behind.
//
// LIFETIMES is how many lives of each kind there are; without it there are some, spread over all
// points.
#include <malloc.h>

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <set>

#include "platform/RunLoop.h"
#include "tests/lifetime/Left.h"
#include "tests/lifetime/Life.h"
#include "tests/meeting/ClipTest.h"
#include "tests/platform/TemporaryFolder.h"

namespace lifetime {
namespace {

using contract::Module;

constexpr Kind kKinds[] = {
    {.name = "Source", .source = true},
    {.name = "SourcePosted", .source = true, .posted = true},
    {.name = "SourceOutsideInRealTime", .source = true, .context = 1, .paced = true},
    {.name = "SourceInRealTimePosted", .source = true, .paced = true, .posted = true},
    {.name = "Listener"},
    {.name = "ListenerOutsidePosted", .context = 1, .posted = true},
    {.name = "ListenerOfARecording", .recording = true},
};

// What some hundred lives may add to the heap, all in all.
constexpr std::size_t kHeapNoise = std::size_t{64} << 10;

int lifetimes(const Kind& kind) {
  const char* const wanted = std::getenv("LIFETIMES");  // NOLINT(concurrency-mt-unsafe)
  if (wanted != nullptr) return std::atoi(wanted);
  return kind.paced ? 4 : 40;
}

// A folder that is the process's own while this lives, to be seen empty: the current one, and the
// one for temporary files.
class OwnFolder {
 public:
  OwnFolder() {
    std::filesystem::current_path(folder_ / "");
    ::setenv("TMPDIR", (folder_ / "").c_str(), 1);  // NOLINT(concurrency-mt-unsafe)
  }
  ~OwnFolder() {
    EXPECT_EQ(folder_.entries(), 0) << "files were left behind";
    std::filesystem::current_path(before_);
    if (temporary_.empty()) {
      ::unsetenv("TMPDIR");  // NOLINT(concurrency-mt-unsafe)
    } else {
      ::setenv("TMPDIR", temporary_.c_str(), 1);  // NOLINT(concurrency-mt-unsafe)
    }
  }
  OwnFolder(const OwnFolder&) = delete;
  OwnFolder& operator=(const OwnFolder&) = delete;

 private:
  static std::string temporary() {
    const char* const set = std::getenv("TMPDIR");  // NOLINT(concurrency-mt-unsafe)
    return set != nullptr ? set : "";
  }

  const std::filesystem::path before_ = std::filesystem::current_path();
  const std::string temporary_ = temporary();
  const TemporaryFolder folder_;
};

class LifetimeTest : public meeting::ClipTest, public testing::WithParamInterface<Kind> {
 protected:
  static std::string file() { return clipOf("life.mkv", "testsrc2=rate=25:size=64x36", 1); }

  struct Lived {
    bool reached;  // the point
    int points;    // before its end
  };
  // A life with everything that belongs to it.
  static Lived live(const Kind& kind, int point) {
    const Module module;
    EXPECT_EQ(module.getInterfaceVersion(), UCF_INTERFACE_VERSION);
    module.initialize();
    const auto life = std::make_shared<Life>(module, kind, file(), point);
    const bool reached = life->live(life->everything());
    const int points = life->points();
    life->end();
    EXPECT_EQ(life->host.variantsHeld, 0);
    module.cleanup();
    return {reached, points};
  }
};

TEST_P(LifetimeTest, EndsAtEveryPointAndLeavesNothing) {
  const Kind& kind = GetParam();
  file();
  const OwnFolder own;
  // No two lives have the same samples: as many as each of some has.
  int points = live(kind, Life::kToTheEnd).points;
  for (int i = 0; i < 2; ++i) points = std::min(points, live(kind, Life::kToTheEnd).points);
  EXPECT_GT(points, 20);
  const Left held;
  const int lives = lifetimes(kind);
  std::set<int> reached;
  std::set<int> wanted;
  std::size_t heap = 0;
  for (int i = 0; i < lives && !HasFailure(); ++i) {
    // Every point, while they last; with fewer lives than points, spread over them.
    const int point = lives < points ? points * i / lives : i % points;
    SCOPED_TRACE(testing::Message() << "point " << point << " of " << points);
    wanted.insert(point);
    if (live(kind, point).reached) reached.insert(point);
    EXPECT_TRUE(Life::turnUntil([&] { return Left() == held; })) << held << '\n' << Left();
    if (i == lives / 2) heap = mallinfo2().uordblks;
  }
  EXPECT_GE(reached.size() * 4, wanted.size() * 3);
  RecordProperty("points_wanted", static_cast<int>(wanted.size()));
  RecordProperty("points_reached", static_cast<int>(reached.size()));
  RecordProperty("lives", lives);
  EXPECT_LT(mallinfo2().uordblks, heap + kHeapNoise);
  RecordProperty("longest_call_ms", std::to_string(Life::longestCall.count() * 1000));
}

INSTANTIATE_TEST_SUITE_P(Kinds, LifetimeTest, testing::ValuesIn(kKinds),
                         [](const auto& test) { return std::string(test.param.name); });

// Two copies of the bundle, as two products of one house would bring them.
using TwoPluginsTest = LifetimeTest;
TEST_F(TwoPluginsTest, LiveBesideEachOther) {
  const TemporaryFolder folder;
  const auto bundle = std::filesystem::path(MOVARA_BUNDLE_CODE).parent_path().parent_path();
  const auto code = [&](const char* name) {
    const std::string contents = folder / name + "/Contents";
    std::filesystem::create_directories(contents);
    std::filesystem::copy(bundle, contents, std::filesystem::copy_options::recursive);
    return contents + "/Linux/movara";
  };
  const Module one(code("one.bundle").c_str());
  const Module two(code("two.bundle").c_str());
  ASSERT_NE(one.createInstance, nullptr);
  ASSERT_NE(one.createInstance, two.createInstance);
  const Kind kind{.name = "Source", .source = true, .context = 1, .paced = true};
  std::optional<Left> held;
  for (const bool firstEndsFirst : {true, false, true}) {
    const auto a = std::make_shared<Life>(firstEndsFirst ? one : two, kind, file());
    const auto b = std::make_shared<Life>(firstEndsFirst ? two : one, kind, file());
    for (const auto& life : {a, b}) {
      life->live(life->start());
      life->view()->onStart(nullptr);
      EXPECT_TRUE(Life::turnUntil([&] { return life->host.samples > 2; }));
    }
    a->end();
    const int before = b->host.samples;
    EXPECT_TRUE(Life::turnUntil([&] { return b->host.samples > before + 2; }))
        << "it goes on without the other";
    b->end();
    if (!held) held.emplace();  // the first round makes what stays
    EXPECT_TRUE(Life::turnUntil([&] { return Left() == *held; })) << *held << '\n' << Left();
  }
}

}  // namespace
}  // namespace lifetime
