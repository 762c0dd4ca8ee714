#include "lumtrace/Recorder.h"

#include <array>
#include <cstdlib>
#include <optional>
#include <string>

#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/sinks/stdout_sinks.h>
#include "lumtrace/Text.h"

namespace lumtrace {

namespace {

namespace level = spdlog::level;

constexpr unsigned long kInfo = 2;
constexpr unsigned long kWarning = 4;
constexpr unsigned long kError = 8;

constexpr const char* kPattern = "%Y-%m-%dT%H:%M:%S.%e%z %l [%n] [%t] %v";
constexpr const char* kOwnName = "lumtrace";

level::level_enum sinkLevel(unsigned long traceLevel) {
  if (traceLevel >= kError) return level::err;
  if (traceLevel >= kWarning) return level::warn;
  if (traceLevel >= kInfo) return level::info;
  return level::debug;
}

std::optional<level::level_enum> levelNamed(std::string_view name) {
  struct NamedLevel {
    std::string_view name;
    level::level_enum level;
  };
  constexpr std::array<NamedLevel, 5> kLevels{{{"debug", level::debug},
                                               {"info", level::info},
                                               {"warning", level::warn},
                                               {"error", level::err},
                                               {"off", level::off}}};
  for (const NamedLevel& candidate : kLevels) {
    if (candidate.name == name) return candidate.level;
  }
  return std::nullopt;
}

std::string environment(const char* name) {
  // Only a change of the environment by another thread could disturb this; the programs that load
  // the bundle make none.
  const char* value = std::getenv(name);  // NOLINT(concurrency-mt-unsafe)
  return value != nullptr ? value : "";
}

// Appends to `file`, or writes to standard error when `file` is empty or cannot be opened; the
// latter fills `complaint`.
std::unique_ptr<spdlog::sinks::sink> makeSink(const std::string& file, std::string& complaint) {
  if (!file.empty()) {
    try {
      return std::make_unique<spdlog::sinks::basic_file_sink_mt>(file);
    } catch (const spdlog::spdlog_ex& error) {
      complaint = error.what();
    }
  }
  return std::make_unique<spdlog::sinks::stderr_sink_mt>();
}

}  // namespace

Recorder& Recorder::instance() {
  static Recorder& recorder = *new Recorder;
  return recorder;
}

Recorder::Recorder() {
  const std::string levelName = environment("MOVARA_TRACE_LEVEL");
  const auto limit = levelName.empty() ? level::warn : levelNamed(levelName);

  std::string complaint;
  sink_ = makeSink(limit == level::off ? "" : environment("MOVARA_TRACE_FILE"), complaint);
  sink_->set_pattern(kPattern);
  sink_->set_level(limit.value_or(level::warn));

  if (!complaint.empty()) write(kWarning, kOwnName, nullptr, complaint);
  if (!limit) write(kWarning, kOwnName, nullptr, "no such trace level: " + levelName);
}

bool Recorder::takes(unsigned long traceLevel) const {
  return sink_->should_log(sinkLevel(traceLevel));
}

void Recorder::write(unsigned long traceLevel, const char* module, const char* tag2,
                     std::string_view text) {
  std::string name = module != nullptr ? escaped(module) : "-";
  if (tag2 != nullptr) name += "/" + escaped(tag2);
  const std::string line = escaped(text);
  sink_->log(spdlog::details::log_msg(name, sinkLevel(traceLevel), line));
  sink_->flush();  // a crash must not take the last lines with it
}

}  // namespace lumtrace
