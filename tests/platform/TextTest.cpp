#include "platform/Text.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace platform {
namespace {

TEST(Text, ConvertsUtf16ToUtf8) {
  const struct {
    std::u16string_view utf16;
    const char* utf8;
  } cases[] = {
      {u"", ""},
      {u"movie.mp4", "movie.mp4"},
      {u"\u00c4\u00df\u20ac", "\xc3\x84\xc3\x9f\xe2\x82\xac"},
      {u"\U0001f3ac", "\xf0\x9f\x8e\xac"},
      {u"a\xd83c", ""},     // half of a pair at the end
      {u"\xdfac\x62", ""},  // the wrong half
  };
  for (const auto& row : cases) EXPECT_EQ(utf8FromUtf16le(row.utf16), row.utf8);
}

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
