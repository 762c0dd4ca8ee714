#include "trace/unifiedtram.h"

#include <atomic>
#include <cstddef>
#include <memory>
#include <new>
#include <string>

#include "platform/Bundle.h"

namespace {

using LumTrace = int (*)(unsigned long level, const char* module, const char* tag2,
                         const char* format, va_list args);
using LumTraceRaw = int (*)(unsigned long level, const char* module, const char* tag2,
                            const char* text);

constexpr int kNoTrace = -1;

// Written when the module is loaded and when the process ends, read by any thread: a thread that
// logs while the process ends sees either the entry point or null, and the code behind the entry
// point is never unloaded.
constinit std::atomic<LumTrace> g_lumtrace{nullptr};
constinit std::atomic<LumTraceRaw> g_lumtraceraw{nullptr};

// The room for a path on the way to the plug-ins folder, its terminator included.
constexpr std::size_t kPathBufferBytes = 255;

// Room in characters is no further bound: a character takes at least one byte.
bool fitsPathBuffer(const std::string& path) { return path.size() < kPathBufferBytes; }

// Finds the trace bundle and its entry points for as long as it lives.
class lumtra_init_class {
 public:
  lumtra_init_class();
  ~lumtra_init_class();
  lumtra_init_class(const lumtra_init_class&) = delete;
  lumtra_init_class& operator=(const lumtra_init_class&) = delete;

 private:
  bool LoadTraceModuleFromPlugIns();
  bool LoadTraceModule();
  bool createBundleIn(const std::string& folder);
  template <typename Function>
  Function entryPoint(const char* name) const;

  const char* const m_bundleName = "lumtrace.bundle";
  std::shared_ptr<platform::Bundle> m_bundle;
};

lumtra_init_class::lumtra_init_class() {
  try {
    if (!LoadTraceModuleFromPlugIns()) LoadTraceModule();
  } catch (const std::bad_alloc&) {
    // The module works without a trace; loading it must not end the host.
  }
  g_lumtrace.store(entryPoint<LumTrace>("LUMTRACE"), std::memory_order_relaxed);
  g_lumtraceraw.store(entryPoint<LumTraceRaw>("LUMTRACERAW"), std::memory_order_relaxed);
}

lumtra_init_class::~lumtra_init_class() {
  g_lumtrace.store(nullptr, std::memory_order_relaxed);
  g_lumtraceraw.store(nullptr, std::memory_order_relaxed);
  m_bundle.reset();
}

// The bundle in the plug-ins folder of the running program's bundle.
bool lumtra_init_class::LoadTraceModuleFromPlugIns() {
  const auto host = platform::Bundle::mainBundle();
  if (host == nullptr || !fitsPathBuffer(host->path())) return false;
  const std::string folder = host->path() + "/Contents/PlugIns";
  return fitsPathBuffer(folder) && createBundleIn(folder);
}

// The bundle beside the running program's bundle.
bool lumtra_init_class::LoadTraceModule() {
  const auto host = platform::Bundle::mainBundle();
  return host != nullptr && createBundleIn(host->parentPath());
}

bool lumtra_init_class::createBundleIn(const std::string& folder) {
  m_bundle = platform::Bundle::create(folder + "/" + m_bundleName);
  return m_bundle != nullptr;
}

template <typename Function>
Function lumtra_init_class::entryPoint(const char* name) const {
  if (m_bundle == nullptr) return nullptr;
  return reinterpret_cast<Function>(m_bundle->functionPointer(name));
}

// The module's one static initialiser: tracing is ready before any other code of the module runs.
const lumtra_init_class lumtra_init_instance;

// Calls within this file go here, never through an exported name, which another loaded module that
// exports the same name could take over.
TRACE_PRINTF(4, 0)
int forward(unsigned long level, const char* module, const char* tag2, const char* format,
            va_list args) {
  const LumTrace lumtrace = g_lumtrace.load(std::memory_order_relaxed);
  return lumtrace != nullptr ? lumtrace(level, module, tag2, format, args) : kNoTrace;
}

bool isTracing() { return g_lumtrace.load(std::memory_order_relaxed) != nullptr; }

}  // namespace

int LUMTRACE2(unsigned long level, const char* module, const char* tag2, const char* format,
              va_list args) {
  return forward(level, module, tag2, format, args);
}

int LUMTRACERAW(unsigned long level, const char* module, const char* tag2, const char* text) {
  const LumTraceRaw lumtraceraw = g_lumtraceraw.load(std::memory_order_relaxed);
  return lumtraceraw != nullptr ? lumtraceraw(level, module, tag2, text) : kNoTrace;
}

// The body of a variadic function: only the function itself can make a list of its arguments.
// Without a bundle not even that is done.
#define FORWARD_VARIADIC(level, module)                                 \
  if (!isTracing()) return kNoTrace;                                    \
  va_list args;                                                         \
  va_start(args, format);                                               \
  const int result = forward((level), (module), nullptr, format, args); \
  va_end(args);                                                         \
  return result

int LUMDEBUG(const char* format, ...) { FORWARD_VARIADIC(kTraceDebug, nullptr); }
int LUMINFO(const char* format, ...) { FORWARD_VARIADIC(kTraceInfo, nullptr); }
int LUMWARN(const char* format, ...) { FORWARD_VARIADIC(kTraceWarning, nullptr); }
int LUMERROR(const char* format, ...) { FORWARD_VARIADIC(kTraceError, nullptr); }

int LUMDEBUG2(const char* module, const char* format, ...) {
  FORWARD_VARIADIC(kTraceDebug, module);
}
int LUMINFO2(const char* module, const char* format, ...) { FORWARD_VARIADIC(kTraceInfo, module); }
int LUMWARN2(const char* module, const char* format, ...) {
  FORWARD_VARIADIC(kTraceWarning, module);
}
int LUMERROR2(const char* module, const char* format, ...) {
  FORWARD_VARIADIC(kTraceError, module);
}

int MacDebugTrace2(const char* module, const char* format, ...) {
  FORWARD_VARIADIC(kTraceDebug, module);
}
int MacInfoTrace2(const char* module, const char* format, ...) {
  FORWARD_VARIADIC(kTraceInfo, module);
}
int MacWarnTrace2(const char* module, const char* format, ...) {
  FORWARD_VARIADIC(kTraceWarning, module);
}
int MacErrorTrace2(const char* module, const char* format, ...) {
  FORWARD_VARIADIC(kTraceError, module);
}
