// What the fuzz targets share. A target is one file that defines LLVMFuzzerTestOneInput, linked
// with libFuzzer.
#pragma once

#include <fuzzer/FuzzedDataProvider.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>
#include <vector>

// Once, before the first input: from then on the first expectation that fails ends the program.
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace fuzz {

using Input = FuzzedDataProvider;

// Bytes in a block of their own of just that length, so that reading on behind them is seen.
class Exact {
 public:
  explicit Exact(const std::vector<std::uint8_t>& bytes)
      : size_(bytes.size()), bytes_(size_ == 0 ? nullptr : new std::uint8_t[size_]) {
    if (size_ != 0) std::memcpy(bytes_.get(), bytes.data(), size_);
  }
  std::uint8_t* data() { return bytes_.get(); }  // null when there are none
  std::size_t size() const { return size_; }

 private:
  std::size_t size_;
  std::unique_ptr<std::uint8_t[]> bytes_;
};

// A number that is often an end of its range, or next to one.
template <class Number>
Number extreme(Input& in) {
  using Limits = std::numeric_limits<Number>;
  switch (in.ConsumeIntegralInRange<int>(0, 7)) {
    case 0:
      return Limits::max();
    case 1:
      return Limits::min();
    case 2:
      return Number{0};
    case 3:
      return Number{1};
    default:
      return in.ConsumeIntegral<Number>();
  }
}

}  // namespace fuzz
