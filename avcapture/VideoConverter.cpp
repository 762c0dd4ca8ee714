#include "avcapture/VideoConverter.h"

#include <algorithm>
#include <new>

extern "C" {
#include <libavutil/imgutils.h>
#include <libavutil/opt.h>
}

namespace avcapture {

namespace {

// Where FFmpeg's own scale filter takes the chroma rows of 4:2:0 to be, in 1/256 of a row.
constexpr int kChromaRow420 = 128;
constexpr int kChromaUnset = -513;
// Pixels that the scaler writes at a time. It leaves out the last of a row that has no room for
// as many; what it writes behind the last row is less than one more.
constexpr int kGroup = 16;
constexpr int kBytesPerPixel = 3;

}  // namespace

std::shared_ptr<Picture> VideoConverter::convert(AVFrame& decoded) {
  const AVFrame* frame = upright_.turn(decoded);
  if (frame == nullptr || frame->width <= 0 || frame->height <= 0) return nullptr;
  if (std::max(frame->width, frame->height) > kMostSide) return nullptr;
  const Shape shape{frame->width, frame->height, frame->format, frame->colorspace,
                    frame->color_range};
  if ((!scaler_ || !(shape == shape_)) && !rebuild(shape)) return nullptr;
  std::shared_ptr<Picture> picture = pool_.take(static_cast<std::uint32_t>(frame->width),
                                                static_cast<std::uint32_t>(frame->height));
  const auto row = static_cast<int>(picture->image.bytesPerRow);
  if (roomy_.empty()) return scale(*frame, picture->pixels, row) ? picture : nullptr;
  const int roomyRow = FFALIGN(frame->width, kGroup) * kBytesPerPixel;
  if (!scale(*frame, roomy_.data(), roomyRow)) return nullptr;
  av_image_copy_plane(picture->pixels, row, roomy_.data(), roomyRow, frame->width * kBytesPerPixel,
                      frame->height);
  return picture;
}

bool VideoConverter::scale(const AVFrame& frame, std::uint8_t* pixels, int row) {
  std::uint8_t* const planes[4] = {pixels};
  const int strides[4] = {row};
  return sws_scale(scaler_.get(), frame.data, frame.linesize, 0, frame.height, planes, strides) ==
         frame.height;
}

bool VideoConverter::rebuild(const Shape& shape) {
  // First: without memory for it, all stays as it was.
  const int roomyWidth = FFALIGN(shape.width, kGroup);
  const int rows = roomyWidth == shape.width ? 0 : shape.height + 1;
  roomy_ =
      std::vector<std::uint8_t>(std::size_t{kBytesPerPixel} * static_cast<std::size_t>(roomyWidth) *
                                static_cast<std::size_t>(rows));
  scaler_.reset(sws_alloc_context());
  if (!scaler_) throw std::bad_alloc();
  SwsContext* scaler = scaler_.get();
  const auto set = [scaler](const char* name, int value) {
    av_opt_set_int(scaler, name, value, 0);
  };
  set("srcw", shape.width);
  set("srch", shape.height);
  set("src_format", shape.format);
  set("dstw", shape.width);
  set("dsth", shape.height);
  set("dst_format", AV_PIX_FMT_RGB24);
  set("sws_flags", SWS_BICUBIC);
  set("src_v_chr_pos", shape.format == AV_PIX_FMT_YUV420P ? kChromaRow420 : kChromaUnset);
  if (sws_init_context(scaler, nullptr, nullptr) < 0) {
    scaler_.reset();
    return false;
  }
  int* inverse = nullptr;
  int* table = nullptr;
  int inFull = 0, outFull = 0, brightness = 0, contrast = 0, saturation = 0;
  if (sws_getColorspaceDetails(scaler, &inverse, &inFull, &table, &outFull, &brightness, &contrast,
                               &saturation) >= 0) {
    if (shape.range != AVCOL_RANGE_UNSPECIFIED) inFull = shape.range == AVCOL_RANGE_JPEG ? 1 : 0;
    // Both sides by the frame's matrix. R, G, B of more than 8 bits takes the way by Y, Cb, Cr, and
    // by the one that FFmpeg's scale filter takes where there is none.
    const bool none = shape.matrix == AVCOL_SPC_RGB;
    const int* matrix = sws_getCoefficients(none ? SWS_CS_DEFAULT : shape.matrix);
    sws_setColorspaceDetails(scaler, matrix, inFull, matrix, outFull, brightness, contrast,
                             saturation);
  }
  shape_ = shape;
  return true;
}

}  // namespace avcapture
