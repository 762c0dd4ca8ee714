// The trace bundle, each time in a process that has just loaded it.
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <thread>

#include "tests/platform/TemporaryFolder.h"

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Lines = std::vector<std::string>;

constexpr unsigned long kEachLevel[] = {1, 2, 4, 8};

template <class Function>
Function entryPoint(const char* name) {
  static void* const code = dlopen(TRACE_LUMTRACE, RTLD_NOW);
  return reinterpret_cast<Function>(dlsym(code, name));
}

__attribute__((format(printf, 4, 5))) int trace(unsigned long level, const char* module,
                                                const char* tag2, const char* format, ...) {
  using Trace = int (*)(unsigned long, const char*, const char*, const char*, va_list);
  va_list args;
  va_start(args, format);
  const int result = entryPoint<Trace>("LUMTRACE")(level, module, tag2, format, args);
  va_end(args);
  return result;
}

int traceRaw(const char* text) {
  using TraceRaw = int (*)(unsigned long, const char*, const char*, const char*);
  return entryPoint<TraceRaw>("LUMTRACERAW")(8, "raw", nullptr, text);
}

struct Record {
  std::string level, module, thread, message;
};

Record parsed(const std::string& line) {
  EXPECT_THAT(
      line, testing::MatchesRegex("[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3}"
                                  "[+-][0-9]{2}:[0-9]{2} [a-z]+ \\[[^]]*\\] \\[[0-9]+\\] .*"));
  std::istringstream fields(line);
  std::string time;
  Record record;
  fields >> time >> record.level >> record.module >> record.thread;
  std::getline(fields >> std::ws, record.message);
  return record;
}

class Lumtrace : public testing::Test {
 protected:
  // Runs `calls` in a process of its own. It must end with true.
  void inProcess(const std::map<std::string, std::string>& environment,
                 const std::function<bool()>& calls) const {
    std::fflush(nullptr);  // or the child would write it, too
    const pid_t child = fork();
    if (child == 0) {
      for (const auto& [name, value] : environment) ::setenv(name.c_str(), value.c_str(), 1);
      const bool kept = std::freopen((folder_ / "err").c_str(), "w", stderr) != nullptr;
      _exit(kept && calls() ? 0 : 1);
    }
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
  }
  Lines linesOf(const char* file) const {
    std::ifstream stream(folder_ / file);
    Lines lines;
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
  }
  // "level [module] message" of each line.
  Lines summaries(const char* file = "err") const {
    Lines result;
    for (const std::string& line : linesOf(file)) {
      const Record record = parsed(line);
      result.push_back(record.level + " " + record.module + " " + record.message);
    }
    return result;
  }

  TemporaryFolder folder_;
};

TEST_F(Lumtrace, WritesRecordsFromTheWantedLevelUp) {
  const Lines all = {"debug [m] at 1", "info [m] at 2", "warning [m] at 4", "error [m] at 8"};
  const std::string unknown = "warning [lumtrace] no such trace level: loud";
  for (const auto& [level, written] : {std::pair{"", 2U},
                                       {"debug", 4U},
                                       {"info", 3U},
                                       {"warning", 2U},
                                       {"error", 1U},
                                       {"off", 0U},
                                       {"loud", 2U}}) {
    SCOPED_TRACE(level);
    inProcess({{"MOVARA_TRACE_LEVEL", level}}, [written = written] {
      for (std::size_t i = 0; i < 4; ++i) {
        const int result = trace(kEachLevel[i], "m", nullptr, "at %lu", kEachLevel[i]);
        if (result != (i + written < 4 ? 1 : 0)) return false;
      }
      return true;
    });
    Lines expected(all.end() - written, all.end());
    if (std::string(level) == "loud") expected.insert(expected.begin(), unknown);
    EXPECT_EQ(summaries(), expected);
  }
}

TEST_F(Lumtrace, AppendsToTheFileInstead) {
  for (const char* text : {"first", "second"}) {
    inProcess({{"MOVARA_TRACE_FILE", folder_ / "logs/trace.log"}},
              [text] { return trace(4, "m", nullptr, "%s", text) == 0; });
    EXPECT_THAT(summaries(), IsEmpty());
  }
  EXPECT_THAT(summaries("logs/trace.log"), ElementsAre("warning [m] first", "warning [m] second"));
}

TEST_F(Lumtrace, SurvivesOddCalls) {
  const std::string longText(5000, 'x');
  // A file that cannot be opened is one more thing that must not disturb errno.
  inProcess({{"MOVARA_TRACE_FILE", folder_ / ""}}, [&] {
    errno = ENOENT;
    bool good = trace(8, nullptr, nullptr, "no module") == 0 && errno == ENOENT;
    const char* const none = nullptr;
    constexpr wchar_t kNoCharacter[] = {static_cast<wchar_t>(0x7FFFFFF0), 0};
    good = good && traceRaw(none) == -1 && traceRaw("100 %s %n") == 0;
    good = good && trace(9, "odd", nullptr, "wide %ls", kNoCharacter) == 0;
    good = good && trace(9, "odd", "second\ntag", "one\r\ntwo\t\x1b[2J\x7f \xc3\xa9") == 0;
    return good && trace(9, "odd", nullptr, "%s|%s", longText.c_str(), longText.c_str()) == 0;
  });
  EXPECT_THAT(summaries(),
              ElementsAre(AllOf(HasSubstr("warning [lumtrace] "), HasSubstr(folder_ / "")),
                          "error [-] no module", "error [raw] 100 %s %n", "error [odd] wide %ls",
                          R"(error [odd/second\ntag] one\r\ntwo\t\x1b[2J\x7f )"
                          "\xc3\xa9",
                          "error [odd] " + longText + "|" + longText));
}

TEST_F(Lumtrace, KeepsLinesWholeAndEachThreadsInOrder) {
  constexpr int kThreads = 8;
  constexpr int kLines = 200;
  inProcess({{"MOVARA_TRACE_FILE", folder_ / "log"}}, [] {
    std::vector<std::thread> running;
    for (int thread = 0; thread < kThreads; ++thread) {
      running.emplace_back([thread] {
        for (int line = 0; line < kLines; ++line) {
          trace(4, "m", nullptr, "thread %d line %d %0*d end", thread, line, 50 + line, 0);
        }
      });
    }
    for (std::thread& thread : running) thread.join();
    return true;
  });

  std::map<int, int> linesSeen;
  std::map<int, std::set<std::string>> idsSeen;
  std::set<std::string> allIds;
  for (const std::string& line : linesOf("log")) {
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
  EXPECT_EQ(allIds.size(), kThreads);
  EXPECT_EQ(idsSeen.size(), kThreads);
  for (const auto& [thread, ids] : idsSeen) EXPECT_EQ(ids.size(), 1U) << thread;
  for (const auto& [thread, lines] : linesSeen) EXPECT_EQ(lines, kLines) << thread;
}

}  // namespace
