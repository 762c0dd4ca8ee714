// What the tests share that use the program as a user does: arguments in; files, lines and an exit
// status out.
#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "tests/meeting/ClipTest.h"
#include "tests/support/Process.h"

namespace meeting {

using nlohmann::json;
using support::Finished;
using support::Process;
using support::run;
using Arguments = std::vector<std::string>;

inline std::string readFile(const std::string& path) {
  std::ifstream file(path);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

class ProgramTest : public ClipTest {
 protected:
  // Three seconds of picture (odd width, so that rows are padded) and sound.
  static std::string clip() {
    return clipOf("clip.mkv", "testsrc=size=321x180:rate=30", 3, "yuv444p");
  }
  // One second of a single colour.
  static std::string redClip() {
    return clipOf("red.mkv", "color=0xC02020:size=320x180:rate=30", 1, "yuv444p");
  }

  static Arguments command(const Arguments& arguments) {
    Arguments all{MEETING_PROGRAM};
    all.insert(all.end(), arguments.begin(), arguments.end());
    return all;
  }
  static Finished meet(const Arguments& arguments) { return run(command(arguments)); }

  static json report(const std::string& name) {
    return json::parse(readFile(in(name)), nullptr, false);
  }
};

}  // namespace meeting
