// movara-meeting: the smallest meeting that a file can be shared with.

#include <malloc.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <system_error>

#include "meeting/cli/CommandLine.h"
#include "meeting/cli/Commands.h"
#include "meeting/cli/StandardOutput.h"

namespace {

using meeting::ExitStatus;
using meeting::Outcome;

constexpr int kLargeBytes = 128 << 10;  // what the C library begins with

// One line, whatever a file is called.
void complain(std::string line) {
  std::replace_if(
      line.begin(), line.end(), [](unsigned char c) { return std::iscntrl(c); }, '?');
  std::fprintf(stderr, "movara-meeting: %s\n", line.c_str());
}

Outcome run(int argc, char** argv, std::ostream& out) {
  try {
    return meeting::CommandLine(meeting::commands()).run({argv + 1, argv + argc}, out);
  } catch (const std::exception& error) {
    return meeting::outcomeOf({ExitStatus::outputFailed, error.what()});
  }
}

}  // namespace

int main(int argc, char** argv) {
  meeting::StandardOutput::holdClosedStreams();
  std::signal(SIGPIPE, SIG_IGN);  // a reader that has gone is a failed write
  // Standard error is for one clear line; who wants the plug-in's warnings there says so.
  setenv("MOVARA_TRACE_LEVEL", "error", 0);  // NOLINT(concurrency-mt-unsafe): the only thread
  // Pictures have memory of their own, which returns when they go. Otherwise the C library raises
  // this bound to what has been freed, and the heaps of the threads are broken up by pictures of
  // all sizes: with attendees who come and go, memory rose by 38 MiB an hour.
  mallopt(M_MMAP_THRESHOLD, kLargeBytes);  // NOLINT(concurrency-mt-unsafe): the only thread
  meeting::StandardOutput out;
  const Outcome outcome = run(argc, argv, out);
  const int unwritten = out.finish();
  if (!outcome.line.empty()) complain(outcome.line);
  if (unwritten == 0 || !outcome.line.empty()) return outcome.exitStatus;
  // Whoever has read enough says nothing about it.
  if (unwritten == EPIPE) return 128 + SIGPIPE;
  complain("cannot write to standard output: " + std::generic_category().message(unwritten));
  return static_cast<int>(ExitStatus::outputFailed);
}
