// The trace bundle, end to end: through the front end into lines.
#include <gmock/gmock.h>

#include <map>
#include <set>
#include <sstream>

#include "tests/trace/BundleTree.h"

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::SizeIs;

using Lines = std::vector<std::string>;

struct Record {
  std::string level, module, thread, message;
};

Record parsed(const std::string& line) {
  EXPECT_THAT(line, MatchesRegex("[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3}"
                                 "[+-][0-9]{2}:[0-9]{2} [a-z]+ \\[[^]]*\\] \\[[0-9]+\\] .*"));
  std::istringstream fields(line);
  std::string time;
  Record record;
  fields >> time >> record.level >> record.module >> record.thread;
  std::getline(fields >> std::ws, record.message);
  return record;
}

// "level [module] message" of each line.
Lines summaries(const Lines& lines) {
  Lines result;
  for (const std::string& line : lines) {
    const Record record = parsed(line);
    result.push_back(record.level + " " + record.module + " " + record.message);
  }
  return result;
}

class Lumtrace : public testing::Test {
 protected:
  Lumtrace() { BundleTree::addTraceBundle(tree_.plugIns(), TRACE_LUMTRACE); }

  BundleTree tree_;
};

TEST_F(Lumtrace, WritesRecordsFromTheWantedLevelUp) {
  const std::string debug = "debug [videostream_MMS] at debug";
  const std::string info = "info [videostream_MMS] at info";
  const std::string warning = "warning [videostream_MMS] at warning";
  const std::string error = "error [videostream_MMS] at error";
  struct Case {
    const char* level;
    Lines results;
    Lines records;
  };
  const std::vector<Case> cases{
      {nullptr, {"debug 1", "info 1", "warning 0", "error 0"}, {warning, error}},
      {"debug", {"debug 0", "info 0", "warning 0", "error 0"}, {debug, info, warning, error}},
      {"info", {"debug 1", "info 0", "warning 0", "error 0"}, {info, warning, error}},
      {"warning", {"debug 1", "info 1", "warning 0", "error 0"}, {warning, error}},
      {"error", {"debug 1", "info 1", "warning 1", "error 0"}, {error}},
      {"off", {"debug 1", "info 1", "warning 1", "error 1"}, {}},
      {"loud",
       {"debug 1", "info 1", "warning 0", "error 0"},
       {"warning [lumtrace] no such trace level: loud", warning, error}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.level));
    Environment environment;
    if (c.level != nullptr) environment.push_back(std::string("MOVARA_TRACE_LEVEL=") + c.level);
    Outcome outcome = tree_.run({"levels"}, environment);
    EXPECT_EQ(outcome.status, 0);
    ASSERT_FALSE(outcome.out.empty());
    outcome.out.pop_back();  // the line about the calls after exit
    EXPECT_EQ(outcome.out, c.results);
    EXPECT_EQ(summaries(outcome.err), c.records);
  }
}

TEST_F(Lumtrace, AppendsToTheFileInstead) {
  const auto file = tree_.root() / "logs/trace.log";
  for (const char* text : {"first", "second"}) {
    const Outcome outcome = tree_.run({"warn", text}, {"MOVARA_TRACE_FILE=" + file.string()});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.err, IsEmpty());
  }
  EXPECT_THAT(summaries(linesOf(file)),
              ElementsAre("warning [videostream_MMS] first", "warning [videostream_MMS] second"));
}

TEST_F(Lumtrace, FallsBackToStandardErrorWhenTheFileCannotBeOpened) {
  const std::string folder = tree_.root().string();
  const Outcome outcome = tree_.run({"warn", "kept"}, {"MOVARA_TRACE_FILE=" + folder});
  EXPECT_THAT(summaries(outcome.err),
              ElementsAre(AllOf(HasSubstr("warning [lumtrace] "), HasSubstr(folder)),
                          "warning [videostream_MMS] kept"));
}

TEST_F(Lumtrace, AMessageStaysOneLine) {
  const Outcome outcome = tree_.run({"warn", "one\r\ntwo\t\x1b[2J\x7f 100 %s %n \xc3\xa9"});
  EXPECT_THAT(summaries(outcome.err), ElementsAre("warning [videostream_MMS] "
                                                  R"(one\r\ntwo\t\x1b[2J\x7f 100 %s %n )"
                                                  "\xc3\xa9"));
}

TEST_F(Lumtrace, SurvivesOddCalls) {
  // A file that cannot be opened is one more thing that must not disturb errno.
  const Outcome outcome = tree_.run({"oddities"}, {"MOVARA_TRACE_FILE=" + tree_.root().string()});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.out, ElementsAre("errno kept 1", "no module 0", "null format -1",
                                       "null text -1", "not convertible 0", "second tag 0",
                                       "percent 0", "long 0", "after exit -1 -1"));
  const std::string longText(5000, 'x');
  EXPECT_THAT(summaries(outcome.err),
              ElementsAre(HasSubstr("warning [lumtrace] "), "error [-] no module",
                          "error [odd] wide %ls", R"(error [odd/second\ntag] tagged)",
                          "error [odd] 100 %s %n", "error [odd] " + longText + "|" + longText));
}

TEST_F(Lumtrace, KeepsLinesWholeAndEachThreadsInOrder) {
  constexpr int kThreads = 8;
  constexpr int kLines = 200;
  const auto file = tree_.root() / "trace.log";
  const Outcome outcome = tree_.run({"threads", std::to_string(kThreads), std::to_string(kLines)},
                                    {"MOVARA_TRACE_FILE=" + file.string()});
  EXPECT_EQ(outcome.status, 0);

  std::map<int, int> linesSeen;
  std::map<int, std::set<std::string>> idsSeen;
  std::set<std::string> allIds;
  for (const std::string& line : linesOf(file)) {
    const Record record = parsed(line);
    std::istringstream words(record.message);
    std::string word;
    int thread = -1;
    words >> word >> thread;
    const int number = linesSeen[thread]++;
    EXPECT_EQ(record.message, "thread " + std::to_string(thread) + " line " +
                                  std::to_string(number) + " " +
                                  std::string(static_cast<std::size_t>(50 + number), '0') + " end");
    idsSeen[thread].insert(record.thread);
    allIds.insert(record.thread);
  }
  EXPECT_THAT(allIds, SizeIs(kThreads));
  EXPECT_THAT(idsSeen, SizeIs(kThreads));
  for (const auto& [thread, ids] : idsSeen) EXPECT_THAT(ids, SizeIs(1)) << thread;
  for (const auto& [thread, lines] : linesSeen) EXPECT_EQ(lines, kLines) << thread;
}

}  // namespace
