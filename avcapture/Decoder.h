// Decodes the packets of one stream. One thread at a time.
#pragma once

#include <cstdint>
#include <memory>

#include "avcapture/Demuxer.h"
#include "avcapture/Ffmpeg.h"
#include "avcapture/PictureBuffers.h"

namespace avcapture {

class Decoder {
 public:
  // Null when the stream has no decoder that opens.
  static std::unique_ptr<Decoder> open(const AVStream& stream, const Timeline& timeline,
                                       int threads);

  // Feeds one packet; null says that none follows. All frames of it must be received before the
  // next one. A packet that does not decode is passed over; so is one whose picture is not `shown`,
  // where none can depend on it.
  void send(const AVPacket* packet, bool shown = true);
  // The next frame, its pts set (in the stream's time base); null when it takes another packet.
  FramePtr receive();
  // Forgets what was fed, for packets from elsewhere in the file.
  void flush();

  // Whether nothing has ever come of what was fed.
  bool wasInVain() const { return fed_ && !gave_; }

  const Timeline& timeline() const { return timeline_; }

 private:
  Decoder(std::unique_ptr<PictureBuffers> buffers, CodecPtr codec, const Timeline& timeline)
      : buffers_(std::move(buffers)),
        codec_(std::move(codec)),
        timeline_(timeline),
        nextPts_(timeline.start) {}
  void completePts(AVFrame& frame);

  std::unique_ptr<PictureBuffers> buffers_;
  CodecPtr codec_;
  Timeline timeline_;
  std::int64_t nextPts_;  // expected of the next frame
  bool fed_ = false, gave_ = false;
};

// How many threads the picture's decoder gets; `wanted` 0 chooses.
int decoderThreads(const AVCodecParameters& picture, int wanted);

}  // namespace avcapture
