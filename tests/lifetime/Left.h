// What a process holds, to be compared before and after.
#pragma once

#include <unistd.h>

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <ostream>
#include <set>
#include <string>

namespace lifetime {

struct Left {
  std::ptrdiff_t threads = entries("/proc/self/task");
  std::ptrdiff_t descriptors = entries("/proc/self/fd");
  std::set<std::string> mapped = files();

  bool operator==(const Left&) const = default;
  friend std::ostream& operator<<(std::ostream& out, const Left& left) {
    out << left.threads << " threads, " << left.descriptors << " descriptors, mapped:";
    for (const std::string& file : left.mapped) out << ' ' << file;
    return out;
  }

 private:
  static std::ptrdiff_t entries(const char* folder) {
    return std::distance(std::filesystem::directory_iterator(folder), {});
  }
  static std::set<std::string> files() {
    std::set<std::string> mapped;
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);)
      if (const auto path = line.find('/'); path != std::string::npos)
        mapped.insert(line.substr(path));
    return mapped;
  }
};

}  // namespace lifetime
