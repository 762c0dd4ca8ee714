#include "fuzz/Target.h"

#include <cstdlib>

namespace {

class EndAtFirstFailure : public testing::EmptyTestEventListener {
  void OnTestPartResult(const testing::TestPartResult& result) override {
    if (result.failed()) std::abort();
  }
};

}  // namespace

int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  testing::UnitTest::GetInstance()->listeners().Append(new EndAtFirstFailure);
  // Every line is put together, and none is kept.
  ::setenv("MOVARA_TRACE_FILE", "/dev/null", 1);  // NOLINT(concurrency-mt-unsafe)
  ::setenv("MOVARA_TRACE_LEVEL", "debug", 1);     // NOLINT(concurrency-mt-unsafe)
  return 0;
}
