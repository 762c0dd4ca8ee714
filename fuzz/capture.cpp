// What the capture framework brings on its delivery threads: pictures and sound of any size,
// format and time, in any state of the object.
#include <limits>
#include <thread>

#include "fuzz/PluginSession.h"

namespace {

using fuzz::PluginSession;

// On the main thread, or on one of its own that the main thread serves meanwhile.
template <class Work>
void deliver(PluginSession& session, Work work) {
  if (session.in.ConsumeBool()) return work();
  std::atomic<bool> done{false};
  std::thread thread([&] {
    work();
    done = true;
    platform::RunLoop::main().wake();
  });
  platform::RunLoop::main().waitServingMessages([&done] { return done.load(); });
  thread.join();
}

std::shared_ptr<avcapture::AVStreamDataListener> listener() {
  return FakeFramework::session ? PluginSession::streamListener() : nullptr;
}

std::size_t rowBytes(std::uint32_t width) { return (std::size_t{width} * 3 + 3) / 4 * 4; }

struct Size {
  std::uint32_t width, height;
};

Size size(fuzz::Input& in) {
  switch (in.ConsumeIntegralInRange(0, 5)) {
    case 0:
      return {in.ConsumeIntegralInRange(60'000U, 70'000U), 1};
    case 1:
      return {1, in.ConsumeIntegralInRange(60'000U, 70'000U)};
    case 2:
      return {0, in.ConsumeIntegral<std::uint32_t>()};
    case 3:
      return {in.ConsumeIntegral<std::uint32_t>(), 0};
    default:
      return {in.ConsumeIntegralInRange(1U, 40U), in.ConsumeIntegralInRange(1U, 40U)};
  }
}

void picture(PluginSession& session) {
  const auto to = listener();
  if (!to) return;
  const Size at = size(session.in);
  std::vector<std::uint8_t> bytes(rowBytes(at.width) * at.height,
                                  session.in.ConsumeIntegral<std::uint8_t>());
  if (at.width == 0 || at.height == 0) bytes.assign(1, 0);
  fuzz::Exact pixels(bytes);
  void* const data = session.in.ConsumeIntegralInRange(0, 15) != 0 ? pixels.data() : nullptr;
  const auto time = session.in.ConsumeBool() ? session.in.ConsumeIntegralInRange(0U, 3U) * 40
                                             : fuzz::extreme<std::uint32_t>(session.in);
  deliver(session, [&] { to->newImageArrive(data, at.width, at.height, time); });
}

double rate(fuzz::Input& in) {
  constexpr double kRates[] = {8'000.0,
                               44'100.0,
                               48'000.5,
                               0.0,
                               -1.0,
                               1e300,
                               std::numeric_limits<double>::quiet_NaN(),
                               std::numeric_limits<double>::infinity()};
  return in.ConsumeBool() ? in.PickValueInArray(kRates) : in.ConsumeFloatingPoint<double>();
}

avcapture::AudioStreamBasicDescription format(fuzz::Input& in) {
  const auto number = [&in] {
    return in.ConsumeBool() ? in.ConsumeIntegralInRange(0U, 32U) : fuzz::extreme<std::uint32_t>(in);
  };
  avcapture::AudioStreamBasicDescription description{};
  description.mSampleRate = rate(in);
  description.mFormatID = number();
  description.mBytesPerPacket = number();
  description.mChannelsPerFrame = number();
  description.mBitsPerChannel = number();
  return description;
}

void sound(PluginSession& session) {
  const auto to = listener();
  if (!to) return;
  fuzz::Exact samples(
      session.in.ConsumeBytes<std::uint8_t>(session.in.ConsumeIntegralInRange<std::size_t>(0, 64)));
  // The list says how many buffers it has; the first is always there.
  const auto buffers = session.in.ConsumeIntegralInRange<std::uint32_t>(0, 3);
  std::vector<std::uint8_t> bytes(sizeof(avcapture::AudioBufferList) +
                                  (buffers > 1 ? buffers - 1 : 0) * sizeof(avcapture::AudioBuffer));
  fuzz::Exact block(bytes);
  auto* list = new (block.data()) avcapture::AudioBufferList{
      buffers, {{2, static_cast<std::uint32_t>(samples.size()), samples.data()}}};
  if (session.in.ConsumeIntegralInRange(0, 15) == 0) list = nullptr;
  auto description = format(session.in);
  const bool described = session.in.ConsumeIntegralInRange(0, 3) != 0;
  const auto frames = fuzz::extreme<std::uint64_t>(session.in);
  const auto time = fuzz::extreme<std::uint32_t>(session.in);
  deliver(session, [&] {
    to->newAudioFramesArrive(nullptr, list, frames, described ? &description : nullptr, time);
  });
}

void play(PluginSession& session) {
  if (session.view() == nullptr) return;
  session.view()->playing = !session.view()->playing;
  session.view()->frameRate = session.in.ConsumeBool() ? 25.0 : 0.0;
}

void wait(PluginSession& session) {
  session.advance(0.1 * session.in.ConsumeIntegralInRange(0, 3));
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input in(data, size);
  constexpr PluginSession::Step kSteps[] = {picture, sound, picture, sound, play, wait};
  PluginSession(in).run(kSteps);
  return 0;
}
