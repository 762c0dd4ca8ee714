// The five functions by which a host knows the module: they check who calls them, and when.
#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "platform/RunLoop.h"
#include "ucf/Exports.h"
#include "validator/host/Checks.h"
#include "validator/host/Guest.h"

#define HOSTCHECK_API __attribute__((visibility("default")))

namespace hostcheck {

namespace {

bool note(Check check, bool holds, const std::string& reason) {
  return Findings::shared().note(check, holds, reason);
}

bool onMainThread(const std::string& call = __builtin_FUNCTION()) {
  return note(Check::exportsOnMainThread, platform::isMainThread(),
              call + " came on another thread than the main one");
}

// What the module keeps. Released objects are kept to the end, to see who calls them. [main-thread]
class Module {
 public:
  static Module& shared() {
    // Never destroyed: a host's thread may call late.
    static auto& module = *new Module;
    return module;
  }

  void noteVersionAsked() { versionAsked_ = true; }

  void initialize() {
    ++loads_;
    Findings::shared().begin();
  }

  void cleanup() {
    if (loads_ > 0) --loads_;
    bool allReleased = true;
    for (const auto& guest : guests_) {
      guest->checkAfterEnd();
      for (const auto& presenter : guests_) guest->checkWatched(*presenter);
      guest->explainProgress();
      allReleased = allReleased && guest->released();
    }
    note(Check::cleanupLast, allReleased, "UCFCleanup came before every object had been released");
    if (loads_ == 0) Findings::shared().report();
  }

  std::shared_ptr<Guest> create(IUCFContainerBase* container, UCFCtx context, const void* fileName,
                                const void* out) {
    note(Check::versionAsked, versionAsked_,
         "an object was created before UCFGetInterfaceVersion had been asked");
    note(Check::initializeFirst, loads_ > 0, "an object was created before UCFInitialize");
    const bool usable = container != nullptr && out != nullptr;
    note(Check::createArguments, usable,
         "UCFCreateInstance came without a container or a place for the object");
    if (!usable) return nullptr;
    auto guest = std::make_shared<Guest>(*container, context);
    if (guest->presents())
      note(Check::createArguments, fileName != nullptr, "a presenter came without a file name");
    guests_.push_back(guest);
    return guest;
  }

  // The process ends, or unloads the module.
  void end() {
    if (loads_ > 0) note(Check::cleanupLast, false, "the host ended without UCFCleanup");
    for (const auto& guest : guests_) guest->explainProgress();
    if (loads_ > 0 || !guests_.empty()) Findings::shared().report();
  }

 private:
  std::atomic<bool> versionAsked_{false};
  int loads_ = 0;
  std::vector<std::shared_ptr<Guest>> guests_;
};

// Reports what came after the last cleanup, and of a host that never cleaned up.
struct AtEnd {
  ~AtEnd() { Module::shared().end(); }
};
const AtEnd atEnd;

}  // namespace

}  // namespace hostcheck

extern "C" {

HOSTCHECK_API UCFResult UCFInitialize() {
  if (hostcheck::onMainThread()) hostcheck::Module::shared().initialize();
  return UCF_OK;
}

HOSTCHECK_API UCFResult UCFCleanup() {
  if (hostcheck::onMainThread()) hostcheck::Module::shared().cleanup();
  return UCF_OK;
}

HOSTCHECK_API UCFResult UCFCreateInstance(IUCFContainerBase* container, char* /*name*/,
                                          UCFCtx context, void* fileName, void* /*reserved*/,
                                          unsigned char /*reserved2*/, IUCFObjectBase** out) {
  using hostcheck::Check;
  if (!hostcheck::onMainThread()) return UCF_E_CREATE_FAILED;
  try {
    const auto guest = hostcheck::Module::shared().create(container, context, fileName, out);
    hostcheck::note(Check::nothingThrown, true, "");
    if (!guest) return UCF_E_CREATE_FAILED;
    *out = guest.get();
    return UCF_OK;
  } catch (...) {
    hostcheck::note(Check::nothingThrown, false, "the host threw while an object was created");
    return UCF_E_CREATE_FAILED;
  }
}

HOSTCHECK_API UCFResult UCFDeleteInstance(IUCFObjectBase* /*object*/) {
  hostcheck::onMainThread();
  return UCF_OK;
}

HOSTCHECK_API int UCFGetInterfaceVersion() {
  hostcheck::Module::shared().noteVersionAsked();
  return UCF_INTERFACE_VERSION;
}
}
