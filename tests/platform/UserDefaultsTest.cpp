#include "platform/UserDefaults.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>

#include "tests/platform/TemporaryFolder.h"

namespace platform {
namespace {

TEST(UserDefaults, ReadsLinesOfItsFile) {
  const TemporaryFolder folder;
  const std::string path = folder / "defaults";
  std::ofstream(path) << "# comment = 1\n\n  Spaced  =  two words \r\nNumber=1.5\nno value\n"
                         "= no key\nEmpty =\nEquals = a=b\nTwice = 1\nTwice = 2";
  const UserDefaults defaults(path);
  EXPECT_EQ(defaults.stringForKey("Spaced"), "two words");
  EXPECT_EQ(defaults.floatForKey("Number"), 1.5F);
  EXPECT_EQ(defaults.stringForKey("Equals"), "a=b");
  EXPECT_EQ(defaults.stringForKey("Twice"), "2");
  for (const char* absent : {"# comment", "comment", "no value", "", "Empty", "Other"}) {
    EXPECT_EQ(defaults.stringForKey(absent), "") << absent;
    EXPECT_EQ(defaults.floatForKey(absent), 0.0F) << absent;
  }
  EXPECT_EQ(UserDefaults(folder / "missing").stringForKey("Number"), "");
}

TEST(UserDefaults, AValueOfTheProcessHidesTheFiles) {
  const TemporaryFolder folder;
  const std::string path = folder / "defaults";
  std::ofstream(path) << "Key = 1\n";
  UserDefaults defaults(path);
  defaults.set("Key", "2");
  EXPECT_EQ(defaults.floatForKey("Key"), 2.0F);
  defaults.remove("Key");
  EXPECT_EQ(defaults.floatForKey("Key"), 1.0F);
}

TEST(FloatDefault, FollowsTheStandardDefaults) {
  UserDefaults& defaults = UserDefaults::standard();
  const FloatDefault followed("Followed");
  EXPECT_EQ(followed.value(), 0.0F);
  {
    const FloatDefault passing("Followed");
    EXPECT_EQ(passing.value(), 0.0F);
  }
  defaults.set("Followed", "1");
  EXPECT_EQ(followed.value(), 1.0F);
  defaults.set("Other", "2");
  EXPECT_EQ(followed.value(), 1.0F);
  defaults.remove("Followed");
  EXPECT_EQ(followed.value(), 0.0F);
}

}  // namespace
}  // namespace platform
