// The trace front end, run from application bundles with and without a trace bundle.
#include <gmock/gmock.h>

#include <fstream>

#include "tests/trace/BundleTree.h"

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;

constexpr std::size_t kFunctions = 14;

// The lines of "all" without the address of the format and the lines that a bundle printed.
std::vector<std::string> results(const Outcome& outcome) {
  std::vector<std::string> lines;
  for (std::size_t i = 1; i < outcome.out.size(); ++i) {
    const std::string& line = outcome.out[i];
    if (!line.starts_with("formatted ") && !line.starts_with("raw ")) lines.push_back(line);
  }
  return lines;
}

// The code that served the call of LUMINFO, or nothing.
std::string servingCode(const Outcome& outcome) {
  for (const std::string& line : outcome.out) {
    const auto from = line.find("from=");
    if (line.starts_with("formatted level=2 ") && from != std::string::npos) {
      return line.substr(from + 5);
    }
  }
  return {};
}

TEST(TraceFrontEnd, WithoutABundleEveryFunctionAnswersMinusOne) {
  const BundleTree tree;
  const Outcome outcome = tree.run({"all"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.err, IsEmpty());
  ASSERT_EQ(outcome.out.size(), 1 + kFunctions + 1);
  for (std::size_t i = 1; i <= kFunctions; ++i) EXPECT_THAT(outcome.out[i], EndsWith(" -1"));
}

TEST(TraceFrontEnd, HandsOverTheArgumentsUnchanged) {
  const BundleTree tree;
  const std::string from =
      " from=" + BundleTree::addTraceBundle(tree.plugIns(), TRACE_RECORDER).string();
  const Outcome outcome = tree.run({"all"});
  EXPECT_EQ(outcome.status, 0);
  ASSERT_FALSE(outcome.out.empty());
  const std::string& format = outcome.out.front();
  const auto record = [&](const char* levelAndTags, const char* text) {
    return "formatted level=" + std::string(levelAndTags) + " format=" + format + " text=" + text +
           from;
  };
  EXPECT_THAT(
      outcome.out,
      ElementsAre(format,                                                                     //
                  record("8 module=module tag2=tag", "n=1"), "LUMTRACE2 48",                  //
                  "raw level=2 module=module tag2=tag text=" + format + from,                 //
                  "LUMTRACERAW 82",                                                           //
                  record("1 module=null tag2=null", "n=2"), "LUMDEBUG 41",                    //
                  record("2 module=null tag2=null", "n=5"), "LUMINFO 42",                     //
                  record("4 module=null tag2=null", "n=6"), "LUMWARN 44",                     //
                  record("8 module=null tag2=null", "n=7"), "LUMERROR 48",                    //
                  record("1 module=videostream_MMS tag2=null", "n=8"), "LUMDEBUG2 41",        //
                  record("2 module=videostream_MMS tag2=null", "n=9"), "LUMINFO2 42",         //
                  record("4 module=videostream_MMS tag2=null", "n=10"), "LUMWARN2 44",        //
                  record("8 module=videostream_MMS tag2=null", "n=11"), "LUMERROR2 48",       //
                  record("1 module=videostream_MMS tag2=null", "n=12"), "MacDebugTrace2 41",  //
                  record("2 module=videostream_MMS tag2=null", "n=13"), "MacInfoTrace2 42",   //
                  record("4 module=videostream_MMS tag2=null", "n=14"), "MacWarnTrace2 44",   //
                  record("8 module=videostream_MMS tag2=null", "n=15"), "MacErrorTrace2 48",  //
                  "after exit -1 -1"));
}

TEST(TraceFrontEnd, PrefersThePlugInsFolder) {
  const BundleTree tree;
  const fs::path beside = BundleTree::addTraceBundle(tree.beside(), TRACE_RECORDER);
  EXPECT_EQ(servingCode(tree.run({"all"})), beside);

  fs::create_directories(tree.plugIns());
  std::ofstream(tree.plugIns() / "lumtrace.bundle") << "a file is no bundle";
  EXPECT_EQ(servingCode(tree.run({"all"})), beside);

  fs::remove(tree.plugIns() / "lumtrace.bundle");
  const fs::path inside = BundleTree::addTraceBundle(tree.plugIns(), TRACE_RECORDER);
  EXPECT_EQ(servingCode(tree.run({"all"})), inside);
}

TEST(TraceFrontEnd, MissingEntryPointsAreNotSoughtElsewhere) {
  struct Case {
    const char* code;
    const char* lumtrace2;
    const char* lumtraceraw;
  };
  for (const Case& c : {Case{TRACE_RECORDER_FORMATTED, "LUMTRACE2 48", "LUMTRACERAW -1"},
                        Case{TRACE_RECORDER_RAW, "LUMTRACE2 -1", "LUMTRACERAW 82"},
                        Case{nullptr, "LUMTRACE2 -1", "LUMTRACERAW -1"}}) {
    SCOPED_TRACE(testing::PrintToString(c.code));
    const BundleTree tree;
    BundleTree::addTraceBundle(tree.beside(), TRACE_RECORDER);
    if (c.code != nullptr) {
      BundleTree::addTraceBundle(tree.plugIns(), c.code);
    } else {
      fs::create_directories(tree.plugIns() / "lumtrace.bundle");
    }
    const std::vector<std::string> lines = results(tree.run({"all"}));
    ASSERT_EQ(lines.size(), kFunctions + 1);
    EXPECT_EQ(lines[0], c.lumtrace2);
    EXPECT_EQ(lines[1], c.lumtraceraw);
  }
}

TEST(TraceFrontEnd, TooLongAPathLeavesTheBundleBeside) {
  struct Case {
    std::size_t hostPathBytes;
    bool inPlugIns;
  };
  // With "/Contents/PlugIns" behind it a path of 237 bytes just fits.
  for (const Case& c : {Case{237, true}, Case{238, false}, Case{254, false}, Case{255, false}}) {
    SCOPED_TRACE(c.hostPathBytes);
    BundleTree tree;
    tree.padHostPath(c.hostPathBytes);
    ASSERT_EQ(tree.host().native().size(), c.hostPathBytes);
    const fs::path beside = BundleTree::addTraceBundle(tree.beside(), TRACE_RECORDER);
    const fs::path inside = BundleTree::addTraceBundle(tree.plugIns(), TRACE_RECORDER);
    EXPECT_EQ(servingCode(tree.run({"all"})), c.inPlugIns ? inside : beside);
  }
}

}  // namespace
