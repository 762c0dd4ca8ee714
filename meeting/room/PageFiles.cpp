#include "meeting/room/PageFiles.h"

#include <algorithm>
#include <array>

// Of the generated sources.
extern const unsigned char kRoomHtml[];
extern const unsigned long kRoomHtmlSize;
extern const unsigned char kRoomCss[];
extern const unsigned long kRoomCssSize;
extern const unsigned char kRoomJs[];
extern const unsigned long kRoomJsSize;

namespace meeting {

namespace {

std::string_view text(const unsigned char* bytes, unsigned long size) {
  return {reinterpret_cast<const char*>(bytes), size};
}

struct Named {
  std::string_view path;
  PageFile file;
};

}  // namespace

std::optional<PageFile> pageFile(std::string_view path) {
  const std::array<Named, 3> files = {{
      {"", {"text/html; charset=utf-8", text(kRoomHtml, kRoomHtmlSize)}},
      {"room.css", {"text/css; charset=utf-8", text(kRoomCss, kRoomCssSize)}},
      {"room.js", {"text/javascript; charset=utf-8", text(kRoomJs, kRoomJsSize)}},
  }};
  const auto* found = std::find_if(files.begin(), files.end(),
                                   [path](const Named& named) { return named.path == path; });
  if (found == files.end()) return std::nullopt;
  return found->file;
}

}  // namespace meeting
