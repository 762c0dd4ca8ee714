// What the code under test has logged, read back from the file that the real trace bundle writes.
// The bundle lies where the program's front end finds it (movara_logged_test).
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

class TraceFile {
 public:
  static TraceFile& instance() {
    static TraceFile file;
    return file;
  }

  // What was written since the last time; it is gone then, however long a run is.
  std::vector<std::string> take() {
    std::ifstream file(path_);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) lines.push_back(summary(line));
    if (::ftruncate(file_, 0) != 0) throw std::system_error(errno, std::generic_category());
    return lines;
  }

 private:
  TraceFile() {
    if (file_ < 0) throw std::system_error(errno, std::generic_category(), "memfd_create");
    ::setenv("MOVARA_TRACE_FILE", path_.c_str(), 1);  // NOLINT(concurrency-mt-unsafe)
    ::setenv("MOVARA_TRACE_LEVEL", "debug", 1);       // NOLINT(concurrency-mt-unsafe)
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

  // In memory: nothing is left of it when the process is killed, and nobody else's is found.
  const int file_ = ::memfd_create("movara-trace", MFD_CLOEXEC);
  const std::string path_ = "/proc/self/fd/" + std::to_string(file_);
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
