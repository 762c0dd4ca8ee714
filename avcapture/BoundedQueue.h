// A first-in, first-out queue of at most N entries, without allocation. Not synchronised.
#pragma once

#include <array>
#include <cassert>
#include <cstddef>
#include <utility>

namespace avcapture {

template <class T, std::size_t N>
class BoundedQueue {
 public:
  bool empty() const { return size_ == 0; }
  bool full() const { return size_ == N; }

  const T& front() const {
    assert(!empty());
    return entries_[first_];
  }
  void push(T entry) {
    assert(!full());
    entries_[(first_ + size_) % N] = std::move(entry);
    ++size_;
  }
  T pop() {
    assert(!empty());
    T entry = std::exchange(entries_[first_], T{});
    first_ = (first_ + 1) % N;
    --size_;
    return entry;
  }
  void clear() {
    while (!empty()) pop();
  }

 private:
  std::array<T, N> entries_{};
  std::size_t first_ = 0;
  std::size_t size_ = 0;
};

}  // namespace avcapture
