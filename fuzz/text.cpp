// Text helpers: what they make of any text, against the C++ library's own conversion and against
// what their results must have in common with what they were given.
#include <codecvt>
#include <locale>
#include <numeric>
#include <stdexcept>
#include <string>

#include "fuzz/Target.h"
#include "movara/StringHelpers.h"
#include "platform/Text.h"

namespace {

std::u16string wide(fuzz::Input& in) {
  std::u16string text;
  for (auto length = in.ConsumeIntegralInRange<std::size_t>(0, 64); length > 0; --length) {
    // Halves of pairs are rare among all units, and the interesting ones.
    text += static_cast<char16_t>(in.ConsumeBool() ? in.ConsumeIntegralInRange(0xD7F0, 0xE010)
                                                   : in.ConsumeIntegral<std::uint16_t>());
  }
  return text;
}

std::string expectedUtf8(const std::u16string& text) {
  std::wstring_convert<std::codecvt_utf8_utf16<char16_t>, char16_t> converter;
  try {
    std::string result = converter.to_bytes(text);
    // The library drops a half at the end.
    const bool cut = !text.empty() && text.back() >= 0xD800 && text.back() < 0xDC00;
    return cut ? std::string() : result;
  } catch (const std::range_error&) {
    return {};
  }
}

void tryUtf16(fuzz::Input& in) {
  const std::u16string text = wide(in);
  EXPECT_EQ(platform::utf8FromUtf16le(text), expectedUtf8(text));
}

void tryVariant(fuzz::Input& in) {
  const std::u16string units = wide(in).c_str();
  const std::string bytes = in.ConsumeRandomLengthString(64).c_str();
  tagUCFVariant variant{};
  variant.vt = in.ConsumeBool() ? static_cast<std::uint32_t>(UCFVT_WSTR)
                                : in.ConsumeIntegralInRange<std::uint32_t>(0, 16);
  std::string expected;
  if (variant.vt == UCFVT_WSTR) {
    variant.pwszVal = units.c_str();
    expected = expectedUtf8(units);
  } else if (variant.vt == UCFVT_STR) {
    variant.pszVal = bytes.c_str();
    expected = bytes;
  }
  EXPECT_EQ(stringValueFromUCFVariant(&variant), expected);
}

void tryDivide(fuzz::Input& in) {
  const std::string delimiters = in.ConsumeRandomLengthString(4);
  const std::string text = in.ConsumeRandomLengthString(64);
  const auto pieces = divideStr(text, delimiters);
  std::string expected = text;
  std::erase_if(expected, [&](char c) { return delimiters.find(c) != std::string::npos; });
  if (delimiters.empty()) expected.clear();
  EXPECT_EQ(std::accumulate(pieces.begin(), pieces.end(), std::string()), expected);
  for (const std::string& piece : pieces) EXPECT_FALSE(piece.empty());
}

void tryExtension(fuzz::Input& in) {
  const std::string text = in.ConsumeRandomLengthString(8).c_str();
  std::string other = text;
  for (char& c : other) {
    if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z')) c = static_cast<char>(c ^ 0x20);
  }
  EXPECT_EQ(isAudioOnly(text.c_str()), isAudioOnly(other.c_str()));
  EXPECT_FALSE(isAudioOnly((text + "!").c_str()));
}

void tryTilde(fuzz::Input& in) {
  const std::string path = in.ConsumeRandomLengthString(32);
  const std::string expanded = platform::expandTilde(path);
  const bool home = path == "~" || path.rfind("~/", 0) == 0;
  EXPECT_TRUE(home ? expanded.ends_with(path.substr(1)) : expanded == path);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input in(data, size);
  constexpr void (*kTries[])(fuzz::Input&) = {tryUtf16, tryVariant, tryDivide, tryExtension,
                                              tryTilde};
  while (in.remaining_bytes() > 0) in.PickValueInArray(kTries)(in);
  return 0;
}
