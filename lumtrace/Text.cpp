#include "lumtrace/Text.h"

#include <array>
#include <cstdio>

namespace lumtrace {

namespace {

bool isControl(unsigned char character) { return character < 0x20 || character == 0x7F; }

void appendEscape(std::string& text, unsigned char character) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  switch (character) {
    case '\n':
      text += "\\n";
      return;
    case '\r':
      text += "\\r";
      return;
    case '\t':
      text += "\\t";
      return;
    default:
      text += "\\x";
      text += kDigits[character >> 4U];
      text += kDigits[character & 0x0FU];
  }
}

}  // namespace

std::string expand(const char* format, va_list args) {
  std::array<char, 512> shortText;
  va_list firstPass;
  va_copy(firstPass, args);
  const int length = std::vsnprintf(shortText.data(), shortText.size(), format, firstPass);
  va_end(firstPass);
  if (length < 0) return format;

  const auto size = static_cast<std::size_t>(length);
  if (size < shortText.size()) return {shortText.data(), size};
  std::string text(size, '\0');
  const int written = std::vsnprintf(text.data(), size + 1, format, args);
  return written == length ? text : format;
}

std::string escaped(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  for (const char character : text) {
    const auto byte = static_cast<unsigned char>(character);
    if (isControl(byte)) {
      appendEscape(result, byte);
    } else {
      result += character;
    }
  }
  return result;
}

}  // namespace lumtrace
