// The plug-in that checks hosts: finds nothing in a good one, and each mistake by its name.
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <fstream>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/platform/TemporaryFolder.h"
#include "tests/support/Process.h"

namespace {

using support::Process;
using Names = std::vector<std::string>;

struct Report {
  std::map<std::string, Names> checks;  // by their outcome
  std::string reasons;
};

Report readReport(const std::string& path) {
  Report report;
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);) {
    const auto finding = nlohmann::json::parse(line);
    report.checks[finding.at("outcome")].push_back(finding.at("check"));
    report.reasons += finding.at("reason").get<std::string>() + "\n";
  }
  return report;
}

class HostValidatorTest : public testing::Test {
 protected:
  // The host's command, with its report in a file of the test's folder.
  std::vector<std::string> reporting(const std::string& file, std::vector<std::string> host) const {
    host.insert(host.begin(), {"/usr/bin/env", "MOVARA_VALIDATE_HOST_REPORT=" + folder_ / file});
    return host;
  }

  const TemporaryFolder folder_;
};

struct Mistake {
  const char* made;
  Names caught;
  const char* says = "";  // in a reason
  int ending = 0;         // the signal that ends the host in the middle of the movie
};

const std::vector<Mistake> kMistakes = {
    {"none", {}},
    {"tells what changes nothing", {}},
    {"answers created", {}},
    {"answers joined", {}},
    {"refuses in its own words", {}},
    {"refuses what nobody asks", {}},
    {"does not ask the version", {"version-asked"}},
    {"does not initialize", {"initialize-first"}},
    {"exports from a thread", {"exports-on-main-thread"}, "UCFDeleteInstance came on another"},
    {"no file name", {"create-arguments"}},
    {"throws", {"nothing-thrown"}},
    {"cleans up too early", {"cleanup-last"}},
    {"does not clean up", {"cleanup-last"}},
    {"calls from a thread", {"calls-on-main-thread"}, "OnSetActive came on another"},
    {"calls from a delivery thread", {"calls-on-main-thread"}, "OnSetActive came on another"},
    {"tells from a thread", {"messages-on-main-thread"}, "RouteMessage came on another"},
    {"tells after release", {"nothing-after-release"}, "RouteMessage came after"},
    {"shows twice", {"activation-order"}},
    {"no view", {"view-usable"}},
    {"lets the view die", {"view-kept"}},
    {"another router each time", {"interfaces-served"}},
    {"serves everything", {"unknown-interface-refused"}},
    {"no path", {"file-path"}},
    {"writes what it refuses", {"refusal-leaves-variant-alone"}},
    {"keeps variants", {"variants-freed"}},
    {"stores nothing", {}, "the container keeps none"},
    {"forgets properties", {"shared-properties"}, "(slot 19) then refused it"},
    {"stores zeros", {"shared-properties"}, "is not what is read"},
    {"exchanges container 19 20", {"shared-properties"}},
    {"disowns the document", {"own-document"}},
    {"no role", {"role"}},
    {"exchanges runtime 0 1", {"runtime-mode"}},
    {"everybody presents", {"runtime-mode"}},
    {"long identity", {"identity"}},
    {"exchanges runtime 18 19", {"identity"}},
    {"no items", {"item-states"}},
    {"does not copy", {"parameter-data"}},
    {"exchanges runtime 0 14", {"parameter-data"}},
    {"exchanges runtime 12 37", {"parameter-data"}},
    {"cuts commands", {"command-data"}},
    {"exchanges runtime 2 3", {"command-receivers"}},
    {"loses commands to one", {"command-receivers"}},
    {"misdirects commands", {"command-receivers"}},
    {"refuses commands", {"command-receivers"}},
    {"echoes commands", {"no-echo"}},
    {"refuses ids", {"session-ids"}},
    {"numbers participants",
     {"session-ids"},
     "1001 and 1, another of the same document 1001 and 2"},
    {"refuses to register", {"requests-taken"}},
    {"writes into the question", {"query-answers"}},
    {"writes into requests", {"records-untouched"}},
    {"writes into formats", {"records-untouched"}},
    {"writes into samples", {"records-untouched"}},
    {"keeps a sample", {"samples-return"}},
    {"unknown message", {"known-messages"}},
    {"status without a record", {"status-fields"}},
    {"pictures without a size", {"status-fields"}},
    {"joins before it creates", {"channel-order"}},
    {"draws after withdrawal", {"render-withdrawn"}},
    {"tells no state", {"listener-told"}, "was not told M 3 (0), playing\n"},
    {"tells no size", {"listener-told"}, "was not told M 5, size of the pictures\n"},
    {"draws nothing", {"picture-drawn"}},
    {"stalls, not live", {}, "waited for a live meeting"},
    {"stalls, not confirmed", {}, "waited for S 0, join confirmed (SESSION_MSG_JOIN_CONFIRM)\n"},
    {"stalls, refused", {}, "waited for S 0, join confirmed (SESSION_MSG_JOIN_CONFIRM), when S 1"},
    {"stalls, without a turn", {}, "waited for the main thread to run its loop"},
    {"stalls, with the probe taken", {"query-answers"}, "waited for its session probe"},
    {"stalls, with a result", {"query-answers"}, "waited for its session probe"},
    {"stalls, without a channel", {}, "waited for M 4 (0), channel created"},
    {"stalls, not joined", {}, "waited for M 4 (2), channel joined"},
    {"stalls, not allowed to play", {}, "waited for S 102, playing is allowed"},
    {"none", {"cleanup-last"}, "", SIGKILL},
    {"shows twice", {"cleanup-last", "activation-order"}, "", SIGKILL},
    {"no items", {"cleanup-last", "item-states"}, "", SIGTERM},
    {"serves everything", {"cleanup-last", "unknown-interface-refused"}, "", SIGABRT},
    {"calls from a delivery thread", {"cleanup-last", "calls-on-main-thread"}, "", SIGSEGV},
};

