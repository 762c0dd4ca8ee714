// Memory of pictures, of one size at a time, that is used again and again. How much there is
// follows what is needed: buffers that the latest few pictures could do without are let go, so that
// what a busy moment took is not kept. [any-thread]
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "platform/Mutex.h"

namespace avcapture {

class BufferPool {
 public:
  struct Free {
    void operator()(std::uint8_t* buffer) const;
  };
  // Frees itself; a pool that is still there is better given it back.
  using Buffer = std::unique_ptr<std::uint8_t, Free>;

  BufferPool();
  BufferPool(const BufferPool&) = delete;
  BufferPool& operator=(const BufferPool&) = delete;

  // `bytes` of memory that begin at a multiple of kAlignment; zeros when they are new. Throws
  // std::bad_alloc.
  Buffer take(std::size_t bytes) EXCLUDES(mutex_);
  // One of `take`, and the size that was asked for.
  void giveBack(Buffer buffer, std::size_t bytes) noexcept EXCLUDES(mutex_);
  // How many wait for use.
  std::size_t idle() const EXCLUDES(mutex_);

  static constexpr std::size_t kAlignment = 64;  // vectors of AVX-512

 private:
  void look() REQUIRES(mutex_);

  mutable platform::Mutex mutex_;
  std::vector<Buffer> idle_ GUARDED_BY(mutex_);  // the one used last is the last
  std::size_t bytes_ GUARDED_BY(mutex_) = 0;     // of each
  std::size_t spare_ GUARDED_BY(mutex_) = 0;     // of them, never needed since the last look
  int takes_ GUARDED_BY(mutex_) = 0;             // since the last look
};

}  // namespace avcapture
