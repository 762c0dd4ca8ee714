#include "meeting/room/PageFiles.h"

#include <algorithm>

#include "meeting/room/EmbeddedFile.h"

namespace meeting {

namespace {

std::string_view typeOf(std::string_view name) {
  if (name.ends_with(".html")) return "text/html; charset=utf-8";
  if (name.ends_with(".css")) return "text/css; charset=utf-8";
  return "text/javascript; charset=utf-8";
}

}  // namespace

std::optional<PageFile> pageFile(std::string_view path) {
  const std::string_view name = path.empty() ? "room.html" : path;
  const auto found = std::find_if(kEmbeddedFiles.begin(), kEmbeddedFiles.end(),
                                  [name](const EmbeddedFile& file) { return file.name == name; });
  if (found == kEmbeddedFiles.end()) return std::nullopt;
  return PageFile{typeOf(name), found->content};
}

}  // namespace meeting
