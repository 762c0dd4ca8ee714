// Where trace records go: a level limit and one sink, both taken from the environment.
#pragma once

#include <memory>
#include <string_view>

#include <spdlog/sinks/sink.h>

namespace lumtrace {

class Recorder {
 public:
  // Made for the first record and never destroyed: threads and destructors may log until the
  // process has ended. [any-thread]
  static Recorder& instance();

  // Whether records of `level` are wanted. [any-thread]
  bool takes(unsigned long level) const;
  // Writes one whole line before it returns; throws when the sink cannot. [any-thread]
  void write(unsigned long level, const char* module, const char* tag2, std::string_view text);

 private:
  Recorder();

  std::unique_ptr<spdlog::sinks::sink> sink_;  // serialises its own calls
};

}  // namespace lumtrace
