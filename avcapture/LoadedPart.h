// Parts of the framework that many movies do without, and that bring many libraries with them: each
// lies in a library of its own beside the framework's and is loaded when first needed, for good.
// [any-thread]
#pragma once

#include <memory>

namespace avcapture {

// Opens `library` and answers the address of its function `maker`; null when there is none.
void* findMaker(const char* library, const char* maker);

// What the part makes; null when it is missing. The maker answers a new object, or null.
template <class Part>
std::unique_ptr<Part> makeFromPart(const char* library, const char* maker) {
  const auto make = reinterpret_cast<Part* (*)()>(findMaker(library, maker));
  return std::unique_ptr<Part>(make != nullptr ? make() : nullptr);
}

}  // namespace avcapture
