#include "tests/meeting/LiveMeeting.h"

#include <chrono>
#include <cmath>
#include <csignal>
#include <cstring>
#include <limits>
#include <vector>

#include "meeting/Ticker.h"
#include "platform/RunLoop.h"

extern "C" {
#include <libswscale/swscale.h>
}

namespace meeting {

namespace {
using std::chrono_literals::operator""ms;
using std::chrono_literals::operator""s;
constexpr auto kStepLimit = 60s;
}  // namespace

std::string LiveMeeting::clip(const std::string& name, const std::string& size, int seconds) {
  return clipOf(name, "testsrc2=rate=25:size=" + size, seconds);
}

Options LiveMeeting::sharing(const std::string& file, int attendees) {
  Options options;
  options.files = {file};
  options.attendees = attendees;
  options.quiet = true;
  options.stay = true;
  options.plugin = MEETING_PLUGIN;
  return options;
}

Outcome LiveMeeting::hold(Options options, std::vector<Step> steps) {
  meeting_ = std::make_unique<Meeting>(std::move(options));
  auto& loop = platform::RunLoop::main();
  std::size_t next = 0;
  bool ended = false;
  auto limit = loop.now() + kStepLimit;
  Outcome outcome;
  {
    const Ticker driver(10ms, [&] {
      if (meeting_->participants().empty()) return;  // not open yet
      if (next < steps.size() && loop.now() > limit) {
        ADD_FAILURE() << "never got there: " << steps[next].name;
        next = steps.size();
      }
      if (next == steps.size()) {
        if (!std::exchange(ended, true)) meeting_->interrupt(SIGINT);
        return;
      }
      if (!steps[next].when()) return;
      steps[next++].then();
      limit = loop.now() + kStepLimit;
    });
    outcome = meeting_->run();
  }
  EXPECT_EQ(next, steps.size()) << outcome.line;
  return outcome;
}

ParticipantStatus LiveMeeting::status(const std::string& id) {
  for (ParticipantStatus& status : meeting_->participants())
    if (status.id == id) return status;
  ADD_FAILURE() << "nobody is called " << id;
  return {};
}

void LiveMeeting::act(const std::string& action) {
  const auto problem = meeting_->act(action);
  EXPECT_FALSE(problem) << *problem;
}

std::shared_ptr<avcapture::KTVideoPlayer> LiveMeeting::player(const std::string& id) {
  return avcapture::KTVideoPlayer::inView(*meeting_->view(id));
}

std::shared_ptr<const platform::Image> LiveMeeting::picture(const std::string& id) {
  const auto view = player(id);
  return view ? view->renderView()->contents() : nullptr;
}

bool LiveMeeting::all(const std::vector<std::string>& ids, const std::string& state) {
  return std::all_of(ids.begin(), ids.end(),
                     [&](const std::string& id) { return status(id).state == state; });
}

bool samePixels(const platform::Image* a, const platform::Image* b) {
  if (a == nullptr || b == nullptr) return a == b;
  if (a->width != b->width || a->height != b->height) return false;
  for (std::uint32_t y = 0; y < a->height; ++y)
    if (std::memcmp(a->pixels + std::size_t{y} * a->bytesPerRow,
                    b->pixels + std::size_t{y} * b->bytesPerRow, std::size_t{3} * a->width) != 0)
      return false;
  return true;
}

double psnr(const platform::Image& drawn, const platform::Image& original) {
  const auto width = static_cast<int>(drawn.width);
  const auto height = static_cast<int>(drawn.height);
  const int row = 3 * width;
  std::vector<std::uint8_t> expected(static_cast<std::size_t>(row) * drawn.height + 64);
  SwsContext* scaler = sws_getContext(
      static_cast<int>(original.width), static_cast<int>(original.height), AV_PIX_FMT_RGB24, width,
      height, AV_PIX_FMT_RGB24, SWS_BICUBIC | SWS_ACCURATE_RND, nullptr, nullptr, nullptr);
  const std::uint8_t* const source[] = {original.pixels};
  const int sourceRow[] = {static_cast<int>(original.bytesPerRow)};
  std::uint8_t* const target[] = {expected.data()};
  sws_scale(scaler, source, sourceRow, 0, static_cast<int>(original.height), target, &row);
  sws_freeContext(scaler);
  double squares = 0;
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < row; ++x) {
      const auto at = static_cast<std::size_t>(y);
      const int difference =
          drawn.pixels[at * drawn.bytesPerRow + static_cast<std::size_t>(x)] -
          expected[at * static_cast<std::size_t>(row) + static_cast<std::size_t>(x)];
      squares += static_cast<double>(difference) * difference;
    }
  if (squares == 0) return std::numeric_limits<double>::infinity();
  return 10 * std::log10(255.0 * 255.0 * row * height / squares);
}

}  // namespace meeting
