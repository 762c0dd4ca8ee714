#include "safelib/safe_lib.h"

#include <gmock/gmock.h>

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;
using testing::ElementsAre;
using testing::IsEmpty;

struct Report {
  std::string message;
  void* ptr;
  int error;
  bool operator==(const Report&) const = default;
};

std::vector<Report>& reports() {
  static std::vector<Report> seen;
  return seen;
}

void recordingHandler(const char* message, void* ptr, int error) {
  reports().push_back({message, ptr, error});
}

class SafeLib : public testing::Test {
 protected:
  SafeLib() { safe_lib_set_constraint_handler(recordingHandler); }
  ~SafeLib() override {
    safe_lib_set_constraint_handler(nullptr);
    reports().clear();
  }

  // A violation reaches the handler once, with the code that is also the result.
  static void expectReported(int result, const char* message) {
    if (message == nullptr) {
      EXPECT_EQ(result, 0);
      EXPECT_THAT(reports(), IsEmpty());
    } else {
      EXPECT_THAT(reports(), ElementsAre(Report{message, nullptr, result}));
    }
    reports().clear();
  }
};

TEST_F(SafeLib, ComparesIgnoringCase) {
  struct Case {
    const char* dest;
    std::uint32_t dmax;
    const char* src;
    int result;
    int indicator;
    const char* message;
  };
  constexpr const char* kUnterminated = "strcasecmp_s: dest is unterminated";
  constexpr std::uint32_t kAny = 0x7FFFFFFF;
  const std::vector<Case> cases{
      {"wav", kAny, "WAV", 0, 0, nullptr},
      {"wav", kAny, "WMA", 0, 'A' - 'M', nullptr},
      {"WMA", kAny, "wav", 0, 'M' - 'A', nullptr},
      {"mp", kAny, "mp3", 0, -'3', nullptr},
      {"mp3", kAny, "mp", 0, '3', nullptr},
      {"", kAny, "", 0, 0, nullptr},
      {"", 1, "a", 0, -'A', nullptr},
      {"a[", kAny, "A{", 0, '[' - '{', nullptr},
      {"\xE9", kAny, "a", 0, 0xE9 - 'A', nullptr},
      {"FLAC", 3, "flac", 407, 0, kUnterminated},
      {"FLAC", 4, "flac", 0, 0, nullptr},
      {"flac", 3, "flab", 407, 0, kUnterminated},
      {"flax", 3, "flc", 0, 'A' - 'C', nullptr},
      {"flac", 3, "fla", 0, 'C', nullptr},
      {nullptr, 0, nullptr, 400, 0, "strcasecmp_s: dest is null"},
      {"a", 0, nullptr, 400, 0, "strcasecmp_s: src is null"},
      {"a", 0, "a", 401, 0, "strcasecmp_s: dmax is 0"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.dest) + " " + testing::PrintToString(c.src));
    int indicator = 77;
    const int result = strcasecmp_s(c.dest, c.dmax, c.src, &indicator);
    EXPECT_EQ(result, c.result);
    EXPECT_EQ(indicator, c.indicator);
    expectReported(result, c.message);
  }
  const int result = strcasecmp_s(nullptr, 0, nullptr, nullptr);
  EXPECT_EQ(result, 400);
  expectReported(result, "strcasecmp_s: indicator is null");
}

TEST_F(SafeLib, MoveClearsTheDestinationOnlyWhereItIsValid) {
  constexpr std::uint32_t kMax = 0x10000000;
  static const std::array<unsigned char, 17> source{1, 2, 3, 4};
  struct Case {
    std::uint32_t dmax;
    const void* src;
    std::uint32_t smax;
    int result;
    const char* message;
    Bytes dest;  // 16 bytes of 9 before the call
  };
  const Bytes untouched(16, 9);
  const Bytes cleared(16, 0);
  const std::vector<Case> cases{
      {0, nullptr, 0, 401, "memmove_s: dmax is 0", untouched},
      {kMax, nullptr, 0, 403, "memmove_s: dmax exceeds max", untouched},
      {kMax, source.data(), 1, 403, "memmove_s: dmax exceeds max", untouched},
      {0xFFFFFFFF, source.data(), 1, 403, "memmove_s: dmax exceeds max", untouched},
      {16, nullptr, 0, 401, "memmove_s: smax is 0", cleared},
      {16, nullptr, 17, 403, "memmove_s: smax exceeds max", cleared},
      {16, source.data(), 17, 403, "memmove_s: smax exceeds max", cleared},
      {16, nullptr, 16, 400, "memmove_s: src is null", cleared},
      {4,
       source.data(),
       5,
       403,
       "memmove_s: smax exceeds max",
       {0, 0, 0, 0, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9}},
      {16, source.data(), 3, 0, nullptr, {1, 2, 3, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9}},
      {16, source.data(), 16, 0, nullptr, {1, 2, 3, 4, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
      {kMax - 1, source.data(), 1, 0, nullptr, {1, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << "dmax " << c.dmax << " smax " << c.smax);
    Bytes dest = untouched;
    const int result = memmove_s(dest.data(), c.dmax, c.src, c.smax);
    EXPECT_EQ(result, c.result);
    EXPECT_EQ(dest, c.dest);
    expectReported(result, c.message);
  }
  const int result = memmove_s(nullptr, 0, nullptr, 0);
  EXPECT_EQ(result, 400);
  expectReported(result, "memmove_s: dest is null");
}

TEST_F(SafeLib, MovesBetweenOverlappingAreas) {
  Bytes up{1, 2, 3, 4, 5, 6};
  EXPECT_EQ(memmove_s(up.data() + 2, 4, up.data(), 4), 0);
  EXPECT_THAT(up, ElementsAre(1, 2, 1, 2, 3, 4));

  Bytes down{1, 2, 3, 4, 5, 6};
  EXPECT_EQ(memmove_s(down.data(), 6, down.data() + 2, 4), 0);
  EXPECT_THAT(down, ElementsAre(3, 4, 5, 6, 5, 6));
}

TEST_F(SafeLib, InstallingAHandlerGivesBackTheOneInForce) {
  EXPECT_EQ(safe_lib_set_constraint_handler(safe_lib_ignore_handler), recordingHandler);
  EXPECT_EQ(memmove_s(nullptr, 1, nullptr, 1), 400);
  EXPECT_THAT(reports(), IsEmpty());
  EXPECT_EQ(safe_lib_set_constraint_handler(nullptr), safe_lib_ignore_handler);
  EXPECT_EQ(memmove_s(nullptr, 1, nullptr, 1), 400);
  EXPECT_EQ(safe_lib_set_constraint_handler(recordingHandler), safe_lib_default_constraint_handler);

  int context = 0;
  invoke_safe_lib_constraint_handler("text", &context, 5);
  EXPECT_THAT(reports(), ElementsAre(Report{"text", &context, 5}));
}

}  // namespace
