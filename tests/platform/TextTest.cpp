#include "platform/Text.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace platform {
namespace {

TEST(Text, ExpandsALeadingTildeOnly) {
  const char* const variable = std::getenv("HOME");  // NOLINT(concurrency-mt-unsafe)
  if (variable == nullptr) GTEST_SKIP() << "no home folder in the environment";
  const std::string home = variable;
  EXPECT_EQ(expandTilde("~"), home);
  EXPECT_EQ(expandTilde("~/a~b"), home + "/a~b");
  EXPECT_EQ(expandTilde("~user/a"), "~user/a");
  EXPECT_EQ(expandTilde("/~/a"), "/~/a");
}

}  // namespace
}  // namespace platform
