// Writes sent frames as TIFF images below the user's desktop, to look at what really leaves.
// On while the user default "DumpImages" is anything but 0. [any-thread]
#pragma once

#include <cstddef>
#include <cstdint>

namespace framedump {

enum class Kind : std::uint8_t { kLive, kPaused };

// Reads the default afresh; cheap enough to ask for every frame.
bool isOn();

// Writes a picture of 24-bit pixels whose rows are taken to lie `width` * 3 bytes apart, into a
// file named after the number of pictures dumped by the process, the timestamp and the time. Does
// nothing when `length` bytes don't hold the picture, and tells nobody when it cannot be written.
void write(Kind kind, const void* pixels, std::size_t length, std::uint32_t width,
           std::uint32_t height, std::uint32_t timestamp);

}  // namespace framedump
