// The files of the room's page as the build puts them into the program.
#pragma once

#include <span>
#include <string_view>

namespace meeting {

struct EmbeddedFile {
  std::string_view name;
  std::string_view content;
};

extern const std::span<const EmbeddedFile> kEmbeddedFiles;

}  // namespace meeting
