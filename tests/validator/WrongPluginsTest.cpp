// Every wrong plug-in is caught by the case that is there for it, and by no accident: the same case
// passes when nothing is wrong.
#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <ostream>
#include <string>
#include <vector>

#include "tests/platform/TemporaryFolder.h"
#include "tests/support/Process.h"

namespace {

using Words = std::vector<std::string>;

support::Finished validate(const std::string& plugin, const Words& words) {
  const TemporaryFolder temporary;
  // What they never free would end every case under the address sanitizer, before its own fault
  // does.
  Words command{"env",
                "ASAN_OPTIONS=detect_leaks=0",
                "TMPDIR=" + temporary / "",
                MEETING_PROGRAM,
                "validate",
                std::string(WRONG_PLUGINS "/") + plugin + ".bundle"};
  command.insert(command.end(), words.begin(), words.end());
  support::Finished finished = support::run(command);
  EXPECT_EQ(temporary.entries(), 0) << "however they end, cases leave nothing";
  return finished;
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
    {"answersOne", "ObjectTest.TheTableOfTheObjectHasItsOperationsInOrder", "failed",
     "the result of slot 7 of the object: expected 0, got 1"},
    {"asksTwice", "ObjectTest.AsksTheClientOnceForItsViewModeAndHolStatus", "failed",
     "the notifications that are posted: expected "},
    {"anotherView", "ObjectTest.ARecordingIsJoinedFromTheStart", "failed",
     "\\\"render 130 another view\\\" (RouteMessage uMsg 4, tagMSRenderInfo: eRenderType, "
     "hRender)"},
    {"asksOnDeliveryThread", "ContractTest.CallsItsHostOnTheMainThread", "failed",
     "\\\"GetCurrentRole (runtime, slot 17)\\\""},
    {"callsAfterTheEnd", "ReleaseTest.EndsAtOnceAndNothingFollows", "failed",
     "nothing follows the end) ["},
    {"crashes", "ContractTest.ReleaseEndsInOrder", "crashed",
     "/crashes --gtest_filter=ContractTest.ReleaseEndsInOrder\""},
    {"deletesInstance", "ObjectTest.DeleteInstanceDeletesNothing", "failed", "\\\"session 102\\\""},
    {"cutsSourceID", "SampleTest.AndAllElseNameTheirSourceInAllItsBits", "failed",
     "sourceID of a record: expected 4294967338, got 42"},
    {"endsTheProgram", "ContractTest.ReleaseEndsInOrder", "crashed", "ended with status 0", "100",
     R"(["in line 7991","in line 7992",)"},
    {"crashesOnLoad", "Bundle.IsLoaded", "crashed", "SIGABRT"},
    {"fieldMoved", "ContractTest.APresenterStartsStepByStep", "failed",
     "RouteMessage uMsg 0, tagMSRegisterInfo: dwDuration, eMediaContent"},
    {"fieldWrong", "SampleTest.OfPictures", "failed", "\\\"sample 1 40000 live "},
    {"freesFirst", "ObjectTest.TheSharedFilesPathComesFromTheContainerOrTheHost", "failed",
     "expected \\\"/eight.mov\\\", got \\\"##########\\\""},
    {"hangs", "ContractTest.ReleaseEndsInOrder", "hung", "still ran after 5000 ms", "5"},
    {"hangsOnCreate", "ObjectTest.ComesAndGoes", "hung", "still ran after 5000 ms", "5"},
    {"hangsOnLoad", "Bundle.IsLoaded", "hung", "still ran after 1000 ms", "1"},
    {"ignoresTheClient", "ContractTest.AListenerRegistersWithThePresentersMediaInfo", "failed",
     "asks for the view mode"},
    {"ignoresTheClient", "NotificationTest.GivesWayToAnotherMovieInTheDocumentArea", "failed",
     "what the player view is told: expected { \\\"onStart\\\" }"},
    {"ignoresTheClient", "NotificationTest.TheFullScreenButtonAsksForWhatTheClientDoesNotShow",
     "failed", "PDLeaveFitNotification"},
    {"keepsVariants", "ObjectTest.GivesBackEveryVariant", "failed", "FreeVariant (slot 6)"},
    {"losesVolume", "ModelTest.TheModuleDoesWhatTheModelSays", "failed", "volume"},
    {"losesVolume", "ObjectTest.TheClientsVolumeIsAListeners", "failed", "volume 127"},
    {"makesNothing", "ContractTest.ReleaseEndsInOrder", "failed",
     "the result of UCFCreateInstance: expected 0"},
    {"makesNothingSilently", "ContractTest.ReleaseEndsInOrder", "failed",
     "success, but nothing was made"},
    {"neverEnds", "ContractTest.ReleaseEndsInOrder", "failed", "unregister"},
    {"noCleanup", "Bundle.HasTheFiveExports", "failed", "no export is called UCFCleanup"},
    {"noCleanup", "ContractTest.ReleaseEndsInOrder", "skipped", "an export is missing: UCFCleanup"},
    {"oneHost", "ObjectTest.TwoObjectsHaveEachTheirOwnHost", "failed", "(the other one goes on)"},
    {"noRecord", "ContractTest.ReleaseEndsInOrder", "failed",
     "wParam, the record of a request, is null"},
    {"otherModule", "ContractTest.APresenterStartsStepByStep", "failed",
     "\\\"for 3\\\" (RouteMessage to a module that is neither "},
    {"otherThread", "ContractTest.CallsItsHostOnTheMainThread", "failed",
     "\\\"status 3 0\\\" (RouteMessage uMsg 2, tagMSSourceStatus: eStatus, lPosition)"},
    {"otherVersion", "Bundle.AnswersBeforeAnyObjectExists", "failed",
     "what UCFGetInterfaceVersion answers: expected 5, got 4 [ModuleCases.cpp:"},
    {"placesWrong", "ObjectTest.ASourcesFirstAndLaterActivation", "failed",
     "the frame of the object's view: expected 640 x 360 at 10, 20, got 639 x 360 at 10, 20"},
    {"playerSlotsSwapped", "PlayerSlots.OfTheControls", "failed", "the result of slot "},
    {"readsNoWideText", "ObjectTest.TheSharedFilesPathComesFromTheContainerOrTheHost", "failed",
     "\\\"property 5\\\""},
    {"registersNowhere", "ContractTest.APresenterStartsStepByStep", "failed",
     "RouteMessage uMsg 0, tagMSRegisterInfo"},
    {"reservedWord", "ObjectTest.ARecordingIsJoinedFromTheStart", "failed",
     "the reserved words of a record: expected 0, got 1"},
    {"runtimeSlotsSwapped", "ObjectTest.TheTablesOfTheOtherFacesReachTheSameObject", "failed",
     "the host is asked and told"},
    {"samplesAfterTheEnd", "ReleaseTest.EndsAtOnceAndNothingFollows", "failed",
     "calls of the host after the object's Release: expected nothing, got { "
     "\\\"RouteMessage of a sample (uMsg 2000)\\\" }"},
    {"shortRecord", "ContractTest.FormatsAndSamplesFlowOnceTheChannelIsJoined", "failed",
     " (RouteMessage uMsg 3, tagMSMediaFormat: eMediaType, dwFormatSize bytes of pFormat)"},
    {"slotsSwapped", "ObjectTest.TheTableOfTheObjectHasItsOperationsInOrder", "failed",
     "the host is asked and told: expected \\\"item 801=0\\\", \\\"item 800=1\\\", "},
    {"throws", "ObjectTest.NothingIsThrownOutOfTheExports", "failed",
     "an exception reached the host: no object"},
};

// Whoever reads a reason knows the contract, and not the cases.
void expectWords(const nlohmann::json& result) {
  for (const char* inside : {"Value of", "Which is", "-byte object", "->"})
    EXPECT_THAT(result["reasons"].dump(), testing::Not(testing::HasSubstr(inside)));
}

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
  expectWords(result);
  EXPECT_THAT(result["said"].dump(), testing::HasSubstr(row.said));
  EXPECT_EQ(run.status, std::string(row.outcome) == "skipped" ? 0 : 1);
}

