// The virtual table of one face of an object, put in the place of its own, with other things at
// some slots. Must outlive the face's use.
#pragma once

#include <cstddef>
#include <utility>
#include <vector>

class SlotTable {
 public:
  // `slots`: how many the face's class has, destructors included.
  SlotTable(void* face, std::size_t slots) {
    auto& table = *static_cast<void***>(face);
    entries_.assign(table - kInFront, table + slots);
    table = &entries_[kInFront];
  }
  SlotTable(const SlotTable&) = delete;
  SlotTable& operator=(const SlotTable&) = delete;

  bool isOf(const void* face) const {
    return *static_cast<void* const* const*>(face) == &entries_[kInFront];
  }
  void*& operator[](std::size_t slot) { return entries_.at(kInFront + slot); }
  void exchange(std::size_t one, std::size_t other) { std::swap((*this)[one], (*this)[other]); }

 private:
  // The way to the whole object, and its type.
  static constexpr std::size_t kInFront = 2;
  std::vector<void*> entries_;
};
