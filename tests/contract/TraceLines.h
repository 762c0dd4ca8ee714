// The lines that the recording trace bundle beside the test program holds: "LEVEL MODULE TEXT".
#pragma once

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Bundle.h"

namespace contract {

inline std::vector<std::string> takeTraceLines() {
  using Take = void (*)(std::vector<std::string>&);
  static const Take take = [] {
    const auto main = platform::Bundle::mainBundle();
    const auto recorder = platform::Bundle::create(main->plugInsPath() + "/lumtrace.bundle");
    return recorder ? reinterpret_cast<Take>(recorder->functionPointer("takeTraceLines")) : nullptr;
  }();
  std::vector<std::string> lines = {"no trace recorder beside the test"};
  if (take) {
    take(lines);
  }
  return lines;
}

// How many of the lines contain the text.
inline std::ptrdiff_t count(const std::vector<std::string>& lines, std::string_view text) {
  return std::count_if(lines.begin(), lines.end(), [text](const std::string& line) {
    return line.find(text) != std::string::npos;
  });
}

}  // namespace contract
