// The five functions by which a host knows the module. Nothing is thrown out of them. [main-thread]
#include <memory>

#include "movara/CMovaraApp.h"
#include "movara/common/Export.h"
#include "movara/common/Trace.h"
#include "ucf/Exports.h"

namespace {

std::int32_t movieEntryCount = 0;  // UCFInitialize calls without their UCFCleanup

}  // namespace

extern "C" {

MOVARA_API UCFResult UCFInitialize() noexcept {
  ++movieEntryCount;
  return UCF_OK;
}

MOVARA_API UCFResult UCFCleanup() noexcept {
  MacInfoTrace2(kTraceModule, "UCFDeleteInstance");
  --movieEntryCount;
  return UCF_OK;
}

MOVARA_API UCFResult UCFCreateInstance(IUCFContainerBase* container, char* name, UCFCtx context,
                                       void* fileName, void* reserved, unsigned char reserved2,
                                       IUCFObjectBase** out) noexcept {
  MacInfoTrace2(kTraceModule, "UCFCreateInstance(...)");
  try {
    unsigned char ok = 1;
    auto app =
        std::make_unique<CMovaraApp>(container, name, context, fileName, reserved, reserved2, ok);
    if (ok != 0 && out) {
      *out = app.release();
      return UCF_OK;
    }
  } catch (...) {
    // Nothing is thrown out of the module: a failure is a result.
  }
  return UCF_E_CREATE_FAILED;
}

MOVARA_API UCFResult UCFDeleteInstance(IUCFObjectBase* /*object*/) noexcept {
  MacInfoTrace2(kTraceModule, "UCFDeleteInstance");
  return UCF_OK;
}

MOVARA_API int UCFGetInterfaceVersion() noexcept { return UCF_INTERFACE_VERSION; }
}
