#include "validator/cases/Report.h"

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>

#include "validator/cases/Reason.h"

namespace validator {

namespace {

// What the plug-in hands over may be any bytes.
std::string lineOf(const nlohmann::json& value) {
  return value.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

}  // namespace

void Report::OnTestPartResult(const testing::TestPartResult& part) {
  if (part.passed()) return;
  std::string why = part.failed() ? reasonOf(part.message()) : part.message();
  if (part.failed() && part.file_name() != nullptr)
    why += " [" + std::filesystem::path(part.file_name()).filename().string() + ":" +
           std::to_string(part.line_number()) + "]";
  out_ << lineOf({{"why", why}}) << std::endl;
}

void Report::OnTestEnd(const testing::TestInfo& info) {
  const testing::TestResult& result = *info.result();
  const char* const outcome = result.Failed() ? "failed" : result.Skipped() ? "skipped" : "passed";
  out_ << lineOf({{"outcome", outcome}}) << std::endl;
}

}  // namespace validator
