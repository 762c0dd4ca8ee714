#include "avcapture/StatusPicture.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <vector>

#include "avcapture/StatusText.h"
#include "avcapture/Symbols.h"

namespace avcapture {

namespace {

enum class Tone : std::uint8_t { kCalm, kWarning, kFailure };
enum class Cover : std::uint8_t { kNothing, kMiddle, kAll };

struct Look {
  int code;
  const char* text;
  Cover cover;
  Symbol symbol = Symbol::kPlay;
  Tone tone = Tone::kCalm;
};

constexpr std::array<Look, 19> kLooks{{
    {kStatusPicture, "Showing the movie", Cover::kNothing},
    {kStatusSoundOnly, "Sound only", Cover::kAll, Symbol::kNote},
    {4, "Sharing could not start", Cover::kAll, Symbol::kFailure, Tone::kFailure},
    {kStatusSharing, "Sharing", Cover::kNothing},
    {6, "Connection lost, reconnecting", Cover::kMiddle, Symbol::kReconnect, Tone::kWarning},
    {7, "No room for another attendee", Cover::kAll, Symbol::kNoEntry, Tone::kWarning},
    {8, "Stopped: not enough bandwidth", Cover::kAll, Symbol::kWarning, Tone::kWarning},
    {9, "The session has ended", Cover::kAll, Symbol::kStop},
    {101, "The file cannot be opened", Cover::kAll, Symbol::kFailure, Tone::kFailure},
    {102, "The file cannot be opened on this machine", Cover::kAll, Symbol::kFailure,
     Tone::kFailure},
    {103, "Getting ready to share", Cover::kMiddle, Symbol::kWait},
    {kStatusBroken, "The movie cannot be played any further", Cover::kMiddle, Symbol::kFailure,
     Tone::kFailure},
    {200, "Paused", Cover::kAll, Symbol::kPause},
    {201, "Paused", Cover::kMiddle, Symbol::kPause},
    {202, "Buffering", Cover::kMiddle, Symbol::kWait},
    {203, "Waiting for the presenter", Cover::kAll, Symbol::kWait},
    {204, "The movie cannot be received", Cover::kAll, Symbol::kFailure, Tone::kFailure},
    {205, "The presenter was disconnected", Cover::kMiddle, Symbol::kWarning, Tone::kWarning},
    {206, "The movie cannot be shown", Cover::kAll, Symbol::kFailure, Tone::kFailure},
}};

// By Tone.
constexpr std::array<Color, 3> kTones{{{0.62, 0.76, 0.95}, {0.96, 0.76, 0.33}, {0.97, 0.52, 0.47}}};

// Letters, in pixels: by the view's size, as far as one can read them.
constexpr int kLargestLetters = 30;
constexpr int kSmallestLetters = 8;
constexpr double kWidthInLetters = 22;
constexpr double kHeightInLetters = 13;
// In letter sizes.
constexpr double kSymbolSize = 2.6;
constexpr double kGap = 0.7;
constexpr double kLineHeight = 1.35;
constexpr double kBaseline = 1.0;  // below the top of a line
constexpr double kMargin = 1.0;

// A view may claim to be of any size; its picture is scaled up from here.
constexpr double kMostPixels = 4096;

const Look* lookOf(int code) {
  const auto look = std::find_if(kLooks.begin(), kLooks.end(),
                                 [code](const Look& each) { return each.code == code; });
  return look == kLooks.end() ? nullptr : &*look;
}

// How the symbol and the lines below it are laid out.
struct Block {
  double letters = 0;
  std::vector<std::string> lines{};
  double width = 0, height = 0;  // without margins
};

Block blockOf(const Look& look, double letters, double width, Canvas& measure) {
  measure.setFontSize(letters);
  Block block{.letters = letters,
              .lines = measure.wrapped(look.text, width - 2 * kMargin * letters),
              .width = kSymbolSize * letters};
  for (const std::string& line : block.lines)
    block.width = std::max(block.width, measure.textWidth(line));
  block.height =
      letters * (kSymbolSize + kGap + kLineHeight * static_cast<double>(block.lines.size()));
  return block;
}

// The largest that fits; a view without room for words gets the symbol alone.
Block fit(const Look& look, const platform::Size& view) {
  Canvas measure(1, 1);
  const double wanted = std::min(view.width / kWidthInLetters, view.height / kHeightInLetters);
  for (int letters = std::clamp(static_cast<int>(wanted), kSmallestLetters, kLargestLetters);
       letters >= kSmallestLetters; --letters) {
    Block block = blockOf(look, letters, view.width, measure);
    const double margins = 2 * kMargin * letters;
    if (block.width + margins <= view.width && block.height + margins <= view.height) return block;
  }
  const double side = std::min({view.width, view.height, kSmallestLetters * kSymbolSize});
  return {.letters = side / (kSymbolSize + 2 * kMargin), .width = side, .height = side};
}

// Symbol and lines in the middle of a canvas of that size.
void drawBlock(Canvas& canvas, const Look& look, const Block& block, const platform::Size& size) {
  const double symbol = kSymbolSize * block.letters;
  double y = (size.height - (block.lines.empty() ? symbol : block.height)) / 2;
  canvas.setColor(kTones[static_cast<std::size_t>(look.tone)]);
  drawSymbol(canvas, look.symbol, (size.width - symbol) / 2, y, symbol);
  canvas.setColor(kInk);
  canvas.setFontSize(block.letters);
  y += symbol + kGap * block.letters;
  for (const std::string& line : block.lines) {
    canvas.drawText(line, (size.width - canvas.textWidth(line)) / 2, y + kBaseline * block.letters);
    y += kLineHeight * block.letters;
  }
}

platform::Rect frameOf(const Look& look, const Block& block, const platform::Size& view) {
  if (look.cover == Cover::kAll) return {{0, 0}, view};
  const double margins = block.lines.empty() ? 0 : 2 * kMargin * block.letters;
  const platform::Size size{std::min(std::ceil(block.width + margins), view.width),
                            std::min(std::ceil(block.height + margins), view.height)};
  return {{std::floor((view.width - size.width) / 2), std::floor((view.height - size.height) / 2)},
          size};
}

}  // namespace

std::string statusText(int code) {
  if (code == 0) return {};
  const Look* look = lookOf(code);
  return look != nullptr ? look->text : "status " + std::to_string(code);
}

bool hasStatusPicture(int code) {
  const Look* look = lookOf(code);
  return look != nullptr && look->cover != Cover::kNothing;
}

StatusPicture drawStatus(int code, const platform::Size& view) {
  if (!hasStatusPicture(code) || view.width < 1 || view.height < 1) return {};
  const Look& look = *lookOf(code);
  const Block block = fit(look, view);
  const platform::Rect frame = frameOf(look, block, view);
  const double scale = std::min(1.0, kMostPixels / std::max(frame.size.width, frame.size.height));
  Canvas canvas(static_cast<int>(std::ceil(frame.size.width * scale)),
                static_cast<int>(std::ceil(frame.size.height * scale)));
  cairo_scale(canvas.context(), scale, scale);
  drawBlock(canvas, look, block, frame.size);
  return {frame, canvas.image()};
}

}  // namespace avcapture
