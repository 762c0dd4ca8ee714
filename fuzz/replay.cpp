// Runs a fuzz target on the files that it is given, and on those in the folders that it is given.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "fuzz/Target.h"

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> filesOf(int argc, char** argv) {
  std::vector<fs::path> files;
  for (const fs::path given : std::vector<std::string>(argv + 1, argv + argc)) {
    if (!fs::is_directory(given)) {
      files.push_back(given);
      continue;
    }
    std::copy(fs::directory_iterator(given), {}, std::back_inserter(files));
  }
  std::sort(files.begin(), files.end());
  return files;
}

}  // namespace

int main(int argc, char** argv) {
  LLVMFuzzerInitialize(&argc, &argv);
  const auto files = filesOf(argc, argv);
  for (const fs::path& path : files) {
    std::fprintf(stderr, "%s\n", path.c_str());
    std::ifstream file(path, std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
  }
  std::fprintf(stderr, "%zu inputs\n", files.size());
  return files.empty() ? 1 : 0;
}
