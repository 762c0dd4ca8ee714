// The program as a user meets it: arguments in; files, lines and an exit status out.
#include <gtest/gtest.h>
#include <png.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "tests/meeting/ProgramTest.h"

namespace meeting {
namespace {

// Lines "timestamp, bytes, md5" of what the ffmpeg program decodes.
std::vector<std::string> referenceChecksums(const std::string& path) {
  const Finished reference =
      run(support::words("ffmpeg -nostdin -v error -threads 1 -i " + path +
                         " -map 0:v:0 -fps_mode passthrough -enc_time_base 1:1000 "
                         "-sws_flags bicubic -pix_fmt rgb24 -f framemd5 -"));
  EXPECT_EQ(reference.status, 0) << reference.err;
  std::vector<std::string> lines;
  std::istringstream text(reference.out);
  for (std::string line; std::getline(text, line);) {
    if (line.empty() || line[0] == '#') continue;
    std::istringstream fields(line);
    std::array<std::string, 6> field;
    for (std::string& part : field) {
      std::getline(fields, part, ',');
      part.erase(0, part.find_first_not_of(' '));
    }
    lines.push_back(field[2] + ", " + field[4] + ", " + field[5]);
  }
  return lines;
}

std::vector<std::string> checksums(const std::string& path) {
  std::vector<std::string> lines;
  std::istringstream text(readFile(path));
  for (std::string line; std::getline(text, line);)
    if (!line.empty() && line[0] != '#') lines.push_back(line);
  return lines;
}

TEST_F(ProgramTest, UnpacedSharesEveryPictureBitByBitAndAllTheSound) {
  const Finished finished = meet({"present", clip(), "--unpaced", "--attendees", "2", "--framemd5",
                                  in("md5"), "--report", in("unpaced.json")});
  ASSERT_EQ(finished.status, 0) << finished.err;
  const std::vector<std::string> expected = referenceChecksums(clip());
  ASSERT_EQ(expected.size(), 90U);
  EXPECT_EQ(checksums(in("md5")), expected);

  const json all = report("unpaced.json");
  const json presenter = all.value("presenter", json::object());
  EXPECT_EQ(presenter.value("state", ""), "stopped");
  EXPECT_GE(presenter.value("frames_sent", 0) + presenter.value("stills_sent", 0), 90);
  EXPECT_EQ(presenter.value("dropped", -1), 0);
  EXPECT_EQ(presenter.value("malformed", -1), 0);
  EXPECT_EQ(presenter.value("duration_ms", 0), 3000);
  EXPECT_EQ(presenter.value("audio_bytes_sent", 0), 3 * 48000 * 2) << "mono, 16 bit";
  EXPECT_GT(presenter.value("first_frame_ms", -1.0), 0.0);
  const json video = {{"width", 321}, {"height", 180}, {"fps", 30.0}};
  EXPECT_EQ(presenter["video_format"], video);
  const json audio = {{"channels", 1}, {"rate", 48000}, {"bits", 16}};
  EXPECT_EQ(presenter["audio_format"], audio);
  EXPECT_EQ(all.value("exit", -1), 0);

  const json messages = all.value("messages", json::object());
  EXPECT_EQ(messages.value("SVS_MSG_START_SESSION", 0), 3);
  EXPECT_EQ(messages.value("SVS_MSG_STOP_SESSION", 0), 3);
  EXPECT_EQ(messages.value("MM_MEDIASTREAMING_CMD_REGISTER", 0), 3);
  EXPECT_EQ(messages.value("MM_MEDIASTREAMING_CMD_UNREGISTER", 0), 3);
  EXPECT_FALSE(messages.contains("UNKNOWN")) << messages;
  for (const json& attendee : all.value("attendees", json::array()))
    EXPECT_GT(attendee.value("frames_received", 0), 0) << attendee;
}

// Mean of each colour over the middle of the picture.
std::array<int, 3> meanColour(const std::string& path) {
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  if (png_image_begin_read_from_file(&image, path.c_str()) == 0) return {-1, -1, -1};
  image.format = PNG_FORMAT_RGB;
  std::vector<png_byte> pixels(PNG_IMAGE_SIZE(image));
  png_image_finish_read(&image, nullptr, pixels.data(), 0, nullptr);
  std::array<long, 3> sums{};
  long count = 0;
  for (png_uint_32 y = image.height / 4; y < image.height * 3 / 4; ++y)
    for (png_uint_32 x = image.width / 4; x < image.width * 3 / 4; ++x, ++count)
      for (std::size_t c = 0; c < 3; ++c) sums[c] += pixels[3 * (y * image.width + x) + c];
  std::array<int, 3> means{};
  for (std::size_t c = 0; c < 3; ++c) means[c] = static_cast<int>(sums[c] / std::max(count, 1L));
  return means;
}

TEST_F(ProgramTest, PacedSnapshotsShowThePictureAtEveryParticipant) {
  const Finished finished = meet({"present", redClip(), "--attendees", "2", "--snapshot",
                                  in("pictures"), "--report", in("paced.json"), "--quiet"});
  ASSERT_EQ(finished.status, 0) << finished.err;
  EXPECT_EQ(finished.out + finished.err, "");
  for (const char* name : {"presenter", "attendee-1", "attendee-2"}) {
    const std::array<int, 3> mean = meanColour(in("pictures") + "/" + name + ".png");
    EXPECT_NEAR(mean[0], 0xC0, 4) << name;
    EXPECT_NEAR(mean[1], 0x20, 4) << name;
    EXPECT_NEAR(mean[2], 0x20, 4) << name;
  }
  const json presenter = report("paced.json").value("presenter", json::object());
  EXPECT_TRUE(presenter["pacing_ms"]["p99"].is_number()) << presenter;
  EXPECT_TRUE(presenter["av_skew_ms"]["p99"].is_number()) << presenter;
  EXPECT_EQ(presenter.value("position_ms", 0), 1000);
}

TEST_F(ProgramTest, DurationEndsTheMeetingInTheMiddle) {
  const Finished finished =
      meet({"present", clip(), "--duration", "0.5", "--report", in("short.json")});
  EXPECT_EQ(finished.status, 0) << finished.err;
  EXPECT_NE(finished.out.find("playing"), std::string::npos) << finished.out;
  const json presenter = report("short.json").value("presenter", json::object());
  EXPECT_EQ(presenter.value("state", ""), "playing");
  EXPECT_LT(presenter.value("frames_sent", 1000), 90);
}

TEST_F(ProgramTest, AnInterruptEndsInOrder) {
  struct Case {
    int signal;
    int status;
  };
  for (const Case& test : {Case{SIGHUP, 129}, Case{SIGINT, 130}, Case{SIGTERM, 143}}) {
    Process process(
        command({"present", clip(), "--stay", "--attendees", "1", "--report", in("int.json")}));
    ASSERT_TRUE(process.waitForError("playing"));
    process.send(test.signal);
    const Finished finished = process.finish();
    EXPECT_EQ(finished.status, test.status) << finished.err;
    EXPECT_NE(finished.err.find("movara-meeting: interrupted\n"), std::string::npos)
        << finished.err;
    const json all = report("int.json");
    EXPECT_EQ(all.value("exit", -1), test.status);
    EXPECT_EQ(all["messages"].value("SVS_MSG_STOP_SESSION", 0), 2) << "everything released";
  }
}

TEST_F(ProgramTest, TheSameScenarioGivesTheSameMessages) {
  std::ofstream(in("scenario.txt")) << "# seconds, action\n"
                                       "0.25 pause\n"
                                       "0.55 play\n"
                                       "0.80 attendee=2 leave\n"
                                       "1.30 attendee=2 join\n"
                                       "1.85 attendee=1 volume=80\n"
                                       "2.25 attendee=1 deactivate\n";
  for (const char* name : {"first", "second"}) {
    const Finished finished = meet({"present", clip(), "--attendees", "2", "--quiet", "--scenario",
                                    in("scenario.txt"), "--at", "2.4", "attendee=1 activate",
                                    "--record", in(name), "--messages", in("messages")});
    ASSERT_EQ(finished.status, 0) << finished.err;
  }
  const Finished compared = meet({"inspect", "--diff", in("first"), in("second")});
  EXPECT_EQ(compared.status, 0) << compared.out << compared.err;
  EXPECT_EQ(compared.out + compared.err, "");
  const auto firstLine = [](const std::string& text) { return text.substr(0, text.find('\n')); };
  EXPECT_EQ(firstLine(meet({"inspect", in("second"), "--json"}).out),
            firstLine(readFile(in("messages"))));

  // Another one differs in what was done, and says where.
  ASSERT_EQ(meet({"present", clip(), "--attendees", "2", "--quiet", "--at", "0.25", "stop",
                  "--record", in("third")})
                .status,
            0);
  const Finished other =
      meet({"inspect", "--diff", in("first"), in("third"), "--only", "presenter"});
  EXPECT_EQ(other.status, 1) << other.err;
  EXPECT_EQ(other.err, "");
  EXPECT_EQ(other.out.rfind("presenter, message ", 0), 0U) << other.out;
  for (const char* differing :
       {"eStatus=MM_MEDIASTREAMING_PAUSE", "eStatus=MM_MEDIASTREAMING_STOP"})
    EXPECT_NE(other.out.find(differing), std::string::npos) << other.out;

  // What no field shows is told by its bytes.
  std::string text = readFile(in("first"));
  const std::size_t reserved = text.find("\",\"pointed\"", text.find("\"uMsg\":4"));
  ASSERT_NE(reserved, text.npos);
  text.replace(reserved - 2, 2, "ff");
  std::ofstream(in("changed")) << text;
  const Finished changed = meet({"inspect", "--diff", in("first"), in("changed")});
  EXPECT_EQ(changed.status, 1) << changed.err;
  EXPECT_NE(changed.out.find("ff, pointed=)\n"), std::string::npos) << changed.out;

  // Only what is asked for is shown.
  const Finished shown = meet({"inspect", in("first"), "--only", "CMD_VOLUME"});
  EXPECT_EQ(shown.status, 0) << shown.err;
  EXPECT_NE(shown.out.find("attendee-1   SVS->MMP   MM_MEDIASTREAMING_CMD_VOLUME"),
            std::string::npos);
  EXPECT_NE(shown.out.find("wVolumeLevel=79, "), std::string::npos) << shown.out;
  EXPECT_EQ(shown.out.find("CMD_REGISTER"), std::string::npos) << shown.out;
  struct Case {
    Arguments arguments;
    const char* says;  // a word that means nothing here is refused; nothing of any other
  };
  const Case cases[] = {
      {{"--only", "presnter"}, "--only: no message is or has presnter (did you mean presenter?)\n"},
      {{"--only", "presenter", "--only", "VOLMUE"}, "has VOLMUE (did you mean VOLUME?)\n"},
      {{"--only", "volmue"}, "has volmue (did you mean VOLUME?)\n"},
      {{"--only", "volume", "--only", "Presenter", "--without", "Sample"}, ""},
      {{"--without", "presenter", "--without", "nosuch"}, "--without: no message is or has nosuch"},
      {{"--only", "attendee-3"}, "has attendee-3 (did you mean attendee-1?)\n"},
      {{"--only", ""}, "--only: no message is or has \n"},
      {{"--without", "smaple"}, "--without: no message is or has smaple (did you mean sample?)\n"},
      {{"--diff", in("third"), "--without", "smaple"}, "(did you mean sample?)\n"},
      {{"--without", ""}, "--without: no message is or has \n"},
      {{"--without", "MAX_ATTENDEE_REACHED"}, ""},  // of which there could have been one
      {{"--without", "sample", "--without", "presenter"}, ""},
  };
  for (const Case& test : cases) {
    Arguments arguments{"inspect", in("first")};
    arguments.insert(arguments.end(), test.arguments.begin(), test.arguments.end());
    const Finished finished = meet(arguments);
    EXPECT_EQ(finished.status, *test.says == '\0' ? 0 : 2) << test.says << finished.err;
    EXPECT_EQ(finished.err.empty(), *test.says == '\0') << finished.err;
    EXPECT_TRUE(finished.status == 0 || finished.out.empty()) << finished.out;
    EXPECT_NE(finished.err.find(test.says), std::string::npos) << finished.err;
  }
}

TEST_F(ProgramTest, OutputThatCannotBeWrittenIsSaid) {
  struct Case {
    const char* command;
    int status;
    const char* says;
  };
  const char* const kFull = "movara-meeting: cannot write /dev/full: No space left on device\n";
  const Case cases[] = {
      {"$program --version >/dev/full", 8, "No space left on device"},
      {"$program present --help >&-", 8, "Bad file descriptor"},
      {"mkfifo $folder/pipe; (: <$folder/pipe) & exec 3>$folder/pipe; wait; $program --help >&3",
       141, ""},
      {"$program --version >/dev/null 2>&-", 0, ""},
      {"$share --report /dev/full", 8, kFull},
      {"$share --record /dev/full", 8, kFull},
      {"$share --messages /dev/full", 8, kFull},
      {"$share --framemd5 /dev/full", 8, kFull},
      {"mkdir $folder/views && ln -s /dev/full $folder/views/presenter.png && "
       "$share --snapshot $folder/views",
       8, "views/presenter.png: No space left on device\n"},
      // A limit to the size of files. What compilers count in files of its own is kept from it.
      {"ulimit -f 8 && GCOV_PREFIX=$folder $share --record $folder/cut", 8,
       "cut: File too large\n"},
  };
  const std::string setup = "program='" MEETING_PROGRAM "' folder='" + folder_.string() +
                            "'; share=\"$program present " + redClip() + " --unpaced --quiet\"; ";
  for (const Case& test : cases) {
    const Finished finished = run({"sh", "-c", setup + test.command});
    EXPECT_EQ(finished.status, test.status) << test.command;
    EXPECT_EQ(finished.err.empty(), *test.says == '\0') << finished.err;
    EXPECT_NE(finished.err.find(test.says), std::string::npos) << finished.err;
  }
}

TEST_F(ProgramTest, EndsWhenNothingIsLeftToPlay) {
  struct Case {
    Arguments arguments;
    const char* state;        // of the first document
    const char* secondState;  // of the second, if there is one
  };
  const Case cases[] = {
      {{redClip(), redClip(), "--at", "0.3", "presenter-crash"}, "playing", "stopped"},
      {{redClip(), redClip(), "--at", "0.3", "session=leave"}, "paused", "stopped"},
      {{redClip(), redClip(), "--at", "0.3", "session=limit"}, "paused", "stopped"},
      {{redClip(), "--at", "0.3", "pause"}, "paused", nullptr},
      {{redClip(), "--at", "2.5", "seek=0.5"}, "paused", nullptr},
      {{redClip(), "--at", "0.2", "session=refuse", "--at", "0.3", "presenter-crash", "--at", "0.4",
        "presenter-return"},
       "stopped",
       nullptr},
      // Nothing begins any more once the end has been decided.
      {{redClip(), redClip(), "--duration", "0.5", "--at", "0.7", "presenter-return", "--at", "0.7",
        "attendee=1 join"},
       "playing",
       "joined"},
  };
  for (const Case& test : cases) {
    Arguments arguments{"present"};
    arguments.insert(arguments.end(), test.arguments.begin(), test.arguments.end());
    arguments.insert(arguments.end(), {"--attendees", "1", "--quiet", "--report", in("end.json")});
    const Finished finished = meet(arguments);
    const std::string label = test.arguments.back();
    EXPECT_EQ(finished.status, 0) << label << finished.err;
    const json all = report("end.json");
    EXPECT_EQ(all["presenter"].value("state", ""), test.state) << label;
    if (test.secondState != nullptr) {
      EXPECT_EQ(all["further_documents"][0]["presenter"].value("state", ""), test.secondState)
          << label;
    }
    EXPECT_EQ(all["messages"].value("SVS_MSG_START_SESSION", 0),
              all["messages"].value("SVS_MSG_STOP_SESSION", -1))
        << label;
  }
}

TEST_F(ProgramTest, WhatCannotBeDoneIsSaidAndTheMeetingGoesOn) {
  const Finished finished = meet({"present", redClip(), "--attendees", "1", "--quiet", "--at",
                                  "0.1", "attendee=1 join", "--at", "0.2", "presenter-return"});
  EXPECT_EQ(finished.status, 0);
  EXPECT_EQ(finished.err,
            "movara-meeting: at 0.1 s: attendee 1 is there already\n"
            "movara-meeting: at 0.2 s: the presenter is there already\n");
}

}  // namespace
}  // namespace meeting
