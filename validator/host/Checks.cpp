#include "validator/host/Checks.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <string_view>

namespace hostcheck {

namespace {

struct Entry {
  const char* name;
  const char* protects;
  const char* skipped;  // why nothing was seen of it
};

constexpr Entry kChecks[] = {
    {"version-asked", "a module of another contract is never started", "no object was created"},
    {"initialize-first", "the module is set up before it makes objects", "no object was created"},
    {"exports-on-main-thread", "the module's own state needs no lock", "no export was called"},
    {"create-arguments", "an object has a container, and a presenter a file",
     "no object was created"},
    {"nothing-thrown", "a host's exception does not cross the contract", "no object was created"},
    {"cleanup-last", "nothing of the module is used once it has been cleaned up",
     "the module was never initialized"},
    {"calls-on-main-thread", "an object's state needs no lock", "no object was called"},
    {"messages-on-main-thread", "a message finds the object at rest", "no message came"},
    {"nothing-after-release", "an object that is gone is not called", "no object was released"},
    {"activation-order", "the document is shown and hidden in turn", "no document was shown"},
    {"view-usable", "the document has a place to be seen", "no document was shown"},
    {"view-kept", "the parent view lives as long as the document is shown in it",
     "no document was hidden"},
    {"interfaces-served", "runtime and router are reached and stay the same",
     "the container has neither runtime nor router"},
    {"unknown-interface-refused", "what is not served is not taken for something else",
     "no object was created"},
    {"file-path", "the presenter's object finds the shared file",
     "no presenter was created in the document area"},
    {"refusal-leaves-variant-alone", "what was not filled is not given back",
     "the container refused no property"},
    {"variants-freed", "FreeVariant gives back what was filled",
     "no text was filled, or the memory in use cannot be measured"},
    {"shared-properties", "the player's state survives a deactivation", "the container keeps none"},
    {"own-document", "messages reach the object", "no message came"},
    {"role", "the object knows whether its user presents or attends",
     "the container has no runtime"},
    {"runtime-mode", "one participant shares the document, the others listen",
     "no object of a live meeting's own document has a role"},
    {"identity", "commands find their receivers", "the runtime tells no identity"},
    {"item-states", "the host's items follow the document", "no live document was shown"},
    {"parameter-data", "attendees learn what the presenter shares",
     "none was published or delivered"},
    {"command-data", "commands arrive as they were sent", "no command arrived"},
    {"command-receivers", "a command reaches everybody it is for, and nobody else",
     "no command arrived"},
    {"no-echo", "a command does not come back to its sender", "no command arrived"},
    {"session-ids", "requests name the session and the source", "the container has no router"},
    {"requests-taken", "what a participant asks for happens", "nothing was asked for"},
    {"query-answers", "a question is answered in its answer words only, the session probe by 0",
     "nothing was asked"},
    {"records-untouched", "records and samples stay their sender's", "no record was sent"},
    {"samples-return", "playing does not stand still", "no sample was sent: nothing was played"},
    {"known-messages", "messages are of the families that an object knows", "no message came"},
    {"status-fields", "status records hold values that mean something", "no status came"},
    {"channel-order", "a channel is created, then joined, then used", "no channel status came"},
    {"render-withdrawn", "nobody draws into a view that was withdrawn",
     "no listener's view was withdrawn"},
    {"listener-told", "a listener knows that the movie plays, and how large it is",
     "no listener was in the channel of a movie that was shared to its end"},
    {"picture-drawn", "a listener sees what is shared",
     "no listener was in the channel of a movie that was shared to its end, its view shown"},
    {"movie-played", "the presenter's object comes to play",
     "nothing was played: no presenter was created"},
};
static_assert(std::size(kChecks) == static_cast<std::size_t>(Check::count));

const char* name(Outcome outcome) {
  constexpr const char* kNames[] = {"skipped", "passed", "failed"};
  return kNames[static_cast<std::size_t>(outcome)];
}

// Texts of this module: no control characters.
std::string quoted(const std::string& text) {
  std::string result = "\"";
  for (const char letter : text) {
    if (letter == '"' || letter == '\\') result += '\\';
    result += letter;
  }
  return result + '"';
}

// Where the report goes.
class Place {
 public:
  bool isFile() const { return !path_.empty(); }
  std::string line(Check check, Outcome outcome, const std::string& why) const {
    const Entry& entry = kChecks[static_cast<std::size_t>(check)];
    if (path_.ends_with(".json"))
      return "{\"check\":" + quoted(entry.name) + ",\"outcome\":" + quoted(name(outcome)) +
             ",\"reason\":" + quoted(why) + ",\"protects\":" + quoted(entry.protects) + "}\n";
    return std::string("validate-host: ") + name(outcome) + "  " + entry.name + ": " +
           entry.protects + (why.empty() ? "" : " (" + why + ")") + "\n";
  }
  // Behind what is there, or in its place: a file is made anew.
  void add(const std::string& text) const { write(text, O_APPEND); }
  void replace(const std::string& text) const { write(text, O_TRUNC); }

