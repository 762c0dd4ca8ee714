#include "tests/avcapture/SlowParts.h"

#include <dlfcn.h>

#include <condition_variable>
#include <cstdint>
#include <mutex>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libswscale/swscale.h>
}

namespace avcapture::test {

namespace {

struct Gate {
  std::mutex mutex;
  std::condition_variable changed;
  unsigned shut = 0;
  int waiting = 0;
};
Gate& gate() {
  static Gate& instance = *new Gate;  // for threads that outlive the program's statics
  return instance;
}

// What that part goes through.
void pass(Part part) {
  const auto open = [part] { return (gate().shut & static_cast<unsigned>(part)) == 0; };
  std::unique_lock lock(gate().mutex);
  ++gate().waiting;
  gate().changed.wait(lock, open);
  --gate().waiting;
}

}  // namespace

void setSlow(unsigned parts) {
  const std::lock_guard lock(gate().mutex);
  gate().shut = parts;
  gate().changed.notify_all();
}

int waitingForParts() {
  const std::lock_guard lock(gate().mutex);
  return gate().waiting;
}

}  // namespace avcapture::test

// In place of the libraries' own, which they call.
extern "C" [[gnu::visibility("default")]] int avcodec_send_packet(AVCodecContext* codec,
                                                                  const AVPacket* packet) {
  static auto* const real =
      reinterpret_cast<decltype(&avcodec_send_packet)>(::dlsym(RTLD_NEXT, "avcodec_send_packet"));
  avcapture::test::pass(codec->codec_type == AVMEDIA_TYPE_VIDEO
                            ? avcapture::test::Part::kPictureDecoder
                            : avcapture::test::Part::kSoundDecoder);
  return real(codec, packet);
}
extern "C" [[gnu::visibility("default")]] int sws_scale(SwsContext* scaler,
                                                        const std::uint8_t* const* from,
                                                        const int* fromStrides, int firstRow,
                                                        int rows, std::uint8_t* const* to,
                                                        const int* toStrides) {
  static auto* const real = reinterpret_cast<decltype(&sws_scale)>(::dlsym(RTLD_NEXT, "sws_scale"));
  avcapture::test::pass(avcapture::test::Part::kConverter);
  return real(scaler, from, fromStrides, firstRow, rows, to, toStrides);
}
