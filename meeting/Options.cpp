#include "meeting/Options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <map>
#include <utility>

namespace meeting {

namespace {

constexpr int kMaxAttendees = 64;
constexpr int kMaxPort = 65535;

constexpr const char* kFooter = R"(Exit status:
  0  shared to the end, or for the --duration asked for
  1  an output file could not be written
  2  wrong usage
  3  FILE does not exist or cannot be read
  4  FILE is not a media file
  5  the plug-in is missing or is not one
  6  the session was refused
  7  the room's port is taken, or its address is not this machine's
  130, 143  ended by an interrupt or a termination request, everything released

Lines of --framemd5 are "timestamp in ms, bytes, MD5", a line for each picture that was sent; the
bytes are those of the picture without row padding. To compare with the ffmpeg program:
  ffmpeg -threads 1 -i FILE -map 0:v:0 -fps_mode passthrough -enc_time_base 1:1000 \
         -sws_flags bicubic -pix_fmt rgb24 -f framemd5 -
(second to last and last column, and the third one for the timestamps).

Actions of --at and of the lines "TIME ACTION" of --scenario, TIME in seconds since the presenter
was first asked to play:
  play  pause  stop  seek=SECONDS  volume=0..255  mute  unmute  fullscreen
  controls=on|off  activate  deactivate  resize=WxH
  attendee=N join | leave | volume=0..255 | mute | unmute | fullscreen | controls=on|off |
             activate | deactivate | resize=WxH | delay=MILLISECONDS (that each picture takes)
  session=refuse | leave | limit | bandwidth | play        channel=fail | reconnect
  presenter-crash  presenter-return                        role=N,BITS
With "document=N " before it, an action is for another than the first of several files.)";

std::string firstLine(const std::string& text) { return text.substr(0, text.find('\n')); }

using Timed = std::vector<std::pair<std::string, std::string>>;

// What needs a second look after the parsing.
struct Raw {
  Timed actions;
  std::string scenarioFile;
  std::string address;
};

void addMeeting(CLI::App& present, Options& options, Raw& raw) {
  present
      .add_option("FILE", options.files, "Movie or sound file to share; several are shared at once")
      ->required();
  present.add_option("--attendees", options.attendees, "Attendees that watch (default 0)")
      ->check(CLI::Range(0, kMaxAttendees));
  present.add_option("--duration", options.duration, "End after this many seconds of playing")
      ->check(CLI::Range(0.001, 1e9));
  present.add_flag("--stay", options.stay, "Do not end with the movie, only when interrupted");
  present.add_flag("--recording", options.recording,
                   "Play the file back to the attendees as a recorded meeting");
  const std::map<std::string, JoinAnswer> answers{
      {"accept", JoinAnswer::accept}, {"refuse", JoinAnswer::refuse}, {"limit", JoinAnswer::limit}};
  present
      .add_option("--session", options.session,
                  "What the conference answers to the join: accept, refuse, or limit (the "
                  "attendee limit is reached)")
      ->transform(CLI::CheckedTransformer(answers));
  present.add_option("--at", raw.actions, "Do ACTION at TIME; may be given many times")
      ->type_size(2)
      ->type_name("TIME ACTION")
      ->expected(1)
      ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
  present.add_option("--scenario", raw.scenarioFile,
                     "Do what the lines \"TIME ACTION\" of a file say");
}

void addRoom(CLI::App& present, Options& options, Raw& raw) {
  present
      .add_flag("--web{0}", options.room.port,
                "Open a room: a page to watch and steer the meeting. --web PORT chooses the port")
      ->type_name("[PORT]")
      ->check(CLI::Range(0, kMaxPort));
  present.add_option("--listen", raw.address,
                     "Address of the room (default 127.0.0.1). Any other one is protected by a "
                     "random token in the page's address");
}

void addOutput(CLI::App& present, Options& options) {
  present.add_option("--report", options.reportFile, "Write what was sent as JSON");
  present.add_option("--framemd5", options.frameMd5File, "Write a checksum line per picture");
  present.add_option("--messages", options.messagesFile,
                     "Write the routed messages, media data apart, as lines of JSON");
  present.add_option("--snapshot", options.snapshotFolder,
                     "Write a PNG of each participant's view at the end into this folder");
  present.add_flag("--quiet", options.quiet, "No progress and no summary");
}

void addPlayer(CLI::App& present, Options& options) {
  present.add_flag("--unpaced", options.unpaced,
                   "Send every picture once, as fast as it is taken, instead of in real time");
  present.add_option("--plugin", options.plugin, "Plug-in bundle to load instead of our own");
  present
      .add_option("--decoder-threads", options.decoderThreads,
                  "Threads of the video decoder (default 0: chosen by codec and size)")
      ->check(CLI::Range(0, 64));
}

// Joins "--web PORT" to "--web=PORT": a flag's value stands with it, so that a FILE behind a bare
// --web is not taken for one.
std::vector<std::string> arguments(int argc, const char* const* argv) {
  std::vector<std::string> all(argv + 1, argv + argc);
  for (std::size_t i = 0; i + 1 < all.size(); ++i) {
    const std::string& next = all[i + 1];
    const bool number = !next.empty() && next.find_first_not_of("0123456789") == next.npos;
    if (all[i] != "--web" || !number) continue;
    all[i] += "=" + next;
    all.erase(all.begin() + static_cast<std::ptrdiff_t>(i) + 1);
  }
  return all;
}

std::string unknownTarget(const Action& action, const Options& options) {
  if (action.document > options.files.size())
    return "there is no document " + std::to_string(action.document);
  if (action.participant > static_cast<unsigned>(options.attendees))
    return "there is no attendee " + std::to_string(action.participant);
  return {};
}

// What is wrong with what was asked for, or nothing.
std::string complete(Options& options, const Raw& raw) {
  if (!raw.scenarioFile.empty()) {
    auto scenario = readScenario(raw.scenarioFile);
    if (const auto* wrong = std::get_if<std::string>(&scenario)) return *wrong;
    options.scenario = std::get<Scenario>(std::move(scenario));
  }
  for (const auto& [time, action] : raw.actions) {
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
  if (!raw.address.empty() && !options.room.open) return "--listen is for a room: --web";
  return {};
}

}  // namespace

std::variant<Options, Information, Failure> parseOptions(int argc, const char* const* argv) {
  Options options;
  CLI::App app("Reference meeting: loads the streaming plug-in and shares a file through it.",
               "movara-meeting");
  app.set_version_flag("--version", MOVARA_VERSION);
  app.require_subcommand(1);
  CLI::App* present = app.add_subcommand("present", "Share media files with a meeting");
  Raw raw;
  addMeeting(*present, options, raw);
  addRoom(*present, options, raw);
  addOutput(*present, options);
  addPlayer(*present, options);
  present->footer(kFooter);
  app.footer(kFooter);
  try {
    std::vector<std::string> words = arguments(argc, argv);
    std::reverse(words.begin(), words.end());  // as the parser takes them
    app.parse(words);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) {
      std::ostringstream text;
      app.exit(error, text, text);
      return Information{text.str()};
    }
    return Failure{ExitStatus::usage, firstLine(error.what()) + " (see --help)"};
  }
  options.room.open = present->count("--web") > 0;
  if (!raw.address.empty()) options.room.address = raw.address;
  const std::string wrong = complete(options, raw);
  if (!wrong.empty()) return Failure{ExitStatus::usage, wrong + " (see --help)"};
  return options;
}

}  // namespace meeting
