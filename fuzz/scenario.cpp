// The words of scenarios, of the room's action field and of the command line, and the lines of
// recordings: whatever is written, it is what it may be or a line says what is wrong.
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <sstream>
#include <string>

#include "fuzz/Target.h"
#include "meeting/MessageRecording.h"
#include "meeting/MessageText.h"
#include "meeting/Scenario.h"
#include "meeting/cli/CommandLine.h"
#include "meeting/cli/Commands.h"

namespace meeting {
namespace {

constexpr std::size_t kLongest = 4096;

void expectWithinLimits(const Action& action) {
  EXPECT_LE(action.document, 1000U);
  EXPECT_GE(action.document, 1U);
  EXPECT_LE(action.participant, 1000U);
  EXPECT_TRUE(action.number >= 0 && action.number <= 1e9);
  EXPECT_TRUE(action.verb != Verb::volume || action.number <= 255);
  EXPECT_TRUE(action.verb != Verb::delay || action.number <= 60'000);
  EXPECT_EQ(action.verb == Verb::resize, action.width > 0 && action.height > 0);
  EXPECT_LE(std::max(action.width, action.height), 8192U);
}

void expectWithinLimits(const Scenario& scenario) {
  for (const TimedAction& timed : scenario) {
    EXPECT_TRUE(timed.at >= platform::Duration::zero() && timed.at <= platform::seconds(1e6));
    expectWithinLimits(timed.action);
  }
}

// A file that only this process can see.
class MemoryFile {
 public:
  MemoryFile() : file_(::memfd_create("scenario", MFD_CLOEXEC)) {}
  std::string hold(const std::string& text) const {
    EXPECT_EQ(::ftruncate(file_, 0), 0);
    EXPECT_EQ(::pwrite(file_, text.data(), text.size(), 0), static_cast<ssize_t>(text.size()));
    return "/proc/self/fd/" + std::to_string(file_);
  }

 private:
  const int file_;
};

std::string fileWith(const std::string& text) {
  static const MemoryFile file;
  return file.hold(text);
}

void tryAction(fuzz::Input& in) {
  const std::string text = in.ConsumeRandomLengthString(kLongest);
  const auto parsed = parseAction(text);
  if (const auto* action = std::get_if<Action>(&parsed)) return expectWithinLimits(*action);
  EXPECT_EQ(std::get<std::string>(parsed).rfind("no such action: " + text, 0), 0U);
}

void tryScenario(fuzz::Input& in) {
  const std::string path = fileWith(in.ConsumeRandomLengthString(kLongest));
  auto read = readScenario(path);
  if (auto* scenario = std::get_if<Scenario>(&read)) {
    expectWithinLimits(*scenario);
    sort(*scenario);
    EXPECT_TRUE(std::is_sorted(scenario->begin(), scenario->end(),
                               [](const auto& a, const auto& b) { return a.at < b.at; }));
  } else {
    EXPECT_EQ(std::get<std::string>(read).rfind(path + ":", 0), 0U);
  }
}

Outcome expectWithinLimits(const Options& options, std::ostream& /*out*/) {
  expectWithinLimits(options.scenario);
  EXPECT_FALSE(options.files.empty());
  EXPECT_TRUE(options.attendees >= 0 && options.attendees <= 64);
  EXPECT_TRUE(!options.duration || (*options.duration > 0 && *options.duration <= 1e9));
  EXPECT_TRUE(options.decoderThreads >= 0 && options.decoderThreads <= 64);
  return {};
}

void tryOptions(fuzz::Input& in) {
  const std::string file = fileWith(in.ConsumeRandomLengthString(kLongest));
  std::vector<std::string> words = {"present"};
  while (in.remaining_bytes() > 0 && words.size() < 32) {
    std::string word = in.ConsumeRandomLengthString(64).c_str();
    // No other file is to be read.
    if (word.rfind("--scenario", 0) == 0) word = "--scenario=" + file;
    words.push_back(std::move(word));
  }
  std::ostringstream out;
  const Outcome outcome =
      CommandLine({presentCommand([](const Options& options, std::ostream& ignored) {
        return expectWithinLimits(options, ignored);
      })}).run(std::move(words), out);
  const bool wrong = outcome.exitStatus == static_cast<int>(ExitStatus::usage);
  EXPECT_TRUE(wrong || outcome.exitStatus == static_cast<int>(ExitStatus::done));
  EXPECT_EQ(outcome.line.empty(), !wrong);
}

void tryRecording(fuzz::Input& in) {
  // Most begin as one does, so that what follows is read.
  std::string text = in.ConsumeBool() ? recordingHead() + '\n' : "";
  const std::string path = fileWith(text += in.ConsumeRandomLengthString(kLongest));
  std::uint64_t last = 0;
  const auto failure = readRecording(path, [&](const PassedMessage& message) {
    EXPECT_EQ(message.number, ++last);
    EXPECT_FALSE(messageAsText(message).empty());
    return true;
  });
  EXPECT_TRUE(!failure || failure->status == ExitStatus::wrongFile);
}

}  // namespace
}  // namespace meeting

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input in(data, size);
  constexpr void (*kTries[])(fuzz::Input&) = {meeting::tryAction, meeting::tryScenario,
                                              meeting::tryOptions, meeting::tryRecording};
  in.PickValueInArray(kTries)(in);
  return 0;
}
