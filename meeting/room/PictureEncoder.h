// Draws and compresses what there is to see in views, on a thread of its own. Of each view only the
// newest scene counts: one that has not been started yet is replaced.
#pragma once

#include <deque>
#include <functional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "meeting/Snapshot.h"
#include "platform/Mutex.h"

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

  void encode(const std::string& view, Scene scene) EXCLUDES(mutex_);  // [any-thread]

 private:
  void work() EXCLUDES(mutex_);

  const Done done_;
  platform::CondVar changed_;
  platform::Mutex mutex_;
  std::deque<std::pair<std::string, Scene>> waiting_ GUARDED_BY(mutex_);  // one a view
  bool ending_ GUARDED_BY(mutex_) = false;
  std::thread thread_;
};

}  // namespace meeting
