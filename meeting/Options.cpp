#include "meeting/Options.h"

#include <CLI/CLI.hpp>
#include <map>

namespace meeting {

namespace {

constexpr int kMaxAttendees = 64;

constexpr const char* kFooter = R"(Exit status:
  0  shared to the end, or for the --duration asked for
  1  an output file could not be written
  2  wrong usage
  3  FILE does not exist or cannot be read
  4  FILE is not a media file
  5  the plug-in is missing or is not one
  6  the session was refused
  130, 143  ended by an interrupt or a termination request, everything released

Lines of --framemd5 are "timestamp in ms, bytes, MD5", a line for each picture that was sent; the
bytes are those of the picture without row padding. To compare with the ffmpeg program:
  ffmpeg -threads 1 -i FILE -map 0:v:0 -fps_mode passthrough -enc_time_base 1:1000 \
         -sws_flags bicubic -pix_fmt rgb24 -f framemd5 -
(second to last and last column, and the third one for the timestamps).)";

std::string firstLine(const std::string& text) { return text.substr(0, text.find('\n')); }

void addPresent(CLI::App& app, Options& options) {
  CLI::App* present = app.add_subcommand("present", "Share a media file with a meeting");
  present->add_option("FILE", options.file, "Movie or sound file to share")->required();
  present->add_option("--attendees", options.attendees, "Attendees that watch (default 0)")
      ->check(CLI::Range(0, kMaxAttendees));
  present->add_option("--duration", options.duration, "End after this many seconds of playing")
      ->check(CLI::Range(0.001, 1e9));
  present->add_flag("--unpaced", options.unpaced,
                    "Send every picture once, as fast as it is taken, instead of in real time");
  present->add_option("--report", options.reportFile, "Write what was sent as JSON");
  present->add_option("--framemd5", options.frameMd5File, "Write a checksum line per picture");
  present->add_option("--snapshot", options.snapshotFolder,
                      "Write a PNG of each participant's view at the end into this folder");
  present->add_flag("--quiet", options.quiet, "No progress and no summary");
  present->add_option("--plugin", options.plugin, "Plug-in bundle to load instead of our own");
  present
      ->add_option("--decoder-threads", options.decoderThreads,
                   "Threads of the video decoder (default 0: chosen by codec and size)")
      ->check(CLI::Range(0, 64));
  const std::map<std::string, JoinAnswer> answers{
      {"accept", JoinAnswer::accept}, {"refuse", JoinAnswer::refuse}, {"limit", JoinAnswer::limit}};
  present
      ->add_option("--session", options.session,
                   "What the conference answers to the join: accept, refuse, or limit (the "
                   "attendee limit is reached)")
      ->transform(CLI::CheckedTransformer(answers));
  present->footer(kFooter);
}

}  // namespace

std::variant<Options, Information, Failure> parseOptions(int argc, const char* const* argv) {
  Options options;
  CLI::App app("Reference meeting: loads the streaming plug-in and shares a file through it.",
               "movara-meeting");
  app.set_version_flag("--version", MOVARA_VERSION);
  app.require_subcommand(1);
  addPresent(app, options);
  app.footer(kFooter);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) {
      std::ostringstream text;
      app.exit(error, text, text);
      return Information{text.str()};
    }
    return Failure{ExitStatus::usage, firstLine(error.what()) + " (see --help)"};
  }
  return options;
}

}  // namespace meeting