INSTANTIATE_TEST_SUITE_P(Each, WrongPlugins, testing::ValuesIn(kRows), [](const auto& chosen) {
  const std::string name = chosen.param.name;
  return std::string(chosen.param.plugin) + "_" + name.substr(name.find('.') + 1);
});

// What all cases begin with is not waited for again and again: of the cases those are skipped that
// would hang or crash there, too.
TEST(Validator, SkipsWhatWouldEndInTheSameWay) {
  const struct {
    const char* plugin;
    Words words;
    const char* entrance;
    const char* outcome;
    const char* spared;  // what the names of cases begin with that are run all the same
    const char* reason;
  } rows[] = {
      {"hangsOnLoad",
       {"--limit", "1"},
       "Bundle.IsLoaded",
       "hung",
       "none",
       "the bundle does not load: see Bundle.IsLoaded"},
      {"crashesOnLoad",
       {"--only", "release"},
       "Bundle.IsLoaded",
       "crashed",
       "none",
       "the bundle does not load: see Bundle.IsLoaded"},
      {"hangsOnCreate",
       {"--limit", "5", "--level", "3"},
       "ObjectTest.ComesAndGoes",
       "hung",
       "Bundle.",
       "it makes no object that can be released: see ObjectTest.ComesAndGoes"},
  };
  for (const auto& row : rows) {
    Words words{"--json"};
    words.insert(words.end(), row.words.begin(), row.words.end());
    const auto run = validate(row.plugin, words);
    EXPECT_EQ(run.status, 1) << row.plugin;
    const auto results = nlohmann::json::parse(run.out, nullptr, false);
    ASSERT_TRUE(results.is_object()) << run.out << run.err;
    EXPECT_EQ(results["counts"][row.outcome], 1) << row.plugin;
    EXPECT_GT(results["counts"]["skipped"], 1) << row.plugin;
    for (const auto& one : results["cases"]) {
      const std::string name = one["name"];
      SCOPED_TRACE(row.plugin + (": " + name));
      const bool runs = name == row.entrance || name.starts_with(row.spared);
      EXPECT_EQ(one["outcome"] == "skipped", !runs);
      EXPECT_EQ(one["reasons"] == Words{row.reason}, !runs);
    }
  }
}

