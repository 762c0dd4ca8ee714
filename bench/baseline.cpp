// The least that a player on FFmpeg's libraries does: demux, decode, scale to R, G, B with rows of
// a multiple of 4 bytes, resample to 16-bit PCM, one virtual call a picture or block. No queues, no
// controls, and threads only where asked for: the limit of this design.
#include <cstdio>
#include <memory>
#include <new>
#include <thread>
#include <utility>

#include "bench/BaselineStreams.h"
#include "bench/Options.h"
#include "bench/Record.h"

namespace {

using bench::Clock;

// Takes each picture and block when its time has come.
class NotingSink final : public bench::Sink {
 public:
  NotingSink(const bench::Options& options, bench::Record& record)
      : options_(options), record_(record) {}

  void picture(const std::uint8_t* /*pixels*/, std::int64_t microseconds) override {
    wait(microseconds);
    record_.picture(microseconds);
    if (options_.first) enough_ = true;
  }
  void sound(const std::uint8_t* /*bytes*/, int /*frames*/, std::int64_t microseconds) override {
    wait(microseconds);
    record_.sound(microseconds);
  }
  bool hasEnough(std::int64_t microseconds) const {
    return enough_ || (options_.duration > 0 &&
                       static_cast<double>(microseconds) >= options_.duration * 1'000'000);
  }

 private:
  void wait(std::int64_t microseconds) {
    if (!options_.paced) return;
    if (origin_ == Clock::time_point{})
      origin_ = Clock::now() - std::chrono::microseconds(microseconds);
    std::this_thread::sleep_until(origin_ + std::chrono::microseconds(microseconds));
  }

  const bench::Options& options_;
  bench::Record& record_;
  Clock::time_point origin_{};
  bool enough_ = false;
};

void play(bench::Input& input, const bench::Options& options, NotingSink& sink) {
  bench::VideoPath video(input.video(), options.threads, options.convertThread, sink);
  std::unique_ptr<bench::AudioPath> audio;
  if (input.audio() != nullptr) audio = std::make_unique<bench::AudioPath>(*input.audio(), sink);
  const avcapture::PacketPtr packet(av_packet_alloc());
  while (input.read(*packet)) {
    if (packet->stream_index == input.video().index) {
      video.decode(packet.get());
    } else if (audio) {
      audio->decode(packet.get());
    }
    if (sink.hasEnough(input.microseconds(*packet))) return;
  }
  video.decode(nullptr);
  if (audio) audio->decode(nullptr);
}

// The picture that shows at each time: from the key frame before it on.
void seek(bench::Input& input, const bench::Options& options, NotingSink& sink,
          bench::Record& record) {
  bench::VideoPath video(input.video(), options.threads, false, sink);
  const avcapture::PacketPtr packet(av_packet_alloc());
  for (const double seconds : options.seeks) {
    const auto target = static_cast<std::int64_t>(seconds * 1'000'000);
    const Clock::time_point asked = Clock::now();
    input.seek(target);
    video.restart(target);
    while (!video.arrived() && input.read(*packet))
      if (packet->stream_index == input.video().index) video.decode(packet.get());
    if (!video.arrived()) video.decode(nullptr);
    record.sought(asked, video.shown());
  }
}

}  // namespace

int main(int argc, char** argv) {
  const bench::Options options =
      bench::parseOptions(argc, argv, "Plays a movie with FFmpeg's libraries and nothing else.");
  bench::Record record;
  NotingSink sink(options, record);
  record.begin();
  auto input = bench::Input::open(options.file);
  if (!input) {
    std::fprintf(stderr, "baseline: %s: no movie\n", options.file.c_str());
    return 4;
  }
  if (options.seeks.empty()) {
    play(*input, options, sink);
  } else {
    seek(*input, options, sink, record);
  }
  record.end();
  record.print();
  return 0;
}
