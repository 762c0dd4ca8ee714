// movara-meeting present
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <map>
#include <memory>
#include <optional>
#include <ostream>
#include <utility>

#include "meeting/MediaFile.h"
#include "meeting/Meeting.h"
#include "meeting/OutputFile.h"
#include "meeting/Report.h"
#include "meeting/SignalWatcher.h"
#include "meeting/TerminalProgress.h"
#include "meeting/cli/Choice.h"
#include "meeting/cli/Commands.h"

namespace meeting {

namespace {

constexpr int kMaxAttendees = 64;
constexpr int kMaxPort = 65535;
constexpr int kMaxDecoderThreads = 64;

const char* const kActions =
    R"(  play  pause  stop  seek=SECONDS  volume=0..255  mute  unmute  fullscreen
  controls=on|off  activate  deactivate  resize=WxH
  attendee=N join | leave | volume=0..255 | mute | unmute | fullscreen | controls=on|off |
             activate | deactivate | resize=WxH | delay=MILLISECONDS (that each picture takes)
  session=refuse | leave | limit | bandwidth | play        channel=fail | reconnect
  presenter-crash  presenter-return                        role=N,BITS
With "document=N " before it, an action is for another than the first of several files.)";

const char* const kChecksums =
    R"(  "timestamp in ms, bytes, MD5" for each picture that was sent; the bytes are those of the picture
  without row padding. To compare with the ffmpeg program:
  ffmpeg -threads 1 -i FILE -map 0:v:0 -fps_mode passthrough -enc_time_base 1:1000 \
         -sws_flags bicubic -pix_fmt rgb24 -f framemd5 -
  (second to last and last column, and the third one for the timestamps).)";

using Timed = std::vector<std::pair<std::string, std::string>>;

// What is read into, some of it for a second look after the parsing.
struct Words {
  Options options;
  Timed actions;
  std::string scenarioFile;
  std::string address;
};

void addMeeting(CLI::App& app, Words& words) {
  Options& options = words.options;
  app.add_option("FILE", options.files, "Movie or sound file to share; several are shared at once")
      ->type_name("")
      ->required();
  limit(app.add_option("--attendees", options.attendees, "Attendees that watch (default 0)"),
        "0..64", 0, kMaxAttendees);
  limit(app.add_option("--duration", options.duration, "End after this many seconds of playing"),
        "SECONDS", 0.001, 1e9);
  app.add_flag("--stay", options.stay, "Do not end with the movie, only when interrupted");
  app.add_flag("--recording", options.recording,
               "Play the file back to the attendees as a recorded meeting");
  addChoice<JoinAnswer>(app, "--session", options.session,
                        "What the conference answers to the join (limit: the attendee limit is "
                        "reached)",
                        {{"accept", JoinAnswer::accept},
                         {"refuse", JoinAnswer::refuse},
                         {"limit", JoinAnswer::limit}});
  app.add_option("--at", words.actions, "Do ACTION at TIME; may be given many times")
      ->type_size(2)
      ->type_name("TIME ACTION")
      ->expected(1)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
  app.add_option("--scenario", words.scenarioFile,
                 "Do what the lines \"TIME ACTION\" of a file say")
      ->type_name("FILE");
}

void addRoom(CLI::App& app, Words& words) {
  limit(app.add_flag("--web{0}", words.options.room.port,
                     "Open a room: a page to watch and steer the meeting, on PORT or any free one")
            ->multi_option_policy(CLI::MultiOptionPolicy::Throw),
        "[PORT]", 0, kMaxPort);
  app.add_option("--listen", words.address,
                 "Address of the room (default 127.0.0.1). Any other one is protected by a "
                 "random token in the page's address")
      ->type_name("ADDRESS");
}

void addOutput(CLI::App& app, Options& options) {
  app.add_option("--report", options.reportFile, "Write what was sent as JSON")->type_name("FILE");
  app.add_option("--framemd5", options.frameMd5File, "Write a checksum line per picture")
      ->type_name("FILE");
  app.add_option(
         "--record", options.recordFile,
         "Keep all that passes in a file for inspect: messages with their records, media data "
         "by size and hash")
      ->type_name("FILE");
  app.add_option("--messages", options.messagesFile,
                 "Write the messages, media data apart, as inspect --json shows them")
      ->type_name("FILE");
  app.add_option("--snapshot", options.snapshotFolder,
                 "Write a PNG of each participant's view at the end into this folder")
      ->type_name("FOLDER");
  app.add_flag("--quiet", options.quiet, "No progress and no summary");
}

