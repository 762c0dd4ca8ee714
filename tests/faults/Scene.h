// What is done with the plug-in while something runs out, and what must hold whatever it was.
#pragma once

#include <string>

#include "tests/faults/Injector.h"

namespace faults {

struct Scene {
  const char* name;
  // Does it all: from loading the bundle to letting it go. Answers what is wrong, or nothing. When
  // nothing ran out, `whole` says that everything has to have come to its proper end.
  std::string (*run)(bool whole);
};

// The presenter's side (loading, opening, first pictures, seek, pause, playing to the end) with
// pictures as fast as they are taken; in real time with a sound device; an attendee's side; and a
// player view alone that opens a file.
const Scene* findScene(const std::string& name);

// Each request for memory that fails ends the process, each in another way: in our own code, and in
// that of another library.
std::string self(bool whole);
std::string stranger(bool whole);

}  // namespace faults