TEST(Validator, FindsNothingWhereNothingIsWrong) {
  Words words{"--limit", "100"};  // a minute is little for sanitizers on a busy machine
  for (const Row& row : kRows) words.insert(words.end(), {"--only", row.name});
  const auto run = validate("none", words);
  EXPECT_EQ(run.status, 0) << run.out;
  EXPECT_THAT(run.out, testing::HasSubstr(" passed\n"));
  EXPECT_THAT(run.out, testing::Not(testing::HasSubstr("skipped")));
  EXPECT_EQ(run.err, "") << "a counter is for a terminal";
}

// One in which much is wrong: what all cases say.
TEST(Validator, SaysTheReasonsInTheContractsWords) {
  const auto run = validate("runtimeSlotsSwapped", {"--json", "--level", "9", "--limit", "100"});
  EXPECT_EQ(run.status, 1);
  const auto results = nlohmann::json::parse(run.out, nullptr, false);
  ASSERT_TRUE(results.is_object()) << run.out << run.err;
  EXPECT_GT(results["counts"]["failed"], 5);
  for (const auto& result : results["cases"]) expectWords(result);
}

// Whoever writes a plug-in from the contract alone is told nothing against it.
TEST(Validator, AsksNothingThatTheContractDoesNotSay) {
  const auto run = validate("ownObject", {"--json", "--limit", "100"});
  EXPECT_EQ(run.status, 0);
  const auto results = nlohmann::json::parse(run.out, nullptr, false);
  ASSERT_TRUE(results.is_object()) << run.out << run.err;
  for (const auto& one : results["cases"]) {
    const bool isMovaras = one["level"] == 7 || one["level"] == 10;
    EXPECT_EQ(one["outcome"], isMovaras ? "skipped" : "passed") << one;
    EXPECT_EQ(one["reasons"].dump().starts_with("[\"looks inside movara: "), isMovaras) << one;
  }
}

// What has no view that could be stood in for is looked at as far as its host can see.
TEST(Validator, DrivesAnObjectThatHasAViewOfItsOwn) {
  const auto run = validate("ownView", {"--json", "--only", "ObjectTest", "--only", "ListenerTest",
                                        "--only", "EndsInOrder", "--only", "ModelTest"});
  const auto results = nlohmann::json::parse(run.out, nullptr, false);
  ASSERT_TRUE(results.is_object()) << run.out << run.err;
  int driven = 0;
  for (const auto& one : results["cases"]) {
    const std::string name = one["name"];
    const bool needsNone = name.starts_with("ObjectTest.") || name.starts_with("ListenerTest.");
    driven += needsNone ? 1 : 0;
    if (needsNone) {
      EXPECT_EQ(one["outcome"], "passed") << one;
    } else {
      EXPECT_EQ(one["outcome"], "skipped") << name;
      EXPECT_THAT(one["reasons"].dump(), testing::HasSubstr("needs the player view stand-in: "));
    }
  }
  EXPECT_GT(driven, 20);
}

TEST(Validator, TakesItsRandomRunsFromTheSeed) {
  // The steps that the failing run was shrunk to.
  const auto stepsFrom = [](const std::string& seed) {
    const auto run = validate("losesVolume", {"--json", "--only", "ModelTest", "--seed", seed});
    const auto results = nlohmann::json::parse(run.out, nullptr, false);
    const std::string reason = results["cases"][0]["reasons"][0];
    const std::size_t end = reason.find(" (max_success=5000 seed=" + seed + ")");
    EXPECT_NE(end, std::string::npos) << reason;
    return reason.substr(0, end);
  };
  const std::string steps = stepsFrom("7");
  EXPECT_THAT(steps, testing::HasSubstr("in a random run of {show 0}, {volume 0}, as listener, "));
  EXPECT_EQ(stepsFrom("7"), steps);
  EXPECT_NE(stepsFrom("8"), steps);
}

