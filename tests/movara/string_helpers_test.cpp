#include <gmock/gmock.h>

#include "movara/StringHelpers.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(DivideStr, KeepsTheStretchesBetweenDelimiters) {
  EXPECT_THAT(divideStr("movie.final.mp3", "."), ElementsAre("movie", "final", "mp3"));
  EXPECT_THAT(divideStr("..a..b.", "."), ElementsAre("a", "b"));
  EXPECT_THAT(divideStr("a.b,c", ".,"), ElementsAre("a", "b", "c"));
  EXPECT_THAT(divideStr("plain", "."), ElementsAre("plain"));
  EXPECT_THAT(divideStr("...", "."), IsEmpty());
  EXPECT_THAT(divideStr("", "."), IsEmpty());
  EXPECT_THAT(divideStr("a.b", ""), IsEmpty());
}

TEST(IsAudioOnly, KnowsItsExtensionsInAnyCase) {
  for (const char* name : {"wma", "WAV", "mp2", "Mp3", "mpv2", "mid", "MIDI", "rmi", "au", "snd",
                           "Aiff", "aif", "aifc", "mpga", "mpa", "PCM", "ACM", "Au"}) {
    EXPECT_TRUE(isAudioOnly(name)) << name;
  }
  for (const char* name : {"mp4", "", "mp", "mp33", "wavx", ".mp3", "mov"}) {
    EXPECT_FALSE(isAudioOnly(name)) << name;
  }
  EXPECT_FALSE(isAudioOnly(nullptr));
}

TEST(VariantText, IsTheStringOrNothing) {
  const auto narrow = [](const char* text, std::uint32_t tag = UCFVT_STR) {
    tagUCFVariant variant{};
    variant.vt = tag;
    variant.pszVal = text;
    return stringValueFromUCFVariant(&variant);
  };
  const auto wide = [](const char16_t* text) {
    tagUCFVariant variant{};
    variant.vt = UCFVT_WSTR;
    variant.pwszVal = text;
    return stringValueFromUCFVariant(&variant);
  };
  EXPECT_EQ(narrow("/m/f\xC3\xBC.mp4"), "/m/f\xC3\xBC.mp4");
  EXPECT_EQ(wide(u"/m/f\u00FC\u4E2D\U0001F3AC.mp4"),
            "/m/f\xC3\xBC\xE4\xB8\xAD\xF0\x9F\x8E\xAC.mp4");
  for (const char16_t* const bad : {u"\xD800x", u"a\xD83C",
                                    u"\xDFAC"
                                    u"b"}) {
    EXPECT_EQ(wide(bad), "");
  }
  EXPECT_EQ(narrow(nullptr) + wide(nullptr) + narrow("text", UCFVT_I4), "");
  EXPECT_EQ(stringValueFromUCFVariant(nullptr), "");
}

}  // namespace
