// What the program says of itself, and of what is wrong with how it was started.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <regex>
#include <string>
#include <vector>

#include "tests/meeting/ProgramTest.h"

namespace meeting {
namespace {

using UsageTest = ProgramTest;

TEST_F(UsageTest, EachThingAUserCanGetWrongHasItsStatusAndOneLine) {
  std::ofstream(in("text.mp4")) << "this is no movie\n";
  std::ofstream(in("empty.mp4"));
  const std::string whole = readFile(clip());
  std::ofstream(in("truncated.mkv")) << whole.substr(0, 64);
  std::filesystem::create_directories(in("hollow.bundle"));
  std::filesystem::create_directories(in("text.bundle") + "/Contents/Linux");
  std::ofstream(in("text.bundle") + "/Contents/Linux/text") << "no code\n";

  struct Case {
    Arguments arguments;
    int status;
    std::string says;
  };
  const Case cases[] = {
      {{}, 2, "subcommand"},
      {{"presnet", clip()}, 2, "did you mean present?"},
      {{"present"}, 2, "FILE"},
      {{"present", clip(), "--attendees", "-1"}, 2, "attendees"},
      {{"present", clip(), "--duration", "soon"}, 2, "duration"},
      {{"present", clip(), "--session", "acept"}, 2, "did you mean accept?"},
      {{"present", clip(), "--atendees=2"}, 2, "did you mean --attendees?"},
      {{"present", clip(), "--no-such-option"}, 2, "no-such-option"},
      {{"present", clip(), "--at", "1", "jump"}, 2, "no such action: jump (see"},
      {{"present", clip(), "--at", "1", "pasue"}, 2, "did you mean pause?"},
      {{"present", clip(), "--at", "1", "atendee=1 laeve"}, 2, "did you mean attendee=1 leave?"},
      {{"present", clip(), "--at", "1", "attendee=1 play"}, 2, "attendee=1 play (see"},
      {{"present", clip(), "--at", "soon", "play"}, 2, "not a time in seconds: soon"},
      {{"present", clip(), "--at", "1", "attendee=1 leave"}, 2, "there is no attendee 1"},
      {{"present", clip(), "--at", "1", "document=2 play"}, 2, "there is no document 2"},
      {{"present", clip(), "--scenario", in("text.mp4")}, 2, "text.mp4:1: not a time"},
      {{"present", clip(), "--scenario", in("missing.txt")}, 3, "no such file: "},
      {{"present", clip(), clip(), "--framemd5", in("md5")}, 2, "single FILE"},
      {{"present", clip(), "--recording", "--session", "refuse"}, 2, "--session"},
      {{"present", clip(), "--listen", "127.0.0.1"}, 2, "--web"},
      {{"present", clip(), "--web", "99999"}, 2, "web"},
      {{"present", clip(), "--web", "--listen", "nowhere"}, 7, "not a numeric address"},
      {{"present", in("missing.mp4")}, 3, "no such file"},
      {{"present", clip(), in("missing.mp4")}, 3, "no such file"},
      {{"present", folder_.string()}, 3, "not a regular file"},
      {{"present", "/dev/null"}, 3, "not a regular file"},
      {{"present", in("empty.mp4")}, 4, "not a media file"},
      {{"present", in("text.mp4")}, 4, "not a media file"},
      {{"present", in("truncated.mkv")}, 4, "not a media file"},
      {{"present", clip(), "--plugin", in("missing.bundle")}, 5, "no plug-in"},
      {{"present", clip(), "--plugin", in("hollow.bundle")}, 5, "not a plug-in"},
      {{"present", clip(), "--plugin", in("text.bundle")}, 5, "not a plug-in"},
      {{"present", clip(), "--plugin", WRONG_BUNDLES "/noexports.bundle"}, 5, "missing: UCF"},
      {{"present", clip(), "--plugin", WRONG_BUNDLES "/oldversion.bundle"}, 5, "version 4"},
      {{"present", clip(), "--session", "refuse"}, 6, "refused"},
      {{"present", clip(), "--session", "limit"}, 6, "attendee limit"},
      {{"present", clip(), "--report", in("no/such/folder")}, 8, "cannot write"},
      {{"present", clip(), "--messages", in("no/such/folder")}, 8, "cannot write"},
      {{"present", clip(), "--record", in("no/such/folder")}, 8, "cannot write"},
      {{"present", clip(), "--report", clip()}, 2, "would overwrite the shared file"},
      {{"present", clip(), "--record", in("one"), "--messages", in("one")}, 2, "two outputs"},
      {{"validate", clip()}, 5, "no bundle, nor the code of one"},
      {{"inspect"}, 2, "FILE"},
      {{"inspect", "a", "b"}, 2, "one recording"},
      {{"inspect", "--diff", "a"}, 2, "two recordings"},
      {{"inspect", "--diff", "--json", "a", "b"}, 2, "--json"},
      {{"inspect", in("missing.rec")}, 3, "no such file"},
      {{"inspect", clip()}, 4, "not a recording"},
      {{"inspect", folder_.string()}, 3, "Is a directory"},
  };
  const std::string help = meet({"--help"}).out;
  for (const Case& test : cases) {
    EXPECT_NE(help.find("\n  " + std::to_string(test.status) + "  "), std::string::npos) << help;
    const Finished finished = meet(test.arguments);
    std::string label;
    for (const std::string& argument : test.arguments) label += argument + ' ';
    EXPECT_EQ(finished.status, test.status) << label << finished.err;
    EXPECT_EQ(std::count(finished.err.begin(), finished.err.end(), '\n'), 1)
        << label << finished.err;
    EXPECT_EQ(finished.err.rfind("movara-meeting: ", 0), 0U) << label << finished.err;
    EXPECT_NE(finished.err.find(test.says), std::string::npos) << label << finished.err;
    EXPECT_EQ(finished.out, "") << label;
  }
}

// One line each, in the program's own words, whatever the parser would have said.
TEST_F(UsageTest, WhatCannotBeReadIsSaidInASentence) {
  struct Case {
    const char* words;
    const char* says;
  };
  const Case cases[] = {
      {"", "a subcommand is required: "},
      {"-x", "no such option: -x (see --help)"},
      {"help", "no such subcommand: help (see --help)"},
      {"present", "FILE is required (see present --help)"},
      {"present x --report", "--report lacks its value, FILE (see present --help)"},
      {"present x --report --quiet", "--report lacks its value, FILE (see present --help)"},
      {"present x --at 1 --quiet", "--at lacks its value, TIME ACTION (see present --help)"},
      {"present x --record=", "--record lacks its value, FILE (see present --help)"},
      {"present x --attendees", "--attendees lacks its value, 0..64 (see present --help)"},
      {"present x --at 1", "--at lacks its value, TIME ACTION (see present --help)"},
      {"present x --at 1 play --at 2", "--at lacks its value, TIME ACTION (see present --help)"},
      {"present x --attendees two", "--attendees: not a whole number from 0 to 64: two (see "},
      {"present x --attendees 2.5", "--attendees: not a whole number from 0 to 64: 2.5 (see "},
      {"present x --attendees 0x3", "--attendees: not a whole number from 0 to 64: 0x3 (see "},
      {"present x --attendees 65", "--attendees: not a whole number from 0 to 64: 65 (see "},
      {"present x --attendees 99999999999999999999",
       "--attendees: not a whole number from 0 to 64: 99999999999999999999 (see "},
      {"present x --web=", "--web lacks its value, [PORT] (see present --help)"},
      {"present x --web=99999", "--web: not a whole number from 0 to 65535: 99999 (see "},
      {"present x --duration 0", "--duration: not a number from 0.001 to 1000000000: 0 (see "},
      {"present x --duration nan", "--duration: not a number from 0.001 to 1000000000: nan (see "},
      {"present x --report a --report b", "--report is given more than once (see present --help)"},
      {"present x --web=1 --web=2", "--web is given more than once (see present --help)"},
      {"present x --quiet=no", "--quiet takes no value (see present --help)"},
      {"present x --session maybe", "--session: maybe is none of accept|limit|refuse (see "},
      {"inspect x --only", "--only lacks its value, WORD (see inspect --help)"},
      {"inspect --diff=3 a b", "--diff takes no value (see inspect --help)"},
      {"validate a b", "one argument too many: b (see validate --help)"},
      {"validate a --level 11", "--level: not a whole number from 1 to 10: 11 (see "},
      {"validate a --limit 0", "--limit: not a number from 0.1 to 3600: 0 (see "},
  };
  for (const Case& test : cases) {
    const Finished finished = meet(support::words(test.words));
    EXPECT_EQ(finished.status, 2) << test.words;
    EXPECT_EQ(finished.err.rfind(std::string("movara-meeting: ") + test.says, 0), 0U)
        << test.words << ": " << finished.err;
    EXPECT_EQ(finished.out, "") << test.words;
  }
}

TEST_F(UsageTest, HelpAndVersionAreNoErrors) {
  // What the program offers is what it says that it offers.
  std::string help = meet({"--help"}).out;
  help.erase(0, help.find("\nSubcommands:\n"));
  help.erase(std::min(help.find("\n\n"), help.size()));
  std::vector<Arguments> all{{"--help"}, {"--version"}};
  const std::regex name("\n  ([a-z-]+) ");
  for (std::sregex_iterator found(help.begin(), help.end(), name), end; found != end; ++found)
    all.push_back({(*found)[1], "--help"});
  EXPECT_GE(all.size(), 2U + 3U) << help;
  for (const Arguments& arguments : all) {
    const Finished finished = meet(arguments);
    EXPECT_EQ(finished.status, 0) << arguments.front();
    EXPECT_NE(finished.out, "") << arguments.front();
    EXPECT_EQ(finished.err, "") << arguments.front();
    if (arguments.front() == "--version") {
      const std::regex versions(
          R"(movara-meeting \d+\.\d+\.\d+\ncontract 5\n(lib(av|sw)\w+ \d+\.\d+\.\d+\n){5})");
      EXPECT_TRUE(std::regex_match(finished.out, versions)) << finished.out;
    }
    if (arguments.size() == 1) continue;
    for (const char* part : {"\nExamples:\n", "\nExit status:\n"})
      EXPECT_NE(finished.out.find(part), std::string::npos) << finished.out;
    EXPECT_NE(finished.out.find("\n  movara-meeting " + arguments.front() + ' '), std::string::npos)
        << finished.out;
  }
}

TEST_F(UsageTest, LevelsThatAreNoneAreNamed) {
  const struct {
    const char* setting;
    const char* says;
    bool isNone;
  } cases[] = {
      {"MOVARA_TRACE_LEVEL=loud", "no such trace level: loud", true},
      {"MOVARA_FFMPEG_LOG=loud", "MOVARA_FFMPEG_LOG: no such level: loud", true},
      {"MOVARA_FFMPEG_LOG=fatal", "no such level", false},
      {"MOVARA_FFMPEG_LOG=trace", "no such level", false},
  };
  for (const auto& [setting, says, isNone] : cases) {
    Process present({"env", setting, MEETING_PROGRAM, "present", redClip(), "--unpaced"});
    const Finished finished = present.finish();
    EXPECT_EQ(finished.status, 0) << finished.err;
    EXPECT_EQ(finished.err.find(says) != std::string::npos, isNone)
        << setting << ": " << finished.err;
  }
}

// The live line is for who watches, and bold is for who wants it; data stay data.
TEST_F(UsageTest, OnlyATerminalIsDecorated) {
  struct Case {
    const char* subcommand;
    const char* environment;
    support::Terminals terminals;
    bool live;  // on standard error
    bool bold;  // on standard output
  };
  const Case cases[] = {
      {"present", "TERM=xterm", {.out = true, .err = true}, true, true},
      {"present", "TERM=xterm NO_COLOR=", {.out = true, .err = true}, true, true},
      {"present", "TERM=xterm NO_COLOR=1", {.out = true, .err = true}, true, false},
      {"present", "TERM=dumb", {.out = true, .err = true}, false, false},
      {"present", "-u TERM", {.out = true, .err = true}, false, false},
      {"present", "TERM=xterm", {.out = false, .err = true}, true, false},
      {"present", "TERM=xterm", {.out = true, .err = false}, false, true},
      {"present", "TERM=xterm", {.out = false, .err = false}, false, false},
      {"validate", "TERM=xterm", {.out = true, .err = true}, true, false},
      {"validate", "TERM=xterm NO_COLOR=1", {.out = false, .err = true}, true, false},
      {"validate", "TERM=dumb", {.out = true, .err = true}, false, false},
      {"validate", "TERM=xterm", {.out = true, .err = false}, false, false},
  };
  const std::map<std::string, std::string> arguments{
      {"present", redClip()}, {"validate", "movara.bundle --only Bundle.IsLoaded"}};
  const std::map<std::string, const char*> data{{"present", "red.mkv"},
                                                {"validate", "Bundle.IsLoaded"}};
  std::vector<std::unique_ptr<Process>> started;
  for (const Case& test : cases)
    started.push_back(std::make_unique<Process>(
        support::words(std::string("env -u NO_COLOR ") + test.environment +
                       " " MEETING_PROGRAM " " + test.subcommand + " " +
                       arguments.at(test.subcommand)),
        test.terminals));
  for (std::size_t i = 0; i < std::size(cases); ++i) {
    const Case& test = cases[i];
    SCOPED_TRACE(testing::Message() << test.subcommand << " " << test.environment << " out "
                                    << test.terminals.out << " err " << test.terminals.err);
    const Finished finished = started[i]->finish();
    EXPECT_EQ(finished.status, 0) << finished.err;
    const auto has = [](const std::string& text, const char* part) {
      return text.find(part) != std::string::npos;
    };
    EXPECT_EQ(has(finished.err, "\r"), test.live) << finished.err;
    EXPECT_EQ(has(finished.err, "\033[K"), test.live) << finished.err;
    EXPECT_FALSE(has(finished.err, "\033[1m")) << finished.err;
    EXPECT_TRUE(has(finished.out, data.at(test.subcommand))) << finished.out;
    EXPECT_EQ(has(finished.out, "\033[1m"), test.bold) << finished.out;
    EXPECT_EQ(has(finished.out, "\033"), test.bold) << finished.out;
    EXPECT_FALSE(has(finished.out, "\r")) << finished.out;
  }
}

}  // namespace
}  // namespace meeting