TEST(Validator, ShowsTheLastLinesOfACaseThatDidNotPass) {
  const auto run = validate("endsTheProgram", {"--only", "ContractTest.ReleaseEndsInOrder"});
  EXPECT_THAT(run.out, testing::HasSubstr("\n           > in line 8000\n/"));
  EXPECT_THAT(run.out, testing::EndsWith("/endsTheProgram.bundle: 1 case: 1 crashed\n"));
  EXPECT_EQ(run.err, "");
}

TEST(Validator, CountsWhyCasesWereSkipped) {
  const Words words{"--only", "PlayerSlots.OfTheControls", "--only", "ReleaseTest.EndsAtOnce"};
  for (const auto& [plugin, why] : {std::pair{"noCleanup", "2: an export is missing"},
                                    {"ownView", "2: needs the player view stand-in"}})
    EXPECT_THAT(validate(plugin, words).out,
                testing::EndsWith(": 2 cases: 2 skipped (" + std::string(why) + ")\n"));
}

TEST(Validator, SaysWhatIsWrongWithItsWords) {
  const struct {
    const char* plugin;
    Words words;
    int status;
    const char* said;  // a part of it
  } rows[] = {
      {"missing", {}, 5, "no plug-in at "},
      {"", {}, 5, "no plug-in at "},
      {"none", {"--level", "11"}, 2, "--level"},
      {"none", {"--level", "1", "--only", "ModelTest"}, 2, "of a higher level"},
      {"none", {"--only", "Bundle.IsLoadet"}, 2, "did you mean Bundle.IsLoaded?"},
      {"none", {"--only", "REGSTER"}, 2, "no case is called REGSTER (did you mean registers?)"},
      {"none", {"--only", ""}, 2, "an empty name means no case"},
      {"none", {"--seed", "-1"}, 2, "--seed"},
      {"none", {"--seed", "none"}, 2, "--seed"},
  };
  for (const auto& row : rows) {
    const auto run = validate(row.plugin, row.words);
    EXPECT_EQ(run.status, row.status) << row.said;
    EXPECT_THAT(run.err, testing::HasSubstr(row.said));
    EXPECT_EQ(run.out, "");
  }
  const auto listed = validate("none", {"--list", "--level", "1"});
  EXPECT_EQ(listed.status, 0);
  EXPECT_THAT(listed.out, testing::StartsWith("Level 1, loads: the code is loaded, "));
  EXPECT_THAT(listed.out, testing::HasSubstr("\n 1  Bundle.IsLoaded: "));
}

// The path that a host gives to dlopen means the bundle, too; other files in it do not.
TEST(Validator, TakesThePathOfTheCode) {
  const Words only{"--only", "Bundle.IsLoaded"};
  EXPECT_EQ(validate("none.bundle/Contents/Linux/none", only).status, 5) << "the name of a bundle";
  const Words command{MEETING_PROGRAM, "validate",
                      WRONG_PLUGINS "/none.bundle/Contents/Linux/none"};
  Words words = command;
  words.insert(words.end(), only.begin(), only.end());
  EXPECT_EQ(support::run(words).status, 0);
  words[2] = WRONG_PLUGINS "/none.bundle/Contents/../Contents/Linux/none";
  EXPECT_EQ(support::run(words).status, 0);
  words[2] = MEETING_PROGRAM;
  EXPECT_EQ(support::run(words).status, 5);
}

TEST(Validator, HasHintsForWhoLooksForTheOtherSide) {
  const auto run = support::run({MEETING_PROGRAM, "validate-host"});
  EXPECT_EQ(run.status, 2);
  EXPECT_THAT(run.err, testing::HasSubstr("present FILE --plugin validate-host.bundle"));
}

// The program without its part that holds the cases, and with something else in its place.
TEST(Validator, SaysThatItIsIncomplete) {
  const TemporaryFolder folder;
  const std::filesystem::path program = MEETING_PROGRAM;
  const std::string contents = folder / "copy.app/Contents";
  std::filesystem::create_directories(contents + "/Linux");
  std::filesystem::create_directory_symlink(program.parent_path().parent_path() / "Frameworks",
                                            contents + "/Frameworks");
  std::filesystem::copy(program, contents + "/Linux");
  const auto refusal = [&](const std::string& said) {
    const auto run = support::run({contents + "/Linux/movara-meeting", "validate", "--list"});
    EXPECT_EQ(run.status, 9);
    EXPECT_THAT(run.err, testing::HasSubstr(said));
  };
  const std::string cases = contents + "/Linux/movara-contract-cases";
  refusal("does not run: " + cases + ": No such file");
  std::ofstream(cases) << "#!/bin/sh\necho [1]\n";
  refusal("does not run: " + cases + ": Permission denied");
  std::filesystem::permissions(cases, std::filesystem::perms::owner_all);
  refusal("not the program with the cases: " + cases);
}

}  // namespace
