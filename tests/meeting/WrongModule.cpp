// Plug-ins that are none: without WRONG_VERSION nothing is exported that a host looks for, with it
// all five functions are there but the interface is another one.

extern "C" {

#ifdef WRONG_VERSION
#define EXPORTED __attribute__((visibility("default")))
EXPORTED int UCFInitialize() { return 0; }
EXPORTED int UCFCleanup() { return 0; }
EXPORTED unsigned UCFCreateInstance() { return 0x80000019U; }
EXPORTED int UCFDeleteInstance() { return 0; }
EXPORTED int UCFGetInterfaceVersion() { return WRONG_VERSION; }
#else
__attribute__((visibility("default"))) int somethingElse() { return 0; }
#endif
}
