// The five functions by which a host knows a module, as function types for dlsym.
// All are called under their unmangled names, on the main thread except where it says otherwise.
#ifndef UCF_EXPORTS_H
#define UCF_EXPORTS_H

#include "ucf/IUCFContainerBase.h"
#include "ucf/IUCFObjectBase.h"

// Interface version that a host of this contract expects from UCFGetInterfaceVersion.
inline constexpr int UCF_INTERFACE_VERSION = 5;

extern "C" {

// Counts a load. Returns 0. [main-thread; any-state]
using UCFInitializeFn = UCFResult (*)();

// Takes one load back; the last call before the module is unloaded, when no object is left. Returns
// 0. [main-thread; loaded]
using UCFCleanupFn = UCFResult (*)();

// Creates one object for `container`, which must outlive it. `name` and the two reserved arguments
// are not used. `fileName` is a zero-terminated narrow string or null, with which nothing is
// shared; with context 0 only whether it is null counts, and the path comes from the container. On
// success `*out` receives the object and the result is 0; otherwise, and when `out` is null, the
// result is UCF_E_CREATE_FAILED and nothing is stored. [main-thread; loaded]
using UCFCreateInstanceFn = UCFResult (*)(IUCFContainerBase* container, char* name, UCFCtx context,
                                          void* fileName, void* reserved, unsigned char reserved2,
                                          IUCFObjectBase** out);

// Does nothing; objects end in their own Release. Returns 0. [main-thread; loaded]
using UCFDeleteInstanceFn = UCFResult (*)(IUCFObjectBase* object);

// UCF_INTERFACE_VERSION of the module; may be asked before any object exists.
// [any-thread; any-state]
using UCFGetInterfaceVersionFn = int (*)();
}

#endif  // UCF_EXPORTS_H
