// Draws and compresses what there is to see in views, on a thread of its own. Of each view only the
// newest scene counts: one that has not been started yet is replaced.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "meeting/Snapshot.h"

namespace meeting {

class PictureEncoder {
 public:
  // Called on the encoder's thread with each finished picture; an empty one could not be encoded.
  // A picture in whose making or taking something is thrown is dropped.
  using Done = std::function<void(const std::string& view, std::vector<unsigned char> jpeg)>;

  explicit PictureEncoder(Done done);
  // Waits for the picture that is being made; the rest is dropped.
  ~PictureEncoder();
  PictureEncoder(const PictureEncoder&) = delete;
  PictureEncoder& operator=(const PictureEncoder&) = delete;

  void encode(const std::string& view, Scene scene);  // [any-thread]

 private:
  void work();

  const Done done_;
  std::mutex mutex_;  // guards what follows
  std::condition_variable changed_;
  std::deque<std::pair<std::string, Scene>> waiting_;  // one a view
  bool ending_ = false;
  std::thread thread_;
};

}  // namespace meeting
