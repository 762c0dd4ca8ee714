#include "movara/StringHelpers.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "platform/Text.h"
#include "safelib/safe_lib.h"

std::string stringValueFromUCFVariant(tagUCFVariant* variant) {
  if (!variant) {
    return {};
  }
  switch (variant->vt) {
    case UCFVT_STR:
      return variant->pszVal ? variant->pszVal : std::string();
    case UCFVT_WSTR:
      return variant->pwszVal ? platform::utf8FromUtf16le(variant->pwszVal) : std::string();
    default:
      return {};
  }
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the signature is fixed
std::vector<std::string> divideStr(const std::string& text, std::string delimiters) {
  std::vector<std::string> pieces;
  if (delimiters.empty()) {
    return pieces;
  }
  std::size_t begin = text.find_first_not_of(delimiters);
  while (begin != std::string::npos) {
    const std::size_t end = text.find_first_of(delimiters, begin);
    pieces.push_back(text.substr(begin, end - begin));
    begin = text.find_first_not_of(delimiters, end);
  }
  return pieces;
}

bool isAudioOnly(const char* extension) {
  constexpr std::array kAudioExtensions = {"WMA",  "WAV",  "MP2", "MP3", "MPV2", "MID",
                                           "MIDI", "RMI",  "AU",  "SND", "AIFF", "AIF",
                                           "AIFC", "MPGA", "MPA", "PCM", "acm",  "au"};
  constexpr std::uint32_t kMaxLength = 0x7FFFFFFF;
  return std::any_of(kAudioExtensions.begin(), kAudioExtensions.end(), [&](const char* name) {
    int difference = 0;
    return strcasecmp_s(extension, kMaxLength, name, &difference) == 0 && difference == 0;
  });
}
