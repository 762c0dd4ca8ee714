#include "movara/common/FrameDump.h"

#include <array>
#include <atomic>
#include <cstdio>

#include "platform/BitmapImageRep.h"
#include "platform/Text.h"
#include "platform/UserDefaults.h"

namespace framedump {
namespace {

constexpr std::size_t kBytesPerPixel = 3;

// Pictures dumped by this process, by whatever bridge.
constinit std::atomic<int> dumped{0};

}  // namespace

bool isOn() {
  // Not at namespace scope: its end would have to be registered while the module is being loaded.
  static const platform::FloatDefault dumpImages{"DumpImages"};
  return dumpImages.value() != 0.0F;
}

void write(Kind kind, const void* pixels, std::size_t length, std::uint32_t width,
           std::uint32_t height, std::uint32_t timestamp) {
  const int number = ++dumped;

  platform::BitmapImageRep image;
  image.pixels = static_cast<const std::uint8_t*>(pixels);
  image.pixelsWide = width;
  image.pixelsHigh = height;
  image.bytesPerRow = width * kBytesPerPixel;
  if (image.bytesPerRow * height > length) return;

  std::array<char, 96> name{};
  const int written =
      std::snprintf(name.data(), name.size(), "~/Desktop/time/video_sended_%d_%d_%d%s.tif", number,
                    static_cast<int>(timestamp), static_cast<int>(platform::tickCount()),
                    kind == Kind::kPaused ? "_paused" : "");
  if (written < 0) return;
  platform::writeFileAtomically(platform::expandTilde(name.data()), image.tiffRepresentation());
}

}  // namespace framedump
