#include <dlfcn.h>

#include <cstdlib>
#include <optional>
#include <thread>

#include "tests/faults/Culprit.h"
#include "tests/faults/Scene.h"

namespace faults {

namespace {

using Ways = const Death* (*)();

void askAndDie(Ways ways) {
  for (int i = 0; i < kDeaths; ++i) {
    void* volatile memory = std::malloc(1);  // NOLINT(cppcoreguidelines-no-malloc)
    if (memory == nullptr) ways()[i].die();
    std::free(memory);  // NOLINT(cppcoreguidelines-no-malloc)
  }
}

std::string dieBy(Ways ways) {
  askAndDie(ways);
  const Exempt ours;
  std::thread([ways] { askAndDie(ways); }).join();
  return {};
}

}  // namespace

std::string self(bool /*whole*/) { return dieBy(waysToDie); }

std::string stranger(bool /*whole*/) {
  std::optional<const Exempt> ours(std::in_place);
  void* const code = dlopen(FAULTS_STRANGER, RTLD_NOW | RTLD_LOCAL);
  const auto ways = code == nullptr ? nullptr : reinterpret_cast<Ways>(dlsym(code, "waysToDie"));
  ours.reset();
  return ways == nullptr ? "there is no stranger" : dieBy(ways);
}

}  // namespace faults
