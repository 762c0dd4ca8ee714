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
  const auto text = [](std::uint32_t tag, auto pointer) {
    tagUCFVariant variant{};
    variant.vt = tag;
    if constexpr (std::is_same_v<decltype(pointer), const char16_t*>) {
      variant.pwszVal = pointer;
    } else {
      variant.pszVal = pointer;
    }
    return stringValueFromUCFVariant(&variant);
  };
  const char* const narrow = "/m/f\xC3\xBC.mp4";
  const char16_t* const wide = u"/m/f\u00FC\u4E2D\U0001F3AC.mp4";
  const char* const none = nullptr;

  EXPECT_EQ(text(UCFVT_STR, narrow), narrow);
  EXPECT_EQ(text(UCFVT_WSTR, wide), "/m/f\xC3\xBC\xE4\xB8\xAD\xF0\x9F\x8E\xAC.mp4");
  for (const char16_t* const bad : {u"\xD800x", u"a\xD83C",
                                    u"\xDFAC"
                                    u"b"}) {
    EXPECT_EQ(text(UCFVT_WSTR, bad), "");
  }
  EXPECT_EQ(text(UCFVT_STR, none), "");
  EXPECT_EQ(text(UCFVT_WSTR, none), "");
  EXPECT_EQ(text(UCFVT_I4, narrow), "");
  EXPECT_EQ(stringValueFromUCFVariant(nullptr), "");
}

}  // namespace
