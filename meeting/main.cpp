// movara-meeting: the smallest meeting that a file can be shared with.

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <variant>

#include "meeting/Meeting.h"
#include "meeting/Options.h"
#include "meeting/Report.h"
#include "meeting/SignalWatcher.h"
#include "meeting/TerminalProgress.h"

namespace {

using meeting::ExitStatus;

// One line, whatever a file is called.
void complain(std::string line) {
  std::replace_if(
      line.begin(), line.end(), [](unsigned char c) { return std::iscntrl(c); }, '?');
  std::fprintf(stderr, "movara-meeting: %s\n", line.c_str());
}

bool writeReport(const std::string& path, const meeting::Report& report) {
  std::ofstream file(path, std::ios::trunc);
  file << meeting::reportAsJson(report);
  file.close();
  return file.good();
}

int present(const meeting::Options& options) {
  meeting::Meeting meeting(options);
  meeting::Outcome outcome;
  {
    const meeting::SignalWatcher signals([&meeting](int signal) { meeting.interrupt(signal); });
    outcome = meeting.run();
  }
  const bool shared = outcome.exitStatus == static_cast<int>(ExitStatus::shared);
  const bool interrupted = outcome.exitStatus > 128;
  if (!options.quiet && (shared || interrupted)) {
    const bool bold = meeting::TerminalProgress::mayDecorate(STDOUT_FILENO);
    std::fputs(meeting::reportAsTable(meeting.report(), bold).c_str(), stdout);
  }
  if (!outcome.line.empty()) complain(outcome.line);
  if (options.reportFile.empty() || writeReport(options.reportFile, meeting.report()))
    return outcome.exitStatus;
  // What has gone wrong before matters more.
  if (!outcome.line.empty()) return outcome.exitStatus;
  complain("cannot write " + options.reportFile);
  return static_cast<int>(ExitStatus::outputFailed);
}

}  // namespace

int main(int argc, char** argv) {
  // Standard error is for one clear line; who wants the plug-in's warnings there says so.
  std::signal(SIGPIPE, SIG_IGN);             // a reader that has gone is a failed write
  setenv("MOVARA_TRACE_LEVEL", "error", 0);  // NOLINT(concurrency-mt-unsafe): the only thread
  try {
    const auto parsed = meeting::parseOptions(argc, argv);
    if (const auto* information = std::get_if<meeting::Information>(&parsed)) {
      std::fputs(information->text.c_str(), stdout);
      return static_cast<int>(ExitStatus::shared);
    }
    if (const auto* failure = std::get_if<meeting::Failure>(&parsed)) {
      complain(failure->line);
      return static_cast<int>(failure->status);
    }
    return present(std::get<meeting::Options>(parsed));
  } catch (const std::exception& error) {
    complain(error.what());
    return static_cast<int>(ExitStatus::outputFailed);
  }
}
