// Every wrong plug-in is caught by the case that is there for it, and by no accident: the same case
// passes when nothing is wrong.
#include <gmock/gmock.h>

#include <nlohmann/json.hpp>
#include <ostream>
#include <string>
#include <vector>

#include "tests/support/Process.h"

namespace {

using Words = std::vector<std::string>;

support::Finished validate(const std::string& plugin, const Words& words) {
  Words command{MEETING_PROGRAM, "validate", std::string(WRONG_PLUGINS "/") + plugin + ".bundle"};
  command.insert(command.end(), words.begin(), words.end());
  return support::run(command);
}

struct Row {
  const char* plugin;
  const char* name;  // of the case
  const char* outcome;
  const char* reason;         // a part of one
  const char* limit = "100";  // seconds
  const char* said = "[";     // a part of its last lines on standard error, as JSON
};
void PrintTo(const Row& row, std::ostream* out) { *out << row.plugin; }

constexpr Row kRows[] = {
    {"callsAfterTheEnd", "ReleaseTest.EndsAtOnceAndNothingFollows", "failed", "nothing follows"},
    {"crashes", "ContractTest.ReleaseEndsInOrder", "crashed", ""},
    {"endsTheProgram", "ContractTest.ReleaseEndsInOrder", "crashed", "ended with status 0", "100",
     R"(["in line 7991","in line 7992",)"},
    {"hangs", "ContractTest.ReleaseEndsInOrder", "hung", "still ran after 1000 ms", "1"},
    {"keepsVariants", "ContractTest.GivesBackEveryVariant", "failed", "variantsHeld"},
    {"losesVolume", "ModelTest.TheModuleDoesWhatTheModelSays", "failed", "volume"},
    {"neverEnds", "ContractTest.ReleaseEndsInOrder", "failed", "unregister"},
    {"noCleanup", "Bundle.HasTheFiveExports", "failed", "UCFCleanup"},
    {"noCleanup", "ContractTest.ReleaseEndsInOrder", "skipped", "an export is missing"},
    {"otherThread", "ContractTest.CallsItsHostOnTheMainThread", "failed", "status 3 0"},
    {"otherVersion", "ContractTest.TheExportsAnswerBeforeAnyObjectExists", "failed",
     "getInterfaceVersion"},
    {"shortRecord", "ContractTest.FormatsAndSamplesFlowOnceTheChannelIsJoined", "failed",
     "format 1"},
    {"slotsSwapped", "ContractTest.TheTableOfTheObjectHasItsOperationsInOrder", "failed",
     "item 801=1"},
    {"throws", "ContractTest.NothingIsThrownOutOfTheExports", "failed", "no object"},
};

class WrongPlugins : public testing::TestWithParam<Row> {};

TEST_P(WrongPlugins, AreCaughtByName) {
  const Row& row = GetParam();
  const auto run = validate(row.plugin, {"--json", "--only", row.name, "--limit", row.limit});
  const auto results = nlohmann::json::parse(run.out, nullptr, false);
  ASSERT_TRUE(results.is_object()) << run.out << run.err;
  ASSERT_EQ(results["cases"].size(), 1U);
  const auto& result = results["cases"][0];
  EXPECT_EQ(result["name"], row.name);
  EXPECT_EQ(result["outcome"], row.outcome) << result;
  EXPECT_THAT(result["reasons"].dump(), testing::HasSubstr(row.reason));
  EXPECT_THAT(result["said"].dump(), testing::HasSubstr(row.said));
  EXPECT_EQ(run.status, std::string(row.outcome) == "skipped" ? 0 : 1);
}

INSTANTIATE_TEST_SUITE_P(Each, WrongPlugins, testing::ValuesIn(kRows), [](const auto& chosen) {
  return std::string(chosen.param.plugin) + "_" + chosen.param.outcome;
});

TEST(Validator, FindsNothingWhereNothingIsWrong) {
  Words words;
  for (const Row& row : kRows) words.insert(words.end(), {"--only", row.name});
  const auto run = validate("none", words);
  EXPECT_EQ(run.status, 0) << run.out;
  EXPECT_THAT(run.out, testing::HasSubstr(" passed\n"));
  EXPECT_THAT(run.out, testing::Not(testing::HasSubstr("skipped")));
  EXPECT_EQ(run.err, "") << "a counter is for a terminal";
}

TEST(Validator, ShowsTheLastLinesOfACaseThatDidNotPass) {
  const auto run = validate("endsTheProgram", {"--only", "ContractTest.ReleaseEndsInOrder"});
  EXPECT_THAT(run.out, testing::HasSubstr("\n           > in line 8000\n1 case: 1 crashed\n"));
  EXPECT_EQ(run.err, "");
}

TEST(Validator, SaysWhatIsWrongWithItsWords) {
  EXPECT_EQ(validate("missing", {}).status, 5);
  EXPECT_EQ(validate("", {}).status, 5);
  EXPECT_EQ(validate("none", {"--level", "11"}).status, 2);
  EXPECT_EQ(validate("none", {"--level", "1", "--only", "ModelTest"}).status, 2);
  const auto mistyped = validate("none", {"--only", "Bundle.IsLoadet"});
  EXPECT_EQ(mistyped.status, 2);
  EXPECT_THAT(mistyped.err, testing::HasSubstr("did you mean Bundle.IsLoaded?"));
  const auto listed = validate("none", {"--list", "--level", "1"});
  EXPECT_EQ(listed.status, 0);
  EXPECT_THAT(listed.out, testing::HasSubstr(" 1  Bundle.IsLoaded: "));
}

}  // namespace
