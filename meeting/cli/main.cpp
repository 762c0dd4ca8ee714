// movara-meeting: the smallest meeting that a file can be shared with.

#include <fcntl.h>
#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>

#include "meeting/OutputFile.h"
#include "meeting/cli/CommandLine.h"
#include "meeting/cli/Commands.h"

namespace {

using meeting::ExitStatus;
using meeting::Outcome;

constexpr int kLargeBytes = 128 << 10;  // what the C library begins with

// Standard streams that are closed would be taken by the first files to be opened: those are opened
// as ones that cannot be written, and not read.
void holdClosedStreams() {
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (::fcntl(stream, F_GETFD) >= 0 || errno != EBADF) continue;
    // The lowest free descriptor is this very one.
    static_cast<void>(::open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY));
  }
}

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
  holdClosedStreams();
  // A reader that has gone, or a limit to the size of files, is a failed write.
  for (const int signal : {SIGPIPE, SIGXFSZ}) std::signal(signal, SIG_IGN);
  // Standard error is for one clear line; who wants the plug-in's warnings there says so.
  setenv("MOVARA_TRACE_LEVEL", "error", 0);  // NOLINT(concurrency-mt-unsafe): the only thread
  // Pictures have memory of their own, which returns when they go. Otherwise the C library raises
  // this bound to what has been freed, and the heaps of the threads are broken up by pictures of
  // all sizes: with attendees who come and go, memory rose by 38 MiB an hour.
  mallopt(M_MMAP_THRESHOLD, kLargeBytes);  // NOLINT(concurrency-mt-unsafe): the only thread
  meeting::OutputFile out(STDOUT_FILENO);
  const Outcome outcome = run(argc, argv, out);
  const int unwritten = out.finish();
  if (!outcome.line.empty()) complain(outcome.line);
  if (unwritten == 0 || !outcome.line.empty()) return outcome.exitStatus;
  // Whoever has read enough says nothing about it.
  if (unwritten == EPIPE) return 128 + SIGPIPE;
  complain(meeting::cannotWrite("to standard output", unwritten).line);
  return static_cast<int>(ExitStatus::outputFailed);
}