 private:
  void write(const std::string& text, int how) const {
    const int file =
        isFile() ? open(path_.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | how, 0666) : STDERR_FILENO;
    std::string_view rest = text;
    while (file >= 0 && !rest.empty()) {
      const ssize_t done = ::write(file, rest.data(), rest.size());
      if (done < 0 && errno != EINTR) break;
      if (done > 0) rest.remove_prefix(static_cast<std::size_t>(done));
    }
    if (!isFile()) return;
    if (!rest.empty()) std::fprintf(stderr, "validate-host: cannot write %s\n", path_.c_str());
    if (file >= 0) close(file);
  }
  static std::string chosenPath() {
    // NOLINTNEXTLINE(concurrency-mt-unsafe): nobody changes it
    const char* const path = std::getenv("MOVARA_VALIDATE_HOST_REPORT");
    return path != nullptr ? path : "";
  }

  const std::string path_ = chosenPath();  // empty: standard error
};

}  // namespace

Findings& Findings::shared() {
  // Never destroyed: a host's thread may call late.
  static auto& findings = *new Findings;
  return findings;
}

void Findings::begin() {
  const platform::Lock lock(mutex_);
  beginOnce();
}

// Of a host that is killed nothing more may come.
void Findings::beginOnce() {
  if (begun_) return;
  begun_ = true;
  const Place place;
  if (place.isFile())
    place.replace(place.line(Check::cleanupLast, Outcome::failed,
                             "UCFCleanup has not come: the host runs, or has ended without it"));
  else
    place.add(
        "validate-host: failures follow as they are found, all checks when UCFCleanup comes; "
        "without those the host has ended before it\n");
}

bool Findings::note(Check check, bool holds, const std::string& reason) {
  const platform::Lock lock(mutex_);
  Finding& finding = findings_.at(static_cast<std::size_t>(check));
  const Outcome outcome = holds ? Outcome::passed : Outcome::failed;
  if (outcome <= finding.outcome) return holds;
  finding = {outcome, holds ? "" : reason};
  changed_ = true;
  if (holds) return true;
  beginOnce();
  const Place place;
  place.add(place.line(check, outcome, reason));
  return false;
}

void Findings::explain(Check check, const std::string& reason) {
  const platform::Lock lock(mutex_);
  Finding& finding = findings_.at(static_cast<std::size_t>(check));
  if (finding.outcome == Outcome::skipped) finding.reason = reason;
}

void Findings::report() {
  const platform::Lock lock(mutex_);
  if (!changed_) return;
  changed_ = false;
  const Place place;
  std::string all;
  for (std::size_t at = 0; at < findings_.size(); ++at) {
    const Finding& finding = findings_.at(at);
    const bool unexplained = finding.outcome == Outcome::skipped && finding.reason.empty();
    all += place.line(static_cast<Check>(at), finding.outcome,
                      unexplained ? kChecks[at].skipped : finding.reason);
  }
  place.replace(all);
}

}  // namespace hostcheck