// The hosts mostly wait for a movie to end: eight at a time.
TEST_F(HostValidatorTest, EachMistakeIsCaughtByItsName) {
  constexpr std::size_t kAtOnce = 8;
  for (std::size_t first = 0; first < kMistakes.size(); first += kAtOnce) {
    const std::size_t end = std::min(first + kAtOnce, kMistakes.size());
    std::vector<std::unique_ptr<Process>> hosts;
    for (std::size_t at = first; at < end; ++at)
      hosts.push_back(std::make_unique<Process>(reporting(
          std::to_string(at) + ".json", {WRONG_HOST, VALIDATE_HOST_CODE, kMistakes[at].made,
                                         std::to_string(kMistakes[at].ending)})));
    for (std::size_t at = first; at < end; ++at) {
      const support::Finished host = hosts[at - first]->finish();
      EXPECT_EQ(host.status, -kMistakes[at].ending) << kMistakes[at].made << host.err;
      auto [checks, reasons] = readReport(folder_ / (std::to_string(at) + ".json"));
      EXPECT_EQ(checks["failed"], kMistakes[at].caught) << kMistakes[at].made;
      EXPECT_EQ(checks["passed"].empty(), kMistakes[at].ending != 0) << kMistakes[at].made;
      EXPECT_NE(reasons.find(kMistakes[at].says), std::string::npos)
          << kMistakes[at].made << " says:\n"
          << reasons;
      if (kMistakes[at].caught.empty() && *kMistakes[at].says == '\0') {
        EXPECT_EQ(checks["skipped"], Names{}) << kMistakes[at].made;
      }
    }
  }
}

TEST_F(HostValidatorTest, ItIsAPlugInItself) {
  const support::Finished checked =
      support::run({MEETING_PROGRAM, "validate", VALIDATE_HOST_BUNDLE, "--level", "2"});
  EXPECT_EQ(checked.status, 0) << checked.out;
  EXPECT_EQ(checked.out.find("skipped  "), std::string::npos) << checked.out;
}

