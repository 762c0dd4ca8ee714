// movara-meeting inspect
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstddef>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <ostream>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "meeting/MessageBytes.h"
#include "meeting/MessageDifference.h"
#include "meeting/MessageRecording.h"
#include "meeting/MessageText.h"
#include "meeting/Suggestion.h"
#include "meeting/cli/Commands.h"

namespace meeting {

namespace {

const char* const kCompared =
    R"(  Of each participant its messages in their order, with name, direction, answer, fields and bytes,
  apart from them the formats of pictures and sound, and of the pictures and sound blocks that both
  meetings carried those with the same timestamp, by sizes and hashes; nearly all of them must not
  be missing. Not what time decides: when a message came, positions but those that are sought, what
  is said at intervals, and which pictures still came before a pause or a seek. What differs first
  is printed, the message of the first recording behind "-", that of the second behind "+", and its
  bytes where only they tell; nothing when nothing differs.)";

struct Words {
  std::vector<std::string> files;
  std::vector<std::string> only;
  std::vector<std::string> without;
  bool json = false;
  bool diff = false;
};

// `word` is in lower case.
bool hasWord(const char* name, const std::string& word) {
  return !word.empty() && inLowerCase(name).find(word) != std::string::npos;
}

bool isMeant(const std::string& word, const PassedMessage& message) {
  return word == inLowerCase(message.participant) || word == kindName(message.kind()) ||
         hasWord(message.name(), word);
}

// Whether there are such messages, though none may have passed.
bool isOfTheLanguage(const std::string& word) {
  for (const MessageKind kind : kMessageKinds)
    if (word == kindName(kind)) return true;
  for (std::size_t i = 0; i <= kUnknownMessage; ++i)
    if (hasWord(messageName(i), word)) return true;
  return false;
}

// Chooses messages by the words, in any case, and notes which of them meant any.
class Selection {
 public:
  explicit Selection(const Words& words) {
    for (const std::string& word : words.only) only_[inLowerCase(word)].typed = word;
    for (const std::string& word : words.without) {
      Word& without = without_[inLowerCase(word)];
      without = {.typed = word, .isRight = isOfTheLanguage(inLowerCase(word))};
    }
    for (const MessageKind kind : kMessageKinds) known_.insert(kindName(kind));
  }

  bool has(const PassedMessage& message) {
    learn(message.participant);
    learn(message.name());
    const bool wanted = only_.empty() || means(only_, message);
    return !means(without_, message) && wanted;
  }

  // Whether no word can be wrong any more.
  bool isRight() const { return areRight(only_) && areRight(without_); }

  // A wrong word must not look like a meeting in which nothing passed, nor be passed over.
  Outcome outcome() const {
    for (const auto& [word, only] : only_)
      if (!only.isRight) return unknown("--only", only.typed);
    for (const auto& [word, without] : without_)
      if (!without.isRight) return unknown("--without", without.typed);
    return {};
  }

 private:
  struct Word {
    std::string typed;
    bool isRight = false;  // it has meant a message, or may
  };
  using Chosen = std::map<std::string, Word>;  // by the word in lower case

  static bool means(Chosen& words, const PassedMessage& message) {
    bool any = false;
    for (auto& [word, chosen] : words) {
      if (!isMeant(word, message)) continue;
      chosen.isRight = true;
      any = true;
    }
    return any;
  }
  static bool areRight(const Chosen& words) {
    return std::all_of(words.begin(), words.end(),
                       [](const auto& entry) { return entry.second.isRight; });
  }
  // The word and, of a message's name, its parts.
  void learn(const std::string& word) {
    if (!known_.insert(word).second) return;
    std::istringstream parts(word);
    for (std::string part; std::getline(parts, part, '_');) known_.insert(part);
  }
  Outcome unknown(const std::string& option, const std::string& word) const {
    return outcomeOf({ExitStatus::usage, option + ": no message is or has " + word +
                                             suggestion(word, {known_.begin(), known_.end()})});
  }

  Chosen only_;
  Chosen without_;
  std::set<std::string> known_;
};

// Only the recording knows its participants: lines wait until no word can be wrong, lest they are
// followed by the refusal of one.
Outcome show(const Words& words, std::ostream& out) {
  Selection selection(words);
  std::string waiting;
  const auto failure = readRecording(words.files.front(), [&](const PassedMessage& message) {
    if (selection.has(message))
      waiting += (words.json ? lineOf(messageAsJson(message)) : messageAsText(message)) + '\n';
    if (selection.isRight()) out << std::exchange(waiting, {});
    return out.good();
  });
  if (failure) {
    out << waiting;
    return outcomeOf(*failure);
  }
  return out.good() ? selection.outcome() : Outcome{};
}

void print(std::ostream& out, const char* sign, const PassedMessage* message, bool bytes) {
  out << sign << (message != nullptr ? messageAsText(*message) : " nothing more");
  if (bytes) out << "  (" << comparableBytes(*message) << ')';
  out << '\n';
}

Outcome compare(const Words& words, std::ostream& out) {
  Selection selection(words);
  std::vector<PassedMessage> read[2];
  for (std::size_t i = 0; i < 2; ++i) {
    const auto failure = readRecording(words.files[i], [&](PassedMessage message) {
      if (selection.has(message)) read[i].push_back(std::move(message));
      return true;
    });
    if (failure) return outcomeOf(*failure);
  }
  if (Outcome wrong = selection.outcome(); !wrong.line.empty()) return wrong;
  const auto difference = firstDifference(read[0], read[1]);
  if (!difference) return {};
  out << difference->participant << ", " << difference->what << ":\n";
  print(out, "-", difference->one, difference->inBytes);
  print(out, "+", difference->other, difference->inBytes);
  return {static_cast<int>(ExitStatus::negative), {}};
}

Command::Run declare(CLI::App& app) {
  const auto words = std::make_shared<Words>();
  app.add_option("FILE", words->files, "Recording of a meeting, from present --record")
      ->type_name("")
      ->required();
  app.add_flag("--diff", words->diff, "Say where two recordings first differ");
  app.add_flag("--json", words->json, "A line of JSON for each message");
  app.add_option(
         "--only", words->only,
         "Only messages with WORD: a participant, a kind (session, request, sample, status, "
         "data), or a part of a name, in any case. May be given many times")
      ->type_name("WORD")
      ->expected(1)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
  app.add_option("--without", words->without, "No messages with WORD")
      ->type_name("WORD")
      ->expected(1)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
  return [words](std::ostream& out) -> Outcome {
    const char* wrong = nullptr;
    if (words->diff && words->json) wrong = "--diff has no --json";
    if (words->files.size() != (words->diff ? 2U : 1U))
      wrong = words->diff ? "--diff compares two recordings" : "one recording at a time";
    if (wrong != nullptr)
      return outcomeOf({ExitStatus::usage, std::string(wrong) + " (see inspect --help)"});
    return words->diff ? compare(*words, out) : show(*words, out);
  };
}

}  // namespace

Command inspectCommand() {
  return {
      .name = "inspect",
      .summary = "Show what passed in a recorded meeting, or where two of them differ",
      .examples = {{"inspect meeting.rec", "every message, a line each"},
                   {"inspect meeting.rec --only attendee-1 --without sample",
                    "those of one participant, without media data"},
                   {"inspect meeting.rec --json --only REGISTER", "some of them, for a program"},
                   {"inspect --diff before.rec after.rec", "where two meetings first differ"}},
      .sections = {{"What --diff compares", kCompared}},
      .declare = declare};
}

}  // namespace meeting
