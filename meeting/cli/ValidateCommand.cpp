// movara-meeting validate
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <filesystem>
#include <limits>
#include <memory>
#include <ostream>
#include <string>
#include <system_error>
#include <vector>

#include "meeting/PluginModule.h"
#include "meeting/Suggestion.h"
#include "meeting/TerminalProgress.h"
#include "meeting/cli/Choice.h"
#include "meeting/cli/Commands.h"
#include "platform/Bundle.h"
#include "validator/CaseProgram.h"
#include "validator/CaseResults.h"
#include "validator/CaseRun.h"

namespace meeting {

namespace {

using validator::Case;
using validator::CaseProgram;
using validator::CaseResult;

struct Words {
  std::string plugin;
  std::vector<std::string> only;
  int level = static_cast<int>(validator::Level::sequences);
  std::uint64_t seed = 1;
  double limit = 60.0;  // seconds
  bool list = false;
  bool json = false;
};

// One line that is rewritten, and only where somebody watches.
class Counter {
 public:
  ~Counter() { write("\r\033[K"); }
  void show(std::size_t number, std::size_t of, const std::string& name) const {
    write("\r\033[K" + std::to_string(number) + " of " + std::to_string(of) + ": " + name);
  }
  void hide() const { write("\r\033[K"); }

 private:
  void write(const std::string& text) const {
    if (live_) std::fputs(text.c_str(), stderr);
  }
  const bool live_ = TerminalProgress::mayRewrite(STDERR_FILENO);
};

std::string sectionOfLevels() {
  std::string text;
  for (const validator::LevelText& one : validator::levelTexts()) {
    const std::string number = std::to_string(static_cast<int>(one.level));
    text += (text.empty() ? "" : "\n") + std::string(4 - number.size(), ' ') + number + "  " +
            one.name + ": " + one.adds;
  }
  return text;
}

bool isMeant(const std::string& word, const Case& what) {
  return inLowerCase(what.name).find(inLowerCase(word)) != std::string::npos;
}

// The words that a case's name is put together from: each begins with a capital letter.
void addWordsOf(const std::string& name, std::vector<std::string>& words) {
  for (const char letter : name) {
    const bool begins = std::isupper(static_cast<unsigned char>(letter)) != 0;
    if (begins || words.empty()) words.emplace_back();
    if (letter != '.') words.back() += letter;
  }
}

// What somebody may have meant who has mistyped a case's name, or one of its words.
std::string suggestedCase(const std::string& word, const std::vector<Case>& cases) {
  std::vector<std::string> names;
  std::vector<std::string> parts;
  for (const Case& what : cases) {
    names.push_back(what.name);
    addWordsOf(what.name, parts);
  }
  std::string name = suggestion(word, names);
  if (!name.empty()) return name;
  std::transform(parts.begin(), parts.end(), parts.begin(), inLowerCase);
  return suggestion(word, parts);
}

// The cases that the words choose, or which of the words means none.
Outcome choose(const Words& words, std::vector<Case>& cases) {
  for (const std::string& word : words.only) {
    if (word.empty())
      return outcomeOf(
          {ExitStatus::usage, "--only: an empty name means no case (see validate --list)"});
    if (std::none_of(cases.begin(), cases.end(), [&](const Case& c) { return isMeant(word, c); }))
      return outcomeOf(
          {ExitStatus::usage, "--only: no case is called " + word + suggestedCase(word, cases)});
  }
  std::erase_if(cases, [&](const Case& what) {
    const auto meant = [&](const std::string& word) { return isMeant(word, what); };
    const bool chosen =
        words.only.empty() || std::any_of(words.only.begin(), words.only.end(), meant);
    return !chosen || static_cast<int>(what.level) > words.level;
  });
  if (!cases.empty()) return {};
  return outcomeOf({ExitStatus::usage, "--only: what it means is of a higher level"});
}

Outcome check(const CaseProgram& program, const std::vector<Case>& all,
              const std::vector<Case>& cases, const Words& words, std::ostream& out) {
  const auto bundle = PluginModule::bundleAt(words.plugin);
  if (!bundle) return outcomeOf(PluginModule::noBundle(words.plugin));
  if (!std::filesystem::is_regular_file(bundle->executablePath()))
    return outcomeOf({ExitStatus::noPlugin, "not a plug-in: " + words.plugin + ": no code at " +
                                                bundle->executablePath()});
  const CaseProgram::Settings settings{
      bundle->executablePath(),
      std::chrono::milliseconds(static_cast<std::int64_t>(words.limit * 1000.0)), words.seed};
  const Counter counter;
  const auto show = [&](std::size_t number, std::size_t of, const Case& what) {
    counter.show(number, of, what.name);
  };
  const auto print = [&](const CaseResult& result) {
    if (words.json) return;
    counter.hide();
    printResult(out, result);
    out.flush();
  };
  const auto results = runCases(program, settings, all, cases, {show, print});
  const std::string summary = summaryOf(results);
  if (words.json)
    printResultsAsJson(out, bundle->path(), results);
  else
    out << bundle->path() << ": " << summary << '\n';
  if (allWell(results)) return {};
  return {static_cast<int>(ExitStatus::negative), {}};
}

Outcome validate(const Words& words, std::ostream& out) {
  const auto own = platform::Bundle::mainBundle();
  const CaseProgram program((own ? own->path() : std::string(".")) +
                            "/Contents/Linux/movara-contract-cases");
  try {
    const auto all = program.cases();
    if (!all)
      return outcomeOf({ExitStatus::incomplete, "not the program with the cases: " +
                                                    program.path() + " (install movara whole)"});
    std::vector<Case> cases = *all;
    if (Outcome chosen = choose(words, cases); chosen.exitStatus != 0) return chosen;
    if (!words.list) return check(program, *all, cases, words, out);
    words.json ? printCasesAsJson(out, cases) : printCases(out, cases);
    return {};
  } catch (const std::system_error& error) {
    return outcomeOf({ExitStatus::incomplete,
                      std::string("the program with the cases does not run: ") + error.what()});
  }
}

Command::Run declare(CLI::App& app) {
  const auto words = std::make_shared<Words>();
  app.add_option("PLUGIN", words->plugin,
                 "Plug-in bundle, or its code; a name alone may mean one beside movara.bundle")
      ->type_name("");
  limit(app.add_option("--level", words->level,
                       "How far to go; each level adds its cases (default 10)"),
        "1..10", 1, 10);
  app.add_option("--only", words->only,
                 "Only cases with NAME, or a part of one, in theirs, in capital letters or small "
                 "ones. May be given many times")
      ->type_name("NAME")
      ->expected(1)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
  app.add_flag("--list", words->list, "Show the cases instead of running them");
  app.add_flag("--json", words->json, "Results, or the list, for a program");
  limit(app.add_option("--seed", words->seed,
                       "Of the random sequences; the same seed, the same steps (default 1)"),
        "N", std::int64_t{0}, std::numeric_limits<std::int64_t>::max());
  limit(app.add_option("--limit", words->limit,
                       "Time that a case may take before it counts as hung (default 60)"),
        "SECONDS", 0.1, 3600.0);
  return [words](std::ostream& out) -> Outcome {
    if (words->plugin.empty() && !words->list)
      return outcomeOf({ExitStatus::usage, "PLUGIN is required (see validate --help)"});
    return validate(*words, out);
  };
}

}  // namespace

Command validateCommand() {
  return {.name = "validate",
          .summary = "Check a plug-in against the contract, case by case",
          .examples = {{"validate mine.bundle", "all that there is to check"},
                       {"validate mine.bundle --level 3", "whether a host can use it at all"},
                       {"validate mine.bundle --only Release --json", "some cases, for a program"},
                       {"validate mine.bundle --level 10 --seed 7", "other random sequences"},
                       {"validate --list", "the cases, and what each of them protects"}},
          .sections = {{"Levels", sectionOfLevels()},
                       {"Outcomes",
                        "  passed, failed (with the reasons), crashed (the process ended), hung "
                        "(it took\n  too long), skipped (with the reason; it counts as no "
                        "failure). Exit status 1\n  when a case failed, crashed or hung."}},
          .declare = declare};
}

}  // namespace meeting
