// Movie times for people: "1:02:03.4", "0:03.4". [any-thread]
#pragma once

#include <cstdint>
#include <string>

namespace meeting {

std::string timeText(std::uint64_t milliseconds);

}  // namespace meeting
