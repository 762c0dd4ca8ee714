// A plug-in whose object the main loop still holds when the process ends.
#include "platform/RunLoop.h"

#include <string>

namespace {

std::string* greeting() {
  static std::string text("hello");  // taken down with the plug-in
  return &text;
}

class Late : public platform::Object {
 public:
  ~Late() override { greeting()->append(" and goodbye"); }
  void never() {}
};

}  // namespace

extern "C" {

__attribute__((visibility("default"))) void probeSchedule() {
  greeting();
  platform::performAfterDelay(std::make_shared<Late>(), &Late::never, {}, platform::seconds(1000));
  platform::performOnMainThread(std::make_shared<Late>(), &Late::never, {}, false);
}

// Whether the object, which the program made, is an array as the plug-in knows it.
__attribute__((visibility("default"))) bool probeIsArray(platform::Object* object) {
  return dynamic_cast<platform::ObjectArray*>(object) != nullptr;
}
}
