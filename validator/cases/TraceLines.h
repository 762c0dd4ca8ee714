// What the code under test has logged, read back from the file that the real trace bundle writes.
// The bundle lies where the program's front end finds it (movara_logged_test).
#pragma once

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

class TraceFile {
 public:
  static TraceFile& instance() {
    static TraceFile file;
    return file;
  }

  std::vector<std::string> take() {
    std::ifstream file(path_);
    file.seekg(read_);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line) && !file.eof(); read_ = file.tellg()) {
      lines.push_back(summary(line));
    }
    return lines;
  }

 private:
  TraceFile() {
    ::setenv("MOVARA_TRACE_FILE", path_.c_str(), 1);  // NOLINT(concurrency-mt-unsafe)
    ::setenv("MOVARA_TRACE_LEVEL", "debug", 1);       // NOLINT(concurrency-mt-unsafe)
  }
  ~TraceFile() {
    std::error_code ignored;
    std::filesystem::remove(path_, ignored);
  }

  // Of "TIME LEVEL [MODULE] [THREAD] TEXT".
  static std::string summary(const std::string& line) {
    std::istringstream fields(line);
    std::string ignored, level, module, text;
    fields >> ignored >> level >> module >> ignored;
    std::getline(fields, text);  // with the blank in front
    const bool usual = level == "info" || level == "warning";
    return (usual ? std::string(level == "info" ? "I" : "W") : level) +
           (module == "[videostream_MMS]" ? "" : module) + text;
  }

  const std::filesystem::path path_ =
      std::filesystem::temp_directory_path() / ("movara-trace." + std::to_string(::getpid()));
  std::streamoff read_ = 0;
};

// The bundle looks for its settings when the first line arrives: they must be there by then.
inline TraceFile& traceFile = TraceFile::instance();

// The lines since the last call, as "I TEXT" or "W TEXT"; another level or module shows.
inline std::vector<std::string> takeTraceLines() { return traceFile.take(); }

// How many of the lines contain the text.
inline std::ptrdiff_t count(const std::vector<std::string>& lines, std::string_view text) {
  return std::ranges::count_if(
      lines, [text](const std::string& line) { return line.find(text) != std::string::npos; });
}
