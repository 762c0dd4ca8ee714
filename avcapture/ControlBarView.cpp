#include "avcapture/ControlBarView.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

#include "avcapture/Modes.h"
#include "avcapture/Symbols.h"

namespace avcapture {

namespace {

constexpr platform::Duration kInterval = std::chrono::milliseconds(250);

constexpr Color kTrack{0.32, 0.34, 0.38};

// Pixels.
constexpr double kHeight = 32;
constexpr double kMargin = 8;
constexpr double kSymbolSize = 16;
constexpr double kTrackHeight = 4;
constexpr double kLetters = 13;
constexpr double kTimeWidth = 116;   // of "1:00:00 / 1:00:00"
constexpr double kVolumeWidth = 48;  // of its bar
constexpr double kMostWidth = 4096;  // a wider one is scaled up

constexpr double kLeftOfTrack = 2 * kMargin + kSymbolSize;
constexpr double kRightOfTrack = 4 * kMargin + kTimeWidth + kSymbolSize + kVolumeWidth;
constexpr double kLeastTrack = 32;  // below, time and volume are left out

bool isWide(double width) { return width >= kLeftOfTrack + kLeastTrack + kRightOfTrack; }

double trackWidth(double width) {
  return std::max(0.0, width - kLeftOfTrack - (isWide(width) ? kRightOfTrack : kMargin));
}

std::string clockText(std::int64_t seconds) {
  std::array<char, 32> text;
  const auto total = static_cast<long long>(std::max<std::int64_t>(0, seconds));
  const int minutes = static_cast<int>(total / 60 % 60);
  const int rest = static_cast<int>(total % 60);
  if (total >= 3600) {
    std::snprintf(text.data(), text.size(), "%lld:%02d:%02d", total / 3600, minutes, rest);
  } else {
    std::snprintf(text.data(), text.size(), "%d:%02d", minutes, rest);
  }
  return text.data();
}

void drawBar(Canvas& canvas, double left, double width, double filled) {
  const double top = (kHeight - kTrackHeight) / 2;
  const auto fill = [&](Color color, double length) {
    canvas.setColor(color);
    cairo_rectangle(canvas.context(), left, top, length, kTrackHeight);
    cairo_fill(canvas.context());
  };
  fill(kTrack, width);
  fill(kInk, std::min(filled, width));
}

}  // namespace

ControlBarView::ControlBarView(std::weak_ptr<KTVideoPlayer> player) : player_(std::move(player)) {}

void ControlBarView::show() {
  if (shown()) return;
  timer_ = platform::Timer::scheduled(kInterval, shared_from_this(), &ControlBarView::look, true);
  for (const platform::Mode mode : kEveryMode) platform::RunLoop::current().addTimer(timer_, mode);
  look();
}

void ControlBarView::hide() {
  if (!shown()) return;
  const auto keep = shared_from_this();
  timer_->invalidate();
  timer_ = nullptr;
  face_ = {};
  setContents(nullptr);
}

void ControlBarView::setRoom(const platform::Size& room) {
  const double height = std::min(kHeight, room.height);
  setFrame({{0, room.height - height}, {room.width, height}});
  if (shown()) look();
}

ControlBarView::Face ControlBarView::faceOf(KTVideoPlayer& player) const {
  const double width = std::clamp(std::floor(frame().size.width), 1.0, kMostWidth);
  const auto position = static_cast<double>(player.currentTime());
  const std::int64_t duration = player.duration();
  const double part =
      duration > 0 ? std::clamp(position / static_cast<double>(duration), 0.0, 1.0) : 0.0;
  return {.playing = player.isPlaying(),
          .time = clockText(static_cast<std::int64_t>(position)) + " / " + clockText(duration),
          .played = static_cast<int>(part * trackWidth(width)),
          .volume = player.volume(),
          .size = {width, kHeight}};
}

void ControlBarView::look() {
  const auto player = player_.lock();
  if (!player || frame().size.height <= 0) return;
  Face face = faceOf(*player);
  if (face == face_) return;
  face_ = std::move(face);
  setContents(draw(face_));
}

std::shared_ptr<const platform::Image> ControlBarView::draw(const Face& face) {
  Canvas canvas(static_cast<int>(face.size.width), static_cast<int>(face.size.height));
  const double symbolTop = (kHeight - kSymbolSize) / 2;
  const double track = trackWidth(face.size.width);
  canvas.setColor(kInk);
  // The symbol is that of the button: what pressing it does.
  drawSymbol(canvas, face.playing ? Symbol::kPause : Symbol::kPlay, kMargin, symbolTop,
             kSymbolSize);
  drawBar(canvas, kLeftOfTrack, track, face.played);
  if (!isWide(face.size.width)) return canvas.image();
  double left = kLeftOfTrack + track + kMargin;
  canvas.setFontSize(kLetters);
  canvas.drawText(face.time, left + kTimeWidth - canvas.textWidth(face.time),
                  (kHeight + 0.7 * kLetters) / 2);
  left += kTimeWidth + kMargin;
  drawSymbol(canvas, face.volume == 0 ? Symbol::kSilence : Symbol::kSound, left, symbolTop,
             kSymbolSize);
  drawBar(canvas, left + kSymbolSize + kMargin, kVolumeWidth, kVolumeWidth * face.volume / 100);
  return canvas.image();
}

}  // namespace avcapture