void addPlayer(CLI::App& app, Options& options) {
  app.add_flag("--unpaced", options.unpaced,
               "Send every picture once, as fast as it is taken, instead of in real time");
  app.add_option("--plugin", options.plugin, "Plug-in bundle to load instead of our own")
      ->type_name("BUNDLE");
  limit(app.add_option("--decoder-threads", options.decoderThreads,
                       "Threads of the video decoder (default 0: chosen by codec and size)"),
        "0..64", 0, kMaxDecoderThreads);
}

std::string unknownTarget(const Action& action, const Options& options) {
  if (action.document > options.files.size())
    return "there is no document " + std::to_string(action.document);
  if (action.participant > static_cast<unsigned>(options.attendees))
    return "there is no attendee " + std::to_string(action.participant);
  return {};
}

// Completes the options; answers what is wrong with what was asked for, or nothing.
std::string complete(Words& words) {
  Options& options = words.options;
  if (!words.scenarioFile.empty()) {
    auto scenario = readScenario(words.scenarioFile);
    if (const auto* wrong = std::get_if<std::string>(&scenario)) return *wrong;
    options.scenario = std::get<Scenario>(std::move(scenario));
  }
  for (const auto& [time, action] : words.actions) {
    const auto timed = parseTimedAction(time, action);
    if (const auto* wrong = std::get_if<std::string>(&timed)) return *wrong;
    options.scenario.push_back(std::get<TimedAction>(timed));
  }
  for (const TimedAction& timed : options.scenario) {
    std::string wrong = unknownTarget(timed.action, options);
    if (!wrong.empty()) return wrong;
  }
  if (options.files.size() > 1 && !options.frameMd5File.empty())
    return "--framemd5 is for a single FILE";
  if (options.recording && options.session != JoinAnswer::accept)
    return "--session is for a presenter, whom a recording does not have";
  if (!words.address.empty() && !options.room.open) return "--listen is for a room: --web";
  if (!words.address.empty()) options.room.address = words.address;
  return {};
}

Outcome hold(const Options& options, std::ostream& out) {
  Meeting meeting(options);
  Outcome outcome;
  {
    const SignalWatcher signals([&meeting](int signal) { meeting.interrupt(signal); });
    outcome = meeting.run();
  }
  const bool shared = outcome.exitStatus == static_cast<int>(ExitStatus::done);
  const bool interrupted = outcome.exitStatus > 128;
  if (!options.quiet && (shared || interrupted))
    out << reportAsTable(meeting.report(), TerminalProgress::mayDecorate(STDOUT_FILENO));
  if (options.reportFile.empty()) return outcome;
  OutputFile report(options.reportFile);
  report << reportAsJson(meeting.report());
  const int error = report.finish();
  // What has gone wrong before matters more.
  if (error == 0 || !outcome.line.empty()) return outcome;
  return outcomeOf(cannotWrite(options.reportFile, error));
}

}  // namespace

Command presentCommand() { return presentCommand(hold); }

Command presentCommand(std::function<Outcome(const Options&, std::ostream&)> hold) {
  const auto declare = [hold = std::move(hold)](CLI::App& app) -> Command::Run {
    const auto words = std::make_shared<Words>();
    addMeeting(app, *words);
    addRoom(app, *words);
    addOutput(app, words->options);
    addPlayer(app, words->options);
    return [&app, words, hold](std::ostream& out) {
      words->options.room.open = app.count("--web") > 0;
      if (!words->scenarioFile.empty())
        if (const auto failure = checkReadable(words->scenarioFile)) return outcomeOf(*failure);
      const std::string wrong = complete(*words);
      if (!wrong.empty()) return outcomeOf({ExitStatus::usage, wrong + " (see present --help)"});
      return hold(words->options, out);
    };
  };
  return {.name = "present",
          .summary = "Share media files with a meeting",
          .examples = {{"present film.mp4 --attendees 3 --web",
                        "share a film with three attendees, and open a room on any free port"},
                       {"present a.mp4 b.mp4 --attendees 1", "two documents; one plays at a time"},
                       {"present film.mp4 --attendees 2 --recording",
                        "play the film back as a recorded meeting"},
                       {"present film.mp4 --attendees 1 --at 2 pause --at 3 seek=10 --at 3 play",
                        "do what a presenter does, at times"},
                       {"present film.mp4 --attendees 1 --record meeting.rec",
                        "keep what passes, for inspect"},
                       {"present film.mp4 --unpaced --framemd5 sums",
                        "send every picture once, as fast as it goes, and write its checksum"}},
          .sections =
              {{"Actions of --at and of the lines \"TIME ACTION\" of --scenario, TIME in seconds "
                "since the\npresenter was first asked to play",
                kActions},
               {"Lines of --framemd5", kChecksums}},
          .declare = declare};
}

}  // namespace meeting
