// Pictures as JPEG files. [any-thread]
#pragma once

#include <memory>
#include <vector>

#include "platform/View.h"

namespace meeting {

// Keeps what the compressor needs from one picture to the next. One thread at a time.
class JpegEncoder {
 public:
  JpegEncoder();

  // A whole file; empty when the picture cannot be encoded.
  std::vector<unsigned char> encode(const platform::Image& image);

 private:
  std::unique_ptr<void, int (*)(void*)> compressor_;
};

}  // namespace meeting
