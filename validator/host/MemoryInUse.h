// How many bytes the process has allocated, as its allocator tells.
#pragma once

#include <cstddef>
#include <optional>

namespace hostcheck {

// None if the allocator in use does not tell.
std::optional<std::size_t> memoryInUse();

}  // namespace hostcheck
