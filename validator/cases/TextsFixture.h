// Stories whose every log line is compared, addresses by the name of what lies there.
#pragma once

#include "validator/cases/ContractFixture.h"

namespace contract {

struct Story {
  const char* name;
  std::function<void()> before;  // what is logged here is not looked at
  std::function<void()> act;
  Lines lines;
};

inline Lines joined(const std::vector<Lines>& parts) {
  Lines all;
  for (const Lines& part : parts) {
    all.insert(all.end(), part.begin(), part.end());
  }
  return all;
}

class TextsTest : public InsideTest {
 protected:
  // Only of lines that contain `part`.
  void expectTexts(const std::vector<Story>& stories, std::string_view part = "") {
    for (const Story& story : stories) {
      SCOPED_TRACE(story.name);
      story.before();
      forget();
      learnAddresses();
      story.act();
      learnAddresses();
      Lines lines = named(takeTraceLines());
      std::erase_if(lines,
                    [&](const std::string& line) { return line.find(part) == std::string::npos; });
      EXPECT_EQ(lines, story.lines);
      end();
    }
  }

 private:
  void learnAddresses() {
    if (object) {
      app_ = low32(object);
      view_ = low32(view());
    }
  }
  static std::uint32_t low32(const void* address) {
    return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(address));
  }

  // A line prints the low 32 bits of an address, and nothing else fits a name.
  Lines named(Lines lines) const {
    for (std::string& line : lines) {
      for (const std::string_view mark : {"0x", "this = "}) {
        const auto found = line.find(mark);
        const auto begin = found + mark.size();
        if (found != std::string::npos) {
          const auto end = std::min(line.find_first_not_of("0123456789abcdef", begin), line.size());
          line.replace(begin, end - begin, nameOf(line.substr(begin, end - begin)));
          break;
        }
      }
    }
    return lines;
  }
  std::string nameOf(const std::string& digits) const {
    constexpr std::uint32_t kObjectBytes = 1024;  // or fewer
    const auto value = std::stoull(digits, nullptr, 16);
    if (value == app_ || value == view_) {
      return value == app_ ? "APP" : "VIEW";
    }
    // The object holds its manager by value.
    return value >> 32U == 0 && static_cast<std::uint32_t>(value) - app_ < kObjectBytes ? "MANAGER"
                                                                                        : digits;
  }

  std::uint32_t app_ = 0;
  std::uint32_t view_ = 0;
};

}  // namespace contract
