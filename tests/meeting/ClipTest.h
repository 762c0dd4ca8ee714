// What tests share that hold meetings round real clips: a folder for their files, and the clips.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace meeting {

class ClipTest : public testing::Test {
 protected:
  static void SetUpTestSuite();
  static void TearDownTestSuite();

  // A path in a folder that is removed when the suite has ended.
  static std::string in(const std::string& name) { return folder_ / name; }
  // The clip of this name with sound, its picture from a source of ffmpeg's; made once.
  static std::string clipOf(const std::string& name, const std::string& picture, int seconds,
                            const std::string& pixelFormat = "yuv420p");

  static inline std::filesystem::path folder_;
};

}  // namespace meeting
