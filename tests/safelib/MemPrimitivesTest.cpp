#include "avcapture/MemPrimitives.h"

#include <gmock/gmock.h>

#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

TEST(MemPrimitives, CopyRefusesBadLengthsAndOverlap) {
  constexpr int kNone = -1;
  struct Case {
    int dest;  // offsets into the buffer, or kNone for null
    std::uint32_t dmax;
    int src;
    std::uint32_t smax;
    int result;
    Bytes buffer;
  };
  const Bytes before{1, 2, 3, 4, 5, 6};
  const std::vector<Case> cases{
      {kNone, 2, 0, 2, 400, before},
      {0, 0, 3, 2, 401, before},
      {0, 3, 3, 0, 401, {0, 0, 0, 4, 5, 6}},
      {0, 3, 3, 4, 403, {0, 0, 0, 4, 5, 6}},
      {0, 3, kNone, 2, 400, {0, 0, 0, 4, 5, 6}},
      {0, 3, 2, 3, 404, {0, 0, 0, 4, 5, 6}},
      {2, 3, 0, 3, 404, {1, 2, 0, 0, 0, 6}},
      {0, 3, 3, 3, 0, {4, 5, 6, 4, 5, 6}},
      {3, 3, 0, 3, 0, {1, 2, 3, 1, 2, 3}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << c.dest << " " << c.dmax << " " << c.src << " " << c.smax);
    Bytes buffer = before;
    const auto at = [&](int offset) { return offset == kNone ? nullptr : buffer.data() + offset; };
    EXPECT_EQ(memcpy_s(at(c.dest), c.dmax, at(c.src), c.smax), c.result);
    EXPECT_EQ(buffer, c.buffer);
  }
}

}  // namespace
