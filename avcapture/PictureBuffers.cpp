#include "avcapture/PictureBuffers.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <new>
#include <utility>

extern "C" {
#include <libavutil/imgutils.h>
}

namespace avcapture {

namespace {

constexpr std::size_t kPlanes = 4;
// Decoders write whole vectors, behind the last row too.
constexpr std::size_t kSpareBytes = 128;

struct Layout {
  std::array<int, kPlanes> strides{};
  std::array<std::size_t, kPlanes> offsets{};
  std::size_t bytes = 0;
};

// Of the planes, one behind the other, as the codec wants them: its own alignment of width, height
// and rows. False when the format has none.
bool layOut(AVCodecContext& codec, const AVFrame& frame, Layout& layout) {
  const auto format = static_cast<AVPixelFormat>(frame.format);
  int width = frame.width, height = frame.height;
  std::array<int, AV_NUM_DATA_POINTERS> alignments{};
  avcodec_align_dimensions2(&codec, &width, &height, alignments.data());
  const auto aligned = [&] {
    for (std::size_t i = 0; i < kPlanes; ++i) {
      if (layout.strides[i] % std::max(1, alignments[i]) != 0) return false;
    }
    return true;
  };
  do {
    if (av_image_fill_linesizes(layout.strides.data(), format, width) < 0) return false;
    width += width & -width;  // the next multiple of the next power of two
  } while (!aligned());
  std::array<std::ptrdiff_t, kPlanes> strides{};
  std::copy(layout.strides.begin(), layout.strides.end(), strides.begin());
  std::array<std::size_t, kPlanes> sizes{};
  if (av_image_fill_plane_sizes(sizes.data(), format, height, strides.data()) < 0) return false;
  for (std::size_t i = 0; i < kPlanes && sizes[i] > 0; ++i) {
    layout.offsets[i] = layout.bytes;
    layout.bytes += FFALIGN(sizes[i] + kSpareBytes, BufferPool::kAlignment);
  }
  return layout.bytes > 0;
}

// Who gives a buffer back.
struct Given {
  std::weak_ptr<BufferPool> pool;
  std::size_t bytes;
};

void giveBack(void* opaque, std::uint8_t* buffer) {
  const std::unique_ptr<Given> given(static_cast<Given*>(opaque));
  BufferPool::Buffer back(buffer);
  if (const auto pool = given->pool.lock()) pool->giveBack(std::move(back), given->bytes);
}

}  // namespace

void PictureBuffers::serve(AVCodecContext& codec) {
  codec.opaque = &pool_;
  codec.get_buffer2 = get;
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
  codec.thread_safe_callbacks = 1;  // else threads would wait for the one that feeds them
#pragma GCC diagnostic pop
}

int PictureBuffers::get(AVCodecContext* codec, AVFrame* frame, int flags) noexcept {
  Layout layout;
  const bool ours = codec->codec_type == AVMEDIA_TYPE_VIDEO && frame->hw_frames_ctx == nullptr &&
                    (codec->codec->capabilities & AV_CODEC_CAP_DR1) != 0;
  if (!ours || !layOut(*codec, *frame, layout)) {
    return avcodec_default_get_buffer2(codec, frame, flags);
  }
  try {
    const auto& pool = *static_cast<std::shared_ptr<BufferPool>*>(codec->opaque);
    auto given = std::make_unique<Given>(Given{pool, layout.bytes});
    BufferPool::Buffer taken = pool->take(layout.bytes);
    frame->buf[0] = av_buffer_create(taken.get(), layout.bytes, giveBack, given.get(), 0);
    if (frame->buf[0] == nullptr) return AVERROR(ENOMEM);
    std::uint8_t* const buffer = taken.release();
    static_cast<void>(given.release());  // FFmpeg's from here on, both
    for (std::size_t i = 0; i < kPlanes; ++i) {
      if (layout.offsets[i] == 0 && i > 0) break;  // a palette is a plane without rows
      frame->data[i] = buffer + layout.offsets[i];
      frame->linesize[i] = layout.strides[i];
    }
    frame->extended_data = frame->data;
    return 0;
  } catch (const std::bad_alloc&) {
    return AVERROR(ENOMEM);
  }
}

}  // namespace avcapture
