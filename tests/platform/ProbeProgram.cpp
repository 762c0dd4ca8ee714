// Prints what lies around a program that runs from a bundle, and two defaults; uses the plug-in
// when it is asked to; ends with messages still waiting.
#include <cstdio>
#include <cstring>

#include "platform/Bundle.h"
#include "platform/RunLoop.h"
#include "platform/UserDefaults.h"

int main(int argc, char** argv) {
  const auto bundle = platform::Bundle::mainBundle();
  if (!bundle) return 2;
  std::printf("%s\n%s\n%s\n", bundle->path().c_str(),
              platform::UserDefaults::standard().stringForKey("FromFile").c_str(),
              platform::UserDefaults::standard().stringForKey("FromBoth").c_str());
  if (argc < 2 || std::strcmp(argv[1], "plugin") != 0) return 0;
  const auto plugin = platform::Bundle::create(bundle->plugInsPath() + "/probe.bundle");
  void* const schedule = plugin ? plugin->functionPointer("probeSchedule") : nullptr;
  if (schedule == nullptr) return 3;
  reinterpret_cast<void (*)()>(schedule)();
  return 0;
}
