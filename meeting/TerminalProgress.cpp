#include "meeting/TerminalProgress.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "meeting/TimeText.h"

namespace meeting {

namespace {

using std::chrono_literals::operator""ms;
using std::chrono_literals::operator""s;

constexpr platform::Duration kLiveInterval = 100ms;
constexpr platform::Duration kLineInterval = 2s;

const char* environment(const char* name) {
  return std::getenv(name);  // NOLINT(concurrency-mt-unsafe): nothing here sets the environment
}

std::size_t terminalWidth() {
  winsize size{};
  if (::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return 80;
  return size.ws_col;
}

}  // namespace

TerminalProgress::TerminalProgress(bool quiet)
    : quiet_(quiet), live_(mayRewrite(STDERR_FILENO)), rate_(clock_.now()) {
  next_ = live_ ? clock_.now() : clock_.now() + kLineInterval;
}

bool TerminalProgress::mayRewrite(int descriptor) {
  const char* kind = environment("TERM");
  return ::isatty(descriptor) == 1 && kind != nullptr && std::string_view(kind) != "dumb";
}

bool TerminalProgress::mayDecorate(int descriptor) {
  const char* noColor = environment("NO_COLOR");
  return mayRewrite(descriptor) && (noColor == nullptr || *noColor == '\0');
}

void TerminalProgress::update(const ProgressFigures& figures) {
  const platform::TimePoint now = clock_.now();
  if (quiet_ || now < next_) return;
  next_ = now + (live_ ? kLiveInterval : kLineInterval);
  char line[256];
  std::snprintf(line, sizeof line,
                "%s / %s  %-10s %lu frames  %.1f fps  %lu audio blocks  %lu dropped",
                timeText(figures.positionMs).c_str(), timeText(figures.durationMs).c_str(),
                figures.state.c_str(), static_cast<unsigned long>(figures.frames),
                rate_.measure(figures.frames, now), static_cast<unsigned long>(figures.audioBlocks),
                static_cast<unsigned long>(figures.dropped));
  show(line);
}

void TerminalProgress::finish() {
  if (live_ && shown_) std::fputs("\r\033[K", stderr);
  shown_ = false;
}

void TerminalProgress::show(const std::string& line) {
  if (live_) {
    std::fprintf(stderr, "\r%s\033[K", line.substr(0, terminalWidth() - 1).c_str());
  } else {
    std::fprintf(stderr, "%s\n", line.c_str());
  }
  shown_ = true;
}

}  // namespace meeting
