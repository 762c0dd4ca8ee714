// The trace front end, run from application bundles with and without a trace bundle.
#include <gmock/gmock.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "tests/platform/TemporaryFolder.h"

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using Lines = std::vector<std::string>;

// A folder of its own with the bundle "host" somewhere in it; gone with the object.
class BundleTree {
 public:
  const fs::path& host() const { return host_; }
  fs::path plugIns() const { return host_ / "Contents/PlugIns"; }
  fs::path beside() const { return host_.parent_path(); }

  // Moves the host bundle to be to a path of exactly `bytes` bytes. A name may have 255 at most, so
  // the padding is spread over the parent and the host.
  void padHostPath(std::size_t bytes) {
    const std::size_t padding = bytes - root_.native().size() - 2;
    host_ = root_ / std::string(padding / 2, 'p') / std::string(padding - padding / 2, 'h');
  }
  // Makes `folder`/lumtrace.bundle with `code` in it; returns the path of the code.
  static std::string addTraceBundle(const fs::path& folder, const fs::path& code) {
    const fs::path target = folder / "lumtrace.bundle/Contents/Linux/lumtrace";
    fs::create_directories(target.parent_path());
    fs::copy_file(code, target);
    return target;
  }
  // What the probe prints from within the host bundle, on both streams.
  Lines run() const {
    const fs::path program = host_ / "Contents/Linux/probe";
    fs::create_directories(program.parent_path());
    fs::copy_file(TRACE_PROBE, program, fs::copy_options::overwrite_existing);
    const fs::path out = root_ / "out";
    const std::string command =
        std::string("'") + program.string() + "' >'" + out.string() + "' 2>&1";
    EXPECT_EQ(std::system(command.c_str()), 0);  // NOLINT(cert-env33-c): a command of our own
    std::ifstream stream(out);
    Lines lines;
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
  }

 private:
  TemporaryFolder folder_;
  fs::path root_ = fs::canonical(folder_ / "");
  fs::path host_ = root_ / "place/host";
};

// The code that served the call of LUMINFO, or nothing.
std::string servingCode(const BundleTree& tree) {
  for (const std::string& line : tree.run()) {
    const auto from = line.find("from=");
    if (line.starts_with("formatted level=2 ") && from != std::string::npos) {
      return line.substr(from + 5);
    }
  }
  return {};
}

struct LevelName {
  int level;
  const char* prefix;
};
constexpr LevelName kLevels[] = {{1, "DEBUG"}, {2, "INFO"}, {4, "WARN"}, {8, "ERROR"}};
constexpr LevelName kMacLevels[] = {{1, "Debug"}, {2, "Info"}, {4, "Warn"}, {8, "Error"}};

TEST(TraceFrontEnd, HandsOverTheArgumentsUnchangedOrAnswersMinusOne) {
  for (const bool bundle : {true, false}) {
    const BundleTree tree;
    const std::string from =
        bundle ? std::string(" from=") + BundleTree::addTraceBundle(tree.plugIns(), TRACE_RECORDER)
               : "";
    const Lines printed = tree.run();
    ASSERT_FALSE(printed.empty());
    const std::string& format = printed.front();
    Lines expected = {format};
    // What the bundle prints, then what the caller got.
    const auto call = [&](const std::string& record, const std::string& name, int result) {
      if (bundle) expected.push_back(record + from);
      expected.push_back(name + " " + std::to_string(bundle ? result : -1));
    };
    const auto formatted = [&](int level, const std::string& tags, const std::string& name) {
      call(std::string("formatted level=") + std::to_string(level) + " " + tags +
               " format=" + format + " text=n=5",
           name, 40 + level);
    };
    const std::string tagged = "module=videostream_MMS tag2=null";
    formatted(8, "module=module tag2=tag", "LUMTRACE2");
    call("raw level=2 module=module tag2=tag text=" + format, "LUMTRACERAW", 82);
    for (const auto& [level, name] : kLevels) {
      formatted(level, "module=null tag2=null", std::string("LUM") + name);
    }
    for (const auto& [level, name] : kLevels) {
      formatted(level, tagged, std::string("LUM") + name + "2");
    }
    for (const auto& [level, name] : kMacLevels) {
      formatted(level, tagged, std::string("Mac") + name + "Trace2");
    }
    expected.emplace_back("after exit -1 -1");
    EXPECT_EQ(printed, expected);
  }
}

TEST(TraceFrontEnd, PrefersThePlugInsFolder) {
  const BundleTree tree;
  const std::string beside = BundleTree::addTraceBundle(tree.beside(), TRACE_RECORDER);
  EXPECT_EQ(servingCode(tree), beside);

  fs::create_directories(tree.plugIns());
  std::ofstream(tree.plugIns() / "lumtrace.bundle") << "a file is no bundle";
  EXPECT_EQ(servingCode(tree), beside);

  fs::remove(tree.plugIns() / "lumtrace.bundle");
  const std::string inside = BundleTree::addTraceBundle(tree.plugIns(), TRACE_RECORDER);
  EXPECT_EQ(servingCode(tree), inside);
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
    EXPECT_THAT(tree.run(), testing::IsSupersetOf({c.lumtrace2, c.lumtraceraw}));
  }
}

TEST(TraceFrontEnd, TooLongAPathLeavesTheBundleBeside) {
  // With "/Contents/PlugIns" behind it a path of 237 bytes just fits.
  for (const auto& [bytes, inPlugIns] :
       {std::pair{237, true}, {238, false}, {254, false}, {255, false}}) {
    SCOPED_TRACE(bytes);
    BundleTree tree;
    tree.padHostPath(static_cast<std::size_t>(bytes));
    const std::string beside = BundleTree::addTraceBundle(tree.beside(), TRACE_RECORDER);
    const std::string inside = BundleTree::addTraceBundle(tree.plugIns(), TRACE_RECORDER);
    EXPECT_EQ(servingCode(tree), inPlugIns ? inside : beside);
  }
}

}  // namespace
