// The bounds-checked functions, each against what its description says it does.
#include <algorithm>
#include <cctype>
#include <string>

#include "avcapture/MemPrimitives.h"
#include "fuzz/Target.h"
#include "safelib/safe_lib.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

int reported = 0;  // by the constraint handler, since the call began

void note(const char* message, void* pointer, int error) {
  EXPECT_NE(message, nullptr);
  EXPECT_EQ(pointer, nullptr);
  reported = error;
}

// A block of memory, and two areas in it that may lie over each other.
struct Areas {
  explicit Areas(fuzz::Input& in) : block(in.ConsumeIntegralInRange<std::size_t>(1, 512)) {
    for (std::size_t i = 0; i < block.size(); ++i) block[i] = static_cast<std::uint8_t>(i * 7 + 1);
    destAt = in.ConsumeIntegralInRange<std::size_t>(0, block.size() - 1);
    srcAt = in.ConsumeIntegralInRange<std::size_t>(0, block.size() - 1);
    dmax = in.ConsumeIntegralInRange<std::uint32_t>(0, room(destAt));
    smax = in.ConsumeIntegralInRange<std::uint32_t>(0, room(srcAt));
    hasDest = in.ConsumeIntegralInRange(0, 15) != 0;
    hasSource = in.ConsumeIntegralInRange(0, 15) != 0;
    // Lengths that no block has are refused before anything is touched, but for a source longer
    // than its destination, which clears that.
    if (in.ConsumeIntegralInRange(0, 15) == 0) {
      dmax = in.ConsumeIntegralInRange(SAFE_LIB_MAX_MEM, ~0U);
      smax = 1;
    } else if (in.ConsumeIntegralInRange(0, 15) == 0) {
      smax = in.ConsumeIntegralInRange(dmax, ~0U);
      if (smax <= dmax) smax = std::min(smax, room(srcAt));
    }
  }
  std::uint32_t room(std::size_t at) const { return static_cast<std::uint32_t>(block.size() - at); }
  void* dest() { return hasDest ? block.data() + destAt : nullptr; }
  const void* source() const { return hasSource ? block.data() + srcAt : nullptr; }

  Bytes block;
  std::size_t destAt = 0, srcAt = 0;
  std::uint32_t dmax = 0, smax = 0;
  bool hasDest = true, hasSource = true;
};

// What remains of the block when the destination is cleared, or the source is there.
Bytes cleared(Areas areas) {
  std::fill_n(areas.block.begin() + static_cast<std::ptrdiff_t>(areas.destAt), areas.dmax, 0);
  return areas.block;
}
Bytes moved(Areas areas) {
  const Bytes source(areas.block.begin() + static_cast<std::ptrdiff_t>(areas.srcAt),
                     areas.block.begin() + static_cast<std::ptrdiff_t>(areas.srcAt + areas.smax));
  std::copy(source.begin(), source.end(),
            areas.block.begin() + static_cast<std::ptrdiff_t>(areas.destAt));
  return areas.block;
}

struct Outcome {
  int result;
  Bytes block;
};

Outcome move(const Areas& areas) {
  if (!areas.hasDest) return {400, areas.block};
  if (areas.dmax == 0) return {401, areas.block};
  if (areas.dmax >= 0x10000000) return {403, areas.block};
  if (areas.smax == 0) return {401, cleared(areas)};
  if (areas.smax > areas.dmax) return {403, cleared(areas)};
  if (!areas.hasSource) return {400, cleared(areas)};
  return {0, moved(areas)};
}

Outcome copy(const Areas& areas) {
  if (!areas.hasDest) return {400, areas.block};
  if (areas.dmax == 0) return {401, areas.block};
  if (areas.smax == 0) return {401, cleared(areas)};
  if (areas.smax > areas.dmax) return {403, cleared(areas)};
  if (!areas.hasSource) return {400, cleared(areas)};
  const bool apart =
      areas.destAt + areas.smax <= areas.srcAt || areas.srcAt + areas.smax <= areas.destAt;
  return apart ? Outcome{0, moved(areas)} : Outcome{404, cleared(areas)};
}

void tryMove(fuzz::Input& in) {
  Areas areas(in);
  const Outcome expected = move(areas);
  reported = 0;
  EXPECT_EQ(memmove_s(areas.dest(), areas.dmax, areas.source(), areas.smax), expected.result);
  EXPECT_EQ(reported, expected.result);
  EXPECT_EQ(areas.block, expected.block);
}

void tryCopy(fuzz::Input& in) {
  Areas areas(in);
  if (areas.dmax > areas.block.size()) areas.dmax = areas.room(areas.destAt);
  const Outcome expected = copy(areas);
  EXPECT_EQ(memcpy_s(areas.dest(), areas.dmax, areas.source(), areas.smax), expected.result);
  EXPECT_EQ(areas.block, expected.block);
}

void tryFill(fuzz::Input& in) {
  Areas areas(in);
  if (areas.dmax > areas.block.size()) areas.dmax = areas.room(areas.destAt);
  const auto value = in.ConsumeIntegral<std::uint8_t>();
  Bytes expected = areas.block;
  if (areas.hasDest) {
    std::fill_n(expected.begin() + static_cast<std::ptrdiff_t>(areas.destAt), areas.dmax, value);
  }
  EXPECT_EQ(cs_memset_s(areas.dest(), areas.dmax, value), !areas.hasDest    ? 400
                                                          : areas.dmax == 0 ? 401
                                                                            : 0);
  EXPECT_EQ(areas.block, expected);
}

int upper(const std::string& text, std::size_t at) {
  return at < text.size() ? std::toupper(static_cast<unsigned char>(text[at])) : 0;
}

// Texts without a terminator where the comparison must not get to.
void tryCompare(fuzz::Input& in) {
  const std::string a = in.ConsumeRandomLengthString(40).c_str();
  const std::string b =
      in.ConsumeBool() ? std::string(in.ConsumeRandomLengthString(40).c_str()) : a;
  const auto dmax = in.ConsumeBool() ? in.ConsumeIntegral<std::uint32_t>()
                                     : in.ConsumeIntegralInRange<std::uint32_t>(0, 41);
  std::size_t at = 0;
  while (at < a.size() && at < b.size() && at < dmax && upper(a, at) == upper(b, at)) ++at;
  const bool unterminated = dmax != 0 && at == dmax && at < a.size() && at < b.size();
  const int error = dmax == 0 ? 401 : unterminated ? 407 : 0;

  int indicator = -1000;
  reported = 0;
  EXPECT_EQ(strcasecmp_s(a.c_str(), dmax, b.c_str(), &indicator), error);
  EXPECT_EQ(reported, error);
  EXPECT_EQ(indicator, error == 0 ? upper(a, at) - upper(b, at) : 0);

  // Reading stops at dmax + 1 characters.
  std::string cut = a.substr(0, std::min<std::size_t>(a.size(), std::size_t{dmax} + 1));
  if (dmax != 0 && cut.size() == std::size_t{dmax} + 1) {
    fuzz::Exact exact(Bytes(cut.begin(), cut.end()));
    EXPECT_EQ(
        strcasecmp_s(reinterpret_cast<const char*>(exact.data()), dmax, b.c_str(), &indicator),
        error);
  }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  safe_lib_set_constraint_handler(note);
  fuzz::Input in(data, size);
  constexpr void (*kTries[])(fuzz::Input&) = {tryMove, tryCopy, tryFill, tryCompare};
  while (in.remaining_bytes() > 0) in.PickValueInArray(kTries)(in);
  return 0;
}
