// The memory of a decoder's pictures, out of a BufferPool: FFmpeg's own pools keep the most that
// there ever were.
#pragma once

#include <memory>

#include "avcapture/BufferPool.h"
#include "avcapture/Ffmpeg.h"

namespace avcapture {

class PictureBuffers {
 public:
  // From now on the codec's pictures lie here; before it is opened, and for as long as it is used.
  // Pictures themselves may outlive this.
  void serve(AVCodecContext& codec);

 private:
  // Called by the decoder's threads.
  static int get(AVCodecContext* codec, AVFrame* frame, int flags) noexcept;

  std::shared_ptr<BufferPool> pool_ = std::make_shared<BufferPool>();
};

}  // namespace avcapture