// What it checks plug-ins with is a host as well, if one that does not see a movie to its end.
TEST_F(HostValidatorTest, TheValidatorIsAGoodHost) {
  for (const std::string name :
       {"ObjectTest.ComesAndGoes", "ObjectTest.AViewFollowsItsPlaceAndParent",
        "ObjectTest.ASourcesFirstAndLaterActivation",
        "ObjectTest.UsageModeDecidesAboutItemStates"}) {
    support::run(reporting(name + ".json",
                           {MEETING_PROGRAM, "validate", VALIDATE_HOST_BUNDLE, "--only", name}));
    auto [checks, reasons] = readReport(folder_ / (name + ".json"));
    EXPECT_EQ(checks["failed"], Names{}) << name << " says:\n" << reasons;
    for (const std::string check : {"version-asked", "initialize-first", "cleanup-last",
                                    "unknown-interface-refused", "identity", "variants-freed"})
      EXPECT_EQ(std::ranges::count(checks["passed"], check), 1) << name << " " << check;
  }
}

TEST_F(HostValidatorTest, AMeetingIsAGoodHost) {
  const std::string clip = folder_ / "clip.mkv";
  const support::Finished made =
      support::run(support::words("ffmpeg -nostdin -v error -f lavfi -i "
                                  "testsrc=d=1:s=160x90:r=10 -c:v mjpeg " +
                                  clip));
  ASSERT_EQ(made.status, 0) << made.err;
  const std::vector<std::string> meeting = {
      MEETING_PROGRAM, "present",        clip, "--attendees", "1", "--plugin", VALIDATE_HOST_BUNDLE,
      "--snapshot",    folder_ / "views"};  // so that the views are drawn into
  // Two documents, with a source id each.
  std::vector<std::string> both = meeting;
  both.insert(both.begin() + 2, clip);
  const support::Finished live = support::run(reporting("live.json", both));
  EXPECT_EQ(live.status, 0) << live.err;
  auto checks = readReport(folder_ / "live.json").checks;
  EXPECT_EQ(checks["failed"], Names{});
  EXPECT_EQ(checks["skipped"], Names{});

  std::vector<std::string> recording = meeting;
  recording.insert(recording.end(), {"--recording", "--duration", "0.5"});
  const support::Finished played = support::run(reporting("recording.json", recording));
  EXPECT_EQ(played.status, 0) << played.err;
  checks = readReport(folder_ / "recording.json").checks;
  EXPECT_EQ(checks["failed"], Names{});
  EXPECT_FALSE(checks["passed"].empty());

  // It shows nothing by which the meeting could see that it has been refused.
  std::vector<std::string> unwanted = meeting;
  unwanted.insert(unwanted.end(), {"--session", "limit"});
  const support::Finished refused = support::run(reporting("refused.json", unwanted));
  EXPECT_EQ(refused.status, 6);
  EXPECT_EQ(refused.err, "movara-meeting: the session was refused: attendee limit reached\n");
  EXPECT_EQ(readReport(folder_ / "refused.json").checks["failed"], Names{});
}

// Without a file for it, the report is on standard error: what failed, and a line for each check.
TEST_F(HostValidatorTest, TheReportIsToBeRead) {
  const support::Finished host =
      support::run({WRONG_HOST, VALIDATE_HOST_CODE, "tells after release"});
  EXPECT_EQ(host.err.find("validate-host: failures follow as they are found"), 0U) << host.err;
  EXPECT_NE(host.err.find("validate-host: failed  nothing-after-release: an object that is gone is "
                          "not called (RouteMessage came after the object's Release)\n"),
            std::string::npos)
      << host.err;
  EXPECT_NE(host.err.find("validate-host: passed  samples-return: playing does not stand still\n"),
            std::string::npos)
      << host.err;
}

TEST_F(HostValidatorTest, WhatIsFoundIsWrittenBeforeTheHostIsKilled) {
  const support::Finished host =
      support::run({WRONG_HOST, VALIDATE_HOST_CODE, "shows twice", std::to_string(SIGKILL)});
  EXPECT_EQ(host.status, -SIGKILL);
  const std::string last = host.err.substr(host.err.rfind('\n', host.err.size() - 2) + 1);
  EXPECT_EQ(last,
            "validate-host: failed  activation-order: the document is shown and hidden in turn "
            "(CreateActiveUI came twice without DestroyActiveUI)\n");
}

}  // namespace
