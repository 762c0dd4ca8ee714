// The program that holds the cases: runs one at a time, each in a process of its own. [main-thread]
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "validator/Case.h"

namespace validator {

class CaseProgram {
 public:
  // What it does throws std::system_error when the program cannot be started.
  explicit CaseProgram(std::string path) : path_(std::move(path)) {}

  const std::string& path() const { return path_; }
  // All cases, by level; nothing when the program does not answer.
  std::optional<std::vector<Case>> cases() const;

  struct Settings {
    std::string code;  // the shared object inside the plug-in's bundle
    std::chrono::milliseconds limit{};
    std::uint64_t seed = 1;  // of what is random
  };
  // Never longer than the limit: a process that still runs then is ended, with all that it started.
  CaseResult run(const Case& what, const Settings& settings) const;

 private:
  const std::string path_;
};

}  // namespace validator
