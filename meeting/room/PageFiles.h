// The files of the room's page, which are part of the program. [any-thread]
#pragma once

#include <optional>
#include <string_view>

namespace meeting {

struct PageFile {
  std::string_view type;  // media type
  std::string_view content;
};

// The file of that path within the room ("" is the page itself), if there is one.
std::optional<PageFile> pageFile(std::string_view path);

}  // namespace meeting
