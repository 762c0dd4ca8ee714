// A short movie of pictures and sound, sent as a player sends one: each on a thread of its own.
#pragma once

#include <functional>
#include <memory>
#include <thread>

#include "mmp/RequestRecords.h"
#include "validator/host/RouterCalls.h"

namespace hostcheck {

inline constexpr std::uint16_t kPictureWidth = 321;  // odd: rows are padded
inline constexpr std::uint16_t kPictureHeight = 180;
inline constexpr std::uint64_t kMovieMs = 1000;

class TestStream {
 public:
  // Begins to send; formats have been sent. `ended` runs on the main thread after the last sample.
  TestStream(std::shared_ptr<RouterCalls> router, std::function<void()> ended);
  // Ends the threads, serving messages of the main thread meanwhile. One whose sample does not come
  // back is left behind, and a failed check. [main-thread]
  ~TestStream();
  TestStream(const TestStream&) = delete;
  TestStream& operator=(const TestStream&) = delete;

  static tagMSVIDEOFORMATEX videoFormat();
  static tMSAUDIOFORMATEX audioFormat();

 private:
  struct Flow;
  std::shared_ptr<Flow> flow_;
  std::thread pictures_;
  std::thread sound_;
};

}  // namespace hostcheck
