// The texts that a host hands out in variants. Once it is given back a text is another one, so that
// who reads it then is found out. [main-thread]
#pragma once

#include <algorithm>
#include <list>
#include <string>
#include <variant>

#include "ucf/Types.h"

namespace contract {

using HostText = std::variant<std::string, std::u16string>;

class HandedTexts {
 public:
  // A copy of its own, valid until it is given back.
  void fill(tagUCFVariant& out, const HostText& text) {
    const HostText& copy = out_.emplace_back(text);
    out.vt = std::holds_alternative<std::string>(copy) ? UCFVT_STR : UCFVT_WSTR;
    out.pszVal = static_cast<const char*>(address(copy));
  }
  // False for a text that is not handed out, or given back already. Anything else is no text.
  bool takeBack(const tagUCFVariant& variant) {
    if (variant.vt != UCFVT_STR && variant.vt != UCFVT_WSTR) return true;
    const auto handed = std::ranges::find(out_, variant.pszVal, address);
    if (handed == out_.end()) return false;
    std::visit([](auto& letters) { std::ranges::fill(letters, '#'); }, *handed);
    back_.splice(back_.end(), out_, handed);
    if (back_.size() > kKept) back_.pop_front();
    return true;
  }

 private:
  static const void* address(const HostText& text) {
    return std::visit([](const auto& letters) -> const void* { return letters.data(); }, text);
  }

  static constexpr std::size_t kKept = 16;
  std::list<HostText> out_;
  std::list<HostText> back_;  // the last ones, to be read by mistake
};

}  // namespace contract
