// What a case cannot go on without: where it is missing the case fails, and is over.
#pragma once

#include <gtest/gtest.h>

namespace contract {

// Without it the case is over, wherever it is. What has failed before says why, else `why` does.
inline void need(bool there, const char* why = "success, but nothing was made") {
  if (there) return;
  if (!testing::Test::HasFailure()) ADD_FAILURE() << why;
  throw testing::AssertionException(
      {testing::TestPartResult::kFatalFailure, __FILE__, __LINE__, "has been said"});
}

// A pointer that is needed where it is followed, not where it is looked at.
template <class T>
class Needed {
 public:
  Needed(T* pointer = nullptr) : pointer_(pointer) {}
  operator T*() const { return pointer_; }
  T& operator*() const {
    need(pointer_ != nullptr, "there is no player view, or nobody who answers it");
    return *pointer_;
  }
  T* operator->() const { return &**this; }

 private:
  T* pointer_;
};

}  // namespace contract
